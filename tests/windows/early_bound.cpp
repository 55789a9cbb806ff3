// An early-bound host as a C++ developer writes one: it includes the generated tovport_com.h,
// creates the component for its dual interface and calls one method of every signature shape
// through the function table, each compared with the same call made by name. Prints each failed
// check and exits 1 when there was one.
#include <string>
#include <vector>

#include "host.h"

#include <oleauto.h>

namespace {

using host::check;

// The outcome of a call: its HRESULT, its result as text and the error object's description.
struct Outcome {
  HRESULT hr = S_OK;
  std::wstring result;
  std::wstring error;
  bool operator==(const Outcome&) const = default;
};

std::wstring text(const VARIANT& v) {
  VARIANT t;
  VariantInit(&t);
  if (FAILED(VariantChangeType(&t, const_cast<VARIANT*>(&v), VARIANT_ALPHABOOL, VT_BSTR)))
    return L"(" + std::to_wstring(v.vt) + L")";
  std::wstring out(t.bstrVal, SysStringLen(t.bstrVal));
  VariantClear(&t);
  return out;
}

// The thread's error object, as an early-bound host reads it after a failed call.
std::wstring errorObject(IUnknown* object) {
  ISupportErrorInfo* support = nullptr;
  bool supported = SUCCEEDED(object->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support))) &&
                   support->InterfaceSupportsErrorInfo(tovport::IID__tovComPrtv3) == S_OK;
  if (support) support->Release();
  IErrorInfo* info = nullptr;
  if (!supported || GetErrorInfo(0, &info) != S_OK) return L"(no error object)";
  BSTR source = nullptr, description = nullptr;
  info->GetSource(&source);
  info->GetDescription(&description);
  std::wstring out = std::wstring(source ? source : L"") + L": " + (description ? description : L"");
  SysFreeString(source);
  SysFreeString(description);
  info->Release();
  return out;
}

template <class T>
Outcome early(IUnknown* object, HRESULT hr, const T& result) {
  Outcome o{hr, {}, {}};
  if (FAILED(hr))
    o.error = errorObject(object);
  else
    o.result = result();
  return o;
}

// The same call by name; args in natural order.
Outcome byName(IDispatch* object, const wchar_t* name, std::vector<VARIANT> args) {
  DISPID id = 0;
  LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
  if (FAILED(object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id))) return {E_FAIL, L"no name", {}};
  std::vector<VARIANT> reversed(args.rbegin(), args.rend());
  DISPPARAMS params{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
  VARIANT result;
  VariantInit(&result);
  EXCEPINFO excep{};
  Outcome o;
  o.hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result, &excep, nullptr);
  if (o.hr == DISP_E_EXCEPTION) {
    o.hr = excep.scode;
    o.error = std::wstring(excep.bstrSource) + L": " + excep.bstrDescription;
  } else if (result.vt != VT_EMPTY) {
    o.result = text(result);
  }
  SysFreeString(excep.bstrSource);
  SysFreeString(excep.bstrDescription);
  SysFreeString(excep.bstrHelpFile);
  VariantClear(&result);
  return o;
}

VARIANT variant(VARTYPE type, long number, void* target = nullptr) {
  VARIANT x;
  VariantInit(&x);
  x.vt = type;
  if (type & VT_BYREF)
    x.byref = target;
  else if (type == VT_I2)
    x.iVal = static_cast<short>(number);
  else
    x.lVal = number;
  return x;
}
VARIANT i2(short v) { return variant(VT_I2, v); }
VARIANT i4(long v) { return variant(VT_I4, v); }
VARIANT byRef(VARTYPE type, void* target) { return variant(VT_BYREF | type, 0, target); }

std::wstring boolText(VARIANT_BOOL b) { return b ? L"True" : L"False"; }

void expectSame(const char* what, const Outcome& early, const Outcome& late) {
  if (early == late) return;
  std::printf("FAIL %s: early %08lx [%ls] [%ls], by name %08lx [%ls] [%ls]\n", what,
              static_cast<unsigned long>(early.hr), early.result.c_str(), early.error.c_str(),
              static_cast<unsigned long>(late.hr), late.result.c_str(), late.error.c_str());
  ++host::failures;
}

