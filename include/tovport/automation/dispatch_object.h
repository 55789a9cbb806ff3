// Bases for the two kinds of automation objects a program writes: an object whose methods are
// described by a table (served through IDispatch), and a host's sink for the events of one event
// interface.
#pragma once

#include <vector>

#include <tovport/automation/dispatch.h>

namespace tov::automation {

// Derived provides `static const std::vector<MethodDesc<Derived>>& methods()`.
template <class Derived>
class DispatchObject : public IDispatch, public RefCounted {
 public:
  HRESULT QueryInterface(const GUID& iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IDispatch) {
      *out = static_cast<IDispatch*>(this);
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  std::uint32_t AddRef() override { return addRefImpl(); }
  std::uint32_t Release() override { return releaseImpl(); }
  HRESULT GetIDsOfNames(std::u16string_view name, DISPID* id) override {
    return Dispatcher<Derived>(Derived::methods()).getIDsOfNames(name, id);
  }
  HRESULT Invoke(DISPID id, DispParams& params, Variant* result, ExcepInfo* excep, unsigned* argErr) override {
    return Dispatcher<Derived>(Derived::methods()).invoke(static_cast<Derived&>(*this), id, params, result, excep,
                                                          argErr);
  }
};

// A sink for the events of eventInterface: it answers QueryInterface for that interface and
// hands every event to onEvent with its arguments (normally by-reference variants of the
// raiser's variables) in natural order, first argument first.
class EventSink : public IDispatch, public RefCounted {
 public:
  explicit EventSink(const GUID& eventInterface) : eventInterface_(eventInterface) {}

  HRESULT QueryInterface(const GUID& iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == eventInterface_) {
      *out = static_cast<IDispatch*>(this);
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  std::uint32_t AddRef() override { return addRefImpl(); }
  std::uint32_t Release() override { return releaseImpl(); }
  HRESULT GetIDsOfNames(std::u16string_view, DISPID*) override { return DISP_E_UNKNOWNNAME; }
  HRESULT Invoke(DISPID id, DispParams& params, Variant*, ExcepInfo*, unsigned*) override {
    std::vector<Variant> args(params.args.rbegin(), params.args.rend());
    onEvent(id, args);
    return S_OK;
  }

 protected:
  virtual void onEvent(DISPID id, std::vector<Variant>& args) = 0;

 private:
  GUID eventInterface_;
};

}  // namespace tov::automation
