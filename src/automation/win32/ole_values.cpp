#include "automation/win32/ole_values.h"

#include <cstring>
#include <string>

#include <tovport/automation/convert.h>
#include <tovport/automation/runtime_error.h>

namespace tov::automation::ole {
namespace {

BSTR allocText(const BStr& text) {
  return SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()), static_cast<UINT>(text.size()));
}

BStr textOf(BSTR text) {
  return text ? BStr(reinterpret_cast<const char16_t*>(text), SysStringLen(text)) : BStr();
}

[[noreturn]] void mismatch() { throw RuntimeError(kErrTypeMismatch); }

Variant loadArray(const SAFEARRAY* array);
SAFEARRAY* storeArray(const SafeArray& array);

// The value of the given type at source (a VARIANT's union, an array element, a by-reference
// target).
Variant load(VARTYPE type, const void* source) {
  if (type & VT_ARRAY) return loadArray(*static_cast<SAFEARRAY* const*>(source));
  switch (type) {
    case VT_EMPTY: return Variant();
    case VT_NULL: return Variant(Variant::Null{});
    case VT_I2: return Variant(static_cast<std::int16_t>(*static_cast<const SHORT*>(source)));
    case VT_I4: return Variant(static_cast<std::int32_t>(*static_cast<const LONG*>(source)));
    case VT_R8: return Variant(*static_cast<const DOUBLE*>(source));
    case VT_UI1: return Variant(static_cast<std::uint8_t>(*static_cast<const BYTE*>(source)));
    case VT_BOOL: return Variant(vb(*static_cast<const VARIANT_BOOL*>(source) != VARIANT_FALSE));
    case VT_BSTR: return Variant(textOf(*static_cast<const BSTR*>(source)));
    case VT_DATE: return Variant(Date{*static_cast<const DATE*>(source)});
    case VT_VARIANT: return fromOle(*static_cast<const VARIANT*>(source));
    case VT_ERROR:
      if (*static_cast<const SCODE*>(source) == DISP_E_PARAMNOTFOUND) return Variant(Variant::Missing{});
      mismatch();
    // Integers of other widths and other number types enter as the runtime's nearest type.
    case VT_I1: return Variant(static_cast<std::int16_t>(*static_cast<const signed char*>(source)));
    case VT_UI2: return Variant(static_cast<std::int32_t>(*static_cast<const USHORT*>(source)));
    case VT_INT: return Variant(static_cast<std::int32_t>(*static_cast<const INT*>(source)));
    case VT_UI4: return Variant(static_cast<double>(*static_cast<const ULONG*>(source)));
    case VT_UINT: return Variant(static_cast<double>(*static_cast<const UINT*>(source)));
    case VT_R4: return Variant(static_cast<double>(*static_cast<const FLOAT*>(source)));
    case VT_I8: return Variant(static_cast<double>(*static_cast<const LONGLONG*>(source)));
    case VT_CY: return Variant(static_cast<double>(static_cast<const CY*>(source)->int64) / 10000.0);
    default: mismatch();
  }
}

// Stores value, converted to type by the runtime's rules, at target (which holds a value of that
// type, released here).
void store(VARTYPE type, void* target, const Variant& value) {
  switch (type) {
    case VT_I2: *static_cast<SHORT*>(target) = toI2(value); return;
    case VT_I4: *static_cast<LONG*>(target) = toI4(value); return;
    case VT_R8: *static_cast<DOUBLE*>(target) = toR8(value); return;
    case VT_UI1: *static_cast<BYTE*>(target) = toUI1(value); return;
    case VT_BOOL: *static_cast<VARIANT_BOOL*>(target) = isTrue(toBool(value)) ? VARIANT_TRUE : VARIANT_FALSE; return;
    case VT_DATE: *static_cast<DATE*>(target) = toDate(value).value; return;
    case VT_BSTR: {
      BSTR text = allocText(toText(value));
      SysFreeString(*static_cast<BSTR*>(target));
      *static_cast<BSTR*>(target) = text;
      return;
    }
    case VT_VARIANT:
      VariantClear(static_cast<VARIANT*>(target));
      toOle(value, static_cast<VARIANT*>(target));
      return;
    default: mismatch();
  }
}

Variant loadArray(const SAFEARRAY* array) {
  if (!array || SafeArrayGetDim(const_cast<SAFEARRAY*>(array)) != 1) mismatch();
  auto* a = const_cast<SAFEARRAY*>(array);
  VARTYPE type = VT_EMPTY;
  LONG lower = 0, upper = -1;
  if (FAILED(SafeArrayGetVartype(a, &type)) || FAILED(SafeArrayGetLBound(a, 1, &lower)) ||
      FAILED(SafeArrayGetUBound(a, 1, &upper)))
    mismatch();
  SafeArray out{static_cast<VarType>(type), static_cast<std::int32_t>(lower), {}};
  for (LONG i = lower; i <= upper; ++i) {
    void* element = nullptr;
    if (FAILED(SafeArrayPtrOfIndex(a, &i, &element))) mismatch();
    out.elements.push_back(load(type, element));
  }
  return Variant(std::move(out));
}