void checks() {
  tovport::_tovComPrtv3* c = host::createComponent();
  if (!c) return;
  VARIANT_BOOL b = 1;
  short s = 0;
  long l = 0;
  BSTR text1 = nullptr;

  // A result only.
  Outcome e = early(c, c->IsPending(&b), [&] { return boolText(b); });
  expectSame("IsPending", e, byName(c, L"IsPending", {}));
  check(e.result == L"False", "IsPending answers False");

  // By value, an I2 result.
  c->VBSetTimeoutSeconds(3, 7);
  e = early(c, c->VBGetTimeoutSeconds(3, &s), [&] { return std::to_wstring(s); });
  expectSame("VBGetTimeoutSeconds(3)", e, byName(c, L"VBGetTimeoutSeconds", {i2(3)}));
  check(s == 7, "VBGetTimeoutSeconds gives what VBSetTimeoutSeconds set");

  // An enum by value, a text result.
  e = early(c, c->VBGetDeviceName(tovport::dtSiemens_S65, &text1), [&] { return std::wstring(text1); });
  expectSame("VBGetDeviceName(dtSiemens_S65)", e, byName(c, L"VBGetDeviceName", {i4(tovport::dtSiemens_S65)}));
  check(e.result == L"BenQ-Siemens S65", "VBGetDeviceName names the S65");
  SysFreeString(text1);

  // Texts by value, an I4 result; then a text by reference that the method fills.
  BSTR port = SysAllocString(L"COM31"), settings = SysAllocString(L"baud=57600 parity=N data=8 stop=1");
  e = early(c, c->VBCommOpen(31, port, settings, &l), [&] { return std::to_wstring(l); });
  check(SUCCEEDED(e.hr) && l != 0, "VBCommOpen on a missing port returns its error code");
  BSTR message = SysAllocString(L"");
  long code = 0;
  e = early(c, c->VBCommGetError(&message, &code), [&] { return std::to_wstring(code) + L" " + message; });
  BSTR named = SysAllocString(L"");
  expectSame("VBCommGetError", e, [&] {
    Outcome o = byName(c, L"VBCommGetError", {byRef(VT_BSTR, &named)});
    o.result += std::wstring(L" ") + named;
    return o;
  }());
  check(std::wstring(message).find(L"VBCommOpen") != std::wstring::npos, "the message names VBCommOpen");
  SysFreeString(port), SysFreeString(settings), SysFreeString(message), SysFreeString(named);

  // An I2 by reference, converted and written back.
  short portNr = 31, portByName = 31;
  e = early(c, c->VBOpenPort(&portNr, &b), [&] { return boolText(b) + L" " + std::to_wstring(portNr); });
  Outcome late = byName(c, L"VBOpenPort", {byRef(VT_I2, &portByName)});
  late.result += L" " + std::to_wstring(portByName);
  expectSame("VBOpenPort(31)", e, late);

  // An enum by reference: the declared I4 result cannot take a device name (error 13).
  tovport::DeviceType dt = tovport::dtSiemens_S65;
  long dtByName = tovport::dtSiemens_S65;
  e = early(c, c->GetDeviceName(&dt, &l), [&] { return std::to_wstring(l); });
  expectSame("GetDeviceName(dtSiemens_S65)", e, byName(c, L"GetDeviceName", {byRef(VT_I4, &dtByName)}));
  check(e.hr == static_cast<HRESULT>(0x800A000Du) && e.error == L"tovport: Type mismatch",
        "GetDeviceName fails with error 13 and its description in the error object");

  // A VARIANT by reference: debugprint takes a two-dimensional array and leaves it as it was.
  SAFEARRAYBOUND bounds[2] = {{2, 0}, {3, 1}};
  VARIANT array;
  VariantInit(&array);
  array.vt = VT_ARRAY | VT_I4;
  array.parray = SafeArrayCreate(VT_I4, 2, bounds);
  BSTR file = SysAllocString(L"");
  e = early(c, c->debugprint(&array, &file), [] { return std::wstring(L"done"); });
  check(e.hr == S_OK && array.vt == (VT_ARRAY | VT_I4) && SafeArrayGetDim(array.parray) == 2,
        "debugprint takes a 2-D array by reference and leaves it alone");
  VariantClear(&array);
  SysFreeString(file);

  // A VARIANT port by reference on an instance without workers (error 91), and a port out of range
  // (error 9): automation errors with their descriptions from the error object.
  VARIANT port3 = i2(3);
  e = early(c, c->VBclsDetectDevice(&port3), [] { return std::wstring(); });
  expectSame("VBclsDetectDevice(3)", e, byName(c, L"VBclsDetectDevice", {byRef(VT_VARIANT, &port3)}));
  check(e.hr == static_cast<HRESULT>(0x800A005Bu), "VBclsDetectDevice without a worker fails with error 91");
  e = early(c, c->VBGetTimeoutSeconds(99, &s), [&] { return std::to_wstring(s); });
  expectSame("VBGetTimeoutSeconds(99)", e, byName(c, L"VBGetTimeoutSeconds", {i2(99)}));
  check(e.hr == static_cast<HRESULT>(0x800A0009u) && e.error == L"tovport: Subscript out of range",
        "VBGetTimeoutSeconds(99) fails with error 9 and its description in the error object");

  c->Release();
}

}  // namespace

int main() { return host::run("early-bound", checks); }
