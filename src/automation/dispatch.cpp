#include <tovport/automation/dispatch.h>

#include <algorithm>
#include <cstdio>

namespace tov::automation {

std::string describeDispatchError(HRESULT hr) {
  switch (hr) {
    case DISP_E_UNKNOWNNAME: return "Unknown name.";
    case DISP_E_MEMBERNOTFOUND: return "Member not found.";
    case DISP_E_BADPARAMCOUNT: return "Invalid number of parameters.";
    case DISP_E_TYPEMISMATCH: return "Type mismatch.";
    case DISP_E_OVERFLOW: return "Out of present range.";
    case DISP_E_PARAMNOTOPTIONAL: return "Parameter not optional.";
    case DISP_E_PARAMNOTFOUND: return "Parameter not found.";
    case DISP_E_EXCEPTION: return "Exception occurred.";
    default: {
      char buf[32];
      std::snprintf(buf, sizeof buf, "HRESULT 0x%08X", static_cast<unsigned>(hr));
      return buf;
    }
  }
}

Variant callByDispid(IDispatch& target, DISPID id, std::vector<Variant> args) {
  DispParams params;
  params.args.assign(std::make_move_iterator(args.rbegin()), std::make_move_iterator(args.rend()));
  Variant result;
  ExcepInfo excep;
  unsigned argErr = 0;
  const HRESULT hr = target.Invoke(id, params, &result, &excep, &argErr);
  if (hr == DISP_E_EXCEPTION) {
    if (excep.code != 0) throw RuntimeError(excep.code, toUtf8(excep.description));
    throw DispatchError(excep.scode, toUtf8(excep.description));
  }
  if (failed(hr)) {
    std::string message = describeDispatchError(hr);
    if (hr == DISP_E_TYPEMISMATCH || hr == DISP_E_OVERFLOW || hr == DISP_E_PARAMNOTOPTIONAL)
      message += " (argument " + std::to_string(params.args.size() - argErr) + ")";
    throw DispatchError(hr, message);
  }
  return result;
}

Variant callByName(IDispatch& target, std::u16string_view name, std::vector<Variant> args) {
  DISPID id = 0;
  const HRESULT hr = target.GetIDsOfNames(name, &id);
  if (failed(hr)) throw DispatchError(hr, describeDispatchError(hr) + " '" + toUtf8(name) + "'");
  return callByDispid(target, id, std::move(args));
}

}  // namespace tov::automation
