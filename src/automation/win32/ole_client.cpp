#include "automation/win32/ole_client.h"

#include <tovport/automation/connection_point.h>
#include "automation/win32/ole_server.h"

namespace tov::automation::ole {
namespace {

// A real connection point as the runtime's: a runtime sink advised here is served to the source
// as an IDispatch, so the source's events reach it with their by-reference arguments.
class ClientPoint final : public IConnectionPoint, public RefCounted {
 public:
  ClientPoint(::IConnectionPoint* target, const GUID& eventIid) : target_(target), eventIid_(eventIid) {}
  ~ClientPoint() override { target_->Release(); }

  HRESULT QueryInterface(const GUID& iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IConnectionPoint) {
      *out = static_cast<IConnectionPoint*>(this);
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  std::uint32_t AddRef() override { return addRefImpl(); }
  std::uint32_t Release() override { return releaseImpl(); }
  HRESULT GetConnectionInterface(GUID* iid) override {
    if (!iid) return E_POINTER;
    *iid = eventIid_;
    return S_OK;
  }
  HRESULT Advise(IUnknown* sink, std::uint32_t* cookie) override {
    if (!sink || !cookie) return E_POINTER;
    void* p = nullptr;
    if (failed(sink->QueryInterface(IID_IDispatch, &p))) return CONNECT_E_CANNOTCONNECT;
    Ref<IDispatch> dispatch(static_cast<IDispatch*>(p), false);
    ::IDispatch* served = serve(dispatch, ClassInfo{{}, eventIid_, eventIid_, nullptr, {}});
    DWORD given = 0;
    const ::HRESULT hr = target_->Advise(served, &given);
    served->Release();
    *cookie = given;
    return hr;
  }
  HRESULT Unadvise(std::uint32_t cookie) override { return target_->Unadvise(cookie); }

 private:
  ::IConnectionPoint* target_;
  GUID eventIid_;
};

class ClientContainer final : public IConnectionPointContainer, public RefCounted {
 public:
  explicit ClientContainer(::IConnectionPointContainer* target) : target_(target) {}
  ~ClientContainer() override { target_->Release(); }

  HRESULT QueryInterface(const GUID& iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IConnectionPointContainer) {
      *out = static_cast<IConnectionPointContainer*>(this);
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  std::uint32_t AddRef() override { return addRefImpl(); }
  std::uint32_t Release() override { return releaseImpl(); }
  HRESULT FindConnectionPoint(const GUID& iid, IConnectionPoint** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    ::IConnectionPoint* point = nullptr;
    const ::HRESULT hr = target_->FindConnectionPoint(toOle(iid), &point);
    if (FAILED(hr)) return hr;
    *out = new ClientPoint(point, iid);
    (*out)->AddRef();
    return S_OK;
  }

 private:
  ::IConnectionPointContainer* target_;
};

class Client final : public IDispatch, public RefCounted {
 public:
  explicit Client(::IDispatch* target) : target_(target) { target_->AddRef(); }
  ~Client() override { target_->Release(); }

  HRESULT QueryInterface(const GUID& iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IDispatch) {
      *out = static_cast<IDispatch*>(this);
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    if (iid == IID_IConnectionPointContainer) {
      ::IConnectionPointContainer* container = nullptr;
      if (FAILED(target_->QueryInterface(::IID_IConnectionPointContainer, reinterpret_cast<void**>(&container))))
        return E_NOINTERFACE;
      auto* wrapped = new ClientContainer(container);
      wrapped->AddRef();
      *out = static_cast<IConnectionPointContainer*>(wrapped);
      return S_OK;
    }
    return E_NOINTERFACE;
  }
  std::uint32_t AddRef() override { return addRefImpl(); }
  std::uint32_t Release() override { return releaseImpl(); }

  HRESULT GetIDsOfNames(std::u16string_view name, DISPID* id) override {
    std::u16string text(name);
    LPOLESTR names[] = {reinterpret_cast<LPOLESTR>(text.data())};
    ::DISPID found = DISPID_UNKNOWN;
    const ::HRESULT hr = target_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &found);
    *id = found;
    return hr;
  }

  HRESULT Invoke(DISPID id, DispParams& params, Variant* result, ExcepInfo* excep, unsigned* argErr) override {
    OutgoingArguments args(params);
    VARIANT value;
    VariantInit(&value);
    EXCEPINFO error{};
    UINT badArgument = 0;
    const WORD flags = result ? DISPATCH_METHOD | DISPATCH_PROPERTYGET : DISPATCH_METHOD;
    const ::HRESULT hr = target_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, args.params(),
                                         result ? &value : nullptr, &error, &badArgument);
    if (SUCCEEDED(hr)) {
      args.writeBack(params);
      if (result) *result = fromOle(value);
    } else if (hr == DISP_E_EXCEPTION && excep) {
      *excep = fromOle(error);
    }
    if (argErr) *argErr = badArgument;
    VariantClear(&value);
    SysFreeString(error.bstrSource);
    SysFreeString(error.bstrDescription);
    SysFreeString(error.bstrHelpFile);
    return hr;
  }

 private:
  ::IDispatch* target_;
};

}  // namespace

Ref<IDispatch> client(::IDispatch* target) { return Ref<IDispatch>(new Client(target)); }

}  // namespace tov::automation::ole