SAFEARRAY* storeArray(const SafeArray& array) {
  const auto type = static_cast<VARTYPE>(array.elementType);
  SAFEARRAY* out = SafeArrayCreateVector(type, array.lowerBound, static_cast<ULONG>(array.elements.size()));
  if (!out) throw RuntimeError(7);  // out of memory
  try {
    for (LONG i = 0; i < static_cast<LONG>(array.elements.size()); ++i) {
      LONG index = array.lowerBound + i;
      void* element = nullptr;
      SafeArrayPtrOfIndex(out, &index, &element);
      store(type, element, array.elements[static_cast<std::size_t>(i)]);
    }
  } catch (...) {
    SafeArrayDestroy(out);
    throw;
  }
  return out;
}

// The runtime's value of a host's argument; a value of a type the runtime has none of becomes a
// placeholder that only a parameter taking any value accepts.
Variant argumentValue(const VARIANT& value) {
  try {
    return fromOle(value);
  } catch (const RuntimeError&) {
    return Variant(Variant::Foreign{static_cast<VarType>(value.vt & ~VT_BYREF)});
  }
}

// A variable for the callee to write through, pointing at the value held in shadow (which has
// the caller's type) or, for a caller's variant or a placeholder, at shadow itself.
Variant referenceTo(Variant& shadow, VARTYPE callerType) {
  if (callerType == VT_VARIANT || shadow.isForeign()) return Variant::byRef(&shadow);
  if (auto p = shadow.get<std::int16_t>()) return Variant::byRef(p);
  if (auto p = shadow.get<std::int32_t>()) return Variant::byRef(p);
  if (auto p = shadow.get<double>()) return Variant::byRef(p);
  if (auto p = shadow.get<std::uint8_t>()) return Variant::byRef(p);
  if (auto p = shadow.get<VariantBool>()) return Variant::byRef(p);
  if (auto p = shadow.get<BStr>()) return Variant::byRef(p);
  if (auto p = shadow.get<Date>()) return Variant::byRef(p);
  mismatch();
}

bool isReferenceType(VARTYPE type) {
  switch (type) {
    case VT_I2: case VT_I4: case VT_R8: case VT_UI1: case VT_BOOL: case VT_BSTR: case VT_DATE: case VT_VARIANT:
      return true;
    default:
      return false;
  }
}

}  // namespace

::GUID toOle(const GUID& g) {
  ::GUID out;
  static_assert(sizeof out == sizeof g);
  std::memcpy(&out, &g, sizeof out);
  return out;
}

Variant fromOle(const VARIANT& value) {
  const void* data = (value.vt & VT_BYREF) ? value.byref : static_cast<const void*>(&value.llVal);
  return load(static_cast<VARTYPE>(value.vt & ~VT_BYREF), data);
}

void toOle(const Variant& value, VARIANT* out) {
  const Variant v = value.deref();
  VariantInit(out);
  const auto type = static_cast<VARTYPE>(v.type());
  if (v.isForeign())
    mismatch();
  else if (type & VT_ARRAY)
    out->parray = storeArray(*v.array());
  else if (v.isMissing())
    out->scode = DISP_E_PARAMNOTFOUND;
  else if (type == VT_DISPATCH)
    mismatch();  // no method of the component hands out an object
  else if (type != VT_EMPTY && type != VT_NULL)
    store(type, &out->llVal, v);
  out->vt = type;
}

void toOle(const Variant& value, VARTYPE type, void* target) {
  if (type == VT_VARIANT) VariantInit(static_cast<VARIANT*>(target));
  if (type == VT_BSTR) *static_cast<BSTR*>(target) = nullptr;
  store(type, target, value);
}

VARIANT tableArgument(VarType type, void* value) {
  VARIANT v;
  VariantInit(&v);
  v.vt = static_cast<VARTYPE>(type);
  if (type & VT_BYREF) {
    v.byref = value;
    return v;
  }
  switch (type) {
    case VT_I2: v.iVal = *static_cast<const SHORT*>(value); break;
    case VT_I4: v.lVal = *static_cast<const LONG*>(value); break;
    case VT_R8: v.dblVal = *static_cast<const DOUBLE*>(value); break;
    case VT_UI1: v.bVal = *static_cast<const BYTE*>(value); break;
    case VT_BOOL: v.boolVal = *static_cast<const VARIANT_BOOL*>(value); break;
    case VT_BSTR: v.bstrVal = *static_cast<const BSTR*>(value); break;
    case VT_DATE: v.date = *static_cast<const DATE*>(value); break;
    default: mismatch();
  }
  return v;
}

