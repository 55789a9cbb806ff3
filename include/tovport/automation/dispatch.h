// Late-bound calls: the dispatcher that serves IDispatch for a class from its interface
// description, and the caller's side (calling a member of any IDispatch by name).
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include <tovport/automation/convert.h>
#include <tovport/automation/interface_model.h>

namespace tov::automation {

// A failed late-bound call that was no run-time error of the callee (unknown name, wrong
// argument count, an argument that does not convert).
class DispatchError : public std::runtime_error {
 public:
  DispatchError(HRESULT hr, const std::string& message) : std::runtime_error(message), hresult_(hr) {}
  HRESULT hresult() const { return hresult_; }

 private:
  HRESULT hresult_;
};

inline constexpr HRESULT DISP_E_OVERFLOW = static_cast<HRESULT>(0x8002000Au);

template <class C>
class Dispatcher {
 public:
  explicit Dispatcher(const std::vector<MethodDesc<C>>& methods) : methods_(methods) {}

  HRESULT getIDsOfNames(std::u16string_view name, DISPID* id) const {
    for (const auto& m : methods_) {
      if (equalsNoCase(fromUtf8(m.name), name)) {
        *id = m.dispid;
        return S_OK;
      }
    }
    return DISP_E_UNKNOWNNAME;
  }

  HRESULT invoke(C& object, DISPID id, DispParams& params, Variant* result, ExcepInfo* excep,
                 unsigned* argErr) const {
    const MethodDesc<C>* m = find(id);
    if (!m) return DISP_E_MEMBERNOTFOUND;
    const std::size_t given = params.args.size();
    if (given > m->params.size()) return DISP_E_BADPARAMCOUNT;
    std::vector<Variant> args;
    args.reserve(m->params.size());
    for (std::size_t i = 0; i < m->params.size(); ++i) {
      const ParamDesc& p = m->params[i];
      const bool supplied = i < given && !params.args[given - 1 - i].isMissing();
      if (supplied) {
        args.push_back(params.args[given - 1 - i]);
      } else if (p.optional()) {
        args.push_back(*p.defaultValue);
      } else {
        if (argErr) *argErr = static_cast<unsigned>(given > i ? given - 1 - i : 0);
        return i < given ? DISP_E_PARAMNOTOPTIONAL : DISP_E_BADPARAMCOUNT;
      }
    }
    try {
      Variant r = m->invoke(object, args);
      if (result) *result = std::move(r);
      return S_OK;
    } catch (const ArgumentError& e) {
      if (argErr) *argErr = static_cast<unsigned>(given - 1 - e.index);
      return e.error.number() == kErrOverflow ? DISP_E_OVERFLOW : DISP_E_TYPEMISMATCH;
    } catch (const RuntimeError& e) {
      fill(excep, e.number(), e.hresult(), e.description());
      return DISP_E_EXCEPTION;
    } catch (const std::exception& e) {
      fill(excep, 0, E_FAIL, e.what());
      return DISP_E_EXCEPTION;
    }
  }

  const MethodDesc<C>* find(DISPID id) const {
    for (const auto& m : methods_)
      if (m.dispid == id) return &m;
    return nullptr;
  }

 private:
  static void fill(ExcepInfo* excep, int number, HRESULT hr, const std::string& description) {
    if (!excep) return;
    excep->code = number;
    excep->scode = hr;
    excep->source = u"tovport";
    excep->description = fromUtf8(description);
  }

  const std::vector<MethodDesc<C>>& methods_;
};

// Calls member name of target with args in their natural order (the first argument first).
// A run-time error of the callee comes back as RuntimeError with its number; any other failure
// as DispatchError.
Variant callByName(IDispatch& target, std::u16string_view name, std::vector<Variant> args);
Variant callByDispid(IDispatch& target, DISPID id, std::vector<Variant> args);

// A message for a dispatch status ("Unknown name.", "Invalid number of parameters.", ...).
std::string describeDispatchError(HRESULT hr);

}  // namespace tov::automation