IncomingArguments::IncomingArguments(const DISPPARAMS& params) {
  shadows_.reserve(params.cArgs);
  for (unsigned i = 0; i < params.cArgs; ++i) {
    VARIANT* arg = &params.rgvarg[i];
    // A variant that refers to another variable stands for that variable.
    while (arg->vt == (VT_BYREF | VT_VARIANT) && (arg->pvarVal->vt & VT_BYREF)) arg = arg->pvarVal;
    const auto type = static_cast<VARTYPE>(arg->vt & ~VT_BYREF);
    if (!(arg->vt & VT_BYREF)) {
      params_.args.push_back(argumentValue(*arg));
      continue;
    }
    Variant value = !isReferenceType(type) ? Variant(Variant::Foreign{static_cast<VarType>(type)})
                    : type == VT_VARIANT   ? argumentValue(*arg->pvarVal)
                                           : argumentValue(*arg);
    shadows_.push_back({arg, type, std::move(value)});
    params_.args.push_back(referenceTo(shadows_.back().value, type));
  }
}

void IncomingArguments::writeBack() {
  // A placeholder the callee left alone leaves the caller's variable as it was.
  for (auto& s : shadows_)
    if (!s.value.isForeign()) store(s.type, s.target->byref, s.value);
}

OutgoingArguments::OutgoingArguments(const DispParams& params)
    : values_(params.args.size()), args_(params.args.size()) {
  for (std::size_t i = 0; i < params.args.size(); ++i) {
    const Variant& arg = params.args[i];
    VariantInit(&values_[i]);
    VariantInit(&args_[i]);
    if (!arg.isByRef()) {
      toOle(arg, &args_[i]);
      continue;
    }
    toOle(arg, &values_[i]);
    const auto referenced = static_cast<VARTYPE>(arg.type() & ~VT_BYREF);
    if (referenced == VT_VARIANT) {
      args_[i].vt = VT_BYREF | VT_VARIANT;
      args_[i].pvarVal = &values_[i];
    } else {
      args_[i].vt = static_cast<VARTYPE>(VT_BYREF | values_[i].vt);
      args_[i].byref = &values_[i].llVal;
    }
  }
  params_.rgvarg = args_.data();
  params_.cArgs = static_cast<UINT>(args_.size());
}

OutgoingArguments::~OutgoingArguments() {
  for (auto& v : values_) VariantClear(&v);
  for (auto& a : args_)
    if (!(a.vt & VT_BYREF)) VariantClear(&a);
}

void OutgoingArguments::writeBack(DispParams& params) {
  for (std::size_t i = 0; i < params.args.size(); ++i)
    if (params.args[i].isByRef()) params.args[i].assign(fromOle(values_[i]));
}

namespace {
HRESULT scodeOf(const ExcepInfo& excep) {
  return excep.scode != S_OK ? excep.scode : static_cast<HRESULT>(0x800A0000u + static_cast<unsigned>(excep.code));
}
}  // namespace

void toOle(const ExcepInfo& excep, EXCEPINFO* out) {
  std::memset(out, 0, sizeof *out);
  out->bstrSource = allocText(excep.source);
  out->bstrDescription = allocText(excep.description);
  out->scode = scodeOf(excep);
}

HRESULT raiseErrorInfo(const ExcepInfo& excep, const GUID& iid) {
  ICreateErrorInfo* created = nullptr;
  IErrorInfo* info = nullptr;
  if (SUCCEEDED(CreateErrorInfo(&created))) {
    const std::wstring source(excep.source.begin(), excep.source.end());
    const std::wstring description(excep.description.begin(), excep.description.end());
    created->SetGUID(toOle(iid));
    created->SetSource(const_cast<LPOLESTR>(source.c_str()));
    created->SetDescription(const_cast<LPOLESTR>(description.c_str()));
    created->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info));
    created->Release();
  }
  SetErrorInfo(0, info);
  if (info) info->Release();
  return scodeOf(excep);
}

ExcepInfo fromOle(const EXCEPINFO& excep) {
  EXCEPINFO filled = excep;
  if (filled.pfnDeferredFillIn) filled.pfnDeferredFillIn(&filled);
  ExcepInfo out;
  out.scode = filled.scode != 0 ? filled.scode : static_cast<HRESULT>(0x800A0000u + filled.wCode);
  if ((static_cast<std::uint32_t>(out.scode) & 0xFFFF0000u) == 0x800A0000u) out.code = out.scode & 0xFFFF;
  out.source = textOf(filled.bstrSource);
  out.description = textOf(filled.bstrDescription);
  return out;
}

}  // namespace tov::automation::ole
