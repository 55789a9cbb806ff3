// Reads the type library back through ITypeLib and ITypeInfo, as hosts and the system read it, and
// compares it with the interface table it was written from: the registered (64-bit) library and,
// given the 32-bit tovport.dll, the library that DLL carries. Then every function of the dual
// interface is called through the registered object's function table (ITypeInfo::Invoke, as a
// compiled Visual Basic call or the typelib marshaller calls) and must give what the same call by
// name gives. Prints each difference and exits 1 when there was one.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include <tovport/component/guids.h>
#include "component/type_library.h"

#include <windows.h>
#include <oleauto.h>

namespace {

namespace ta = tov::automation;

int failures = 0;
std::string where;  // what is being compared, for the messages

std::string shown(const std::string& v) { return "\"" + v + "\""; }
std::string shown(const std::vector<std::string>& v) {
  std::string out;
  for (const auto& s : v) out += (out.empty() ? "" : ", ") + s;
  return "(" + out + ")";
}
std::string shown(const ::GUID& g) {
  wchar_t text[40];
  StringFromGUID2(g, text, 40);
  std::string out;
  for (const wchar_t* c = text; *c; ++c) out.push_back(static_cast<char>(*c));
  return out;
}
template <class T>
std::string shown(const T& v) {
  return std::to_string(static_cast<long long>(v));
}

template <class T>
void expect(const T& actual, const T& expected, const char* what) {
  if (actual == expected) return;
  std::printf("FAIL %s: %s is %s, not %s\n", where.c_str(), what, shown(actual).c_str(), shown(expected).c_str());
  ++failures;
}

std::string narrow(const wchar_t* text) {
  std::string out;
  for (; text && *text; ++text) out.push_back(static_cast<char>(*text));
  return out;
}

std::string nameOf(ITypeInfo* info, MEMBERID id) {
  BSTR name = nullptr;
  info->GetDocumentation(id, &name, nullptr, nullptr, nullptr);
  std::string out = narrow(name);
  SysFreeString(name);
  return out;
}

// A type as the C declaration writes it: "short", "BSTR*", "DeviceType".
std::string typeText(ITypeInfo* info, const TYPEDESC& t) {
  switch (t.vt) {
    case VT_PTR:
      return typeText(info, *t.lptdesc) + "*";
    case VT_USERDEFINED: {
      ITypeInfo* target = nullptr;
      if (FAILED(info->GetRefTypeInfo(t.hreftype, &target))) return "(unresolved)";
      std::string out = nameOf(target, MEMBERID_NIL);
      target->Release();
      return out;
    }
    case VT_I2:
      return "short";
    case VT_I4:
      return "long";
    case VT_UI1:
      return "unsigned char";
    case VT_R8:
      return "double";
    case VT_BOOL:
      return "VARIANT_BOOL";
    case VT_BSTR:
      return "BSTR";
    case VT_DATE:
      return "DATE";
    case VT_VARIANT:
      return "VARIANT";
    case VT_HRESULT:
      return "HRESULT";
    case VT_VOID:
      return "void";
    default:
      return "vt " + std::to_string(t.vt);
  }
}

std::string expectedType(const ta::TypeDesc& t, bool byRef) {
  TYPEDESC plain{};
  plain.vt = static_cast<VARTYPE>(ta::varTypeOf(t));
  return (t.kind == ta::TypeKind::Enum ? std::string(t.enumName) : typeText(nullptr, plain)) + (byRef ? "*" : "");
}

std::string text(const VARIANT& v) {
  VARIANT t;
  VariantInit(&t);
  if (FAILED(VariantChangeType(&t, const_cast<VARIANT*>(&v), VARIANT_ALPHABOOL, VT_BSTR)))
    return "vt " + std::to_string(v.vt);
  std::string out = narrow(t.bstrVal);
  VariantClear(&t);
  return out + " (vt " + std::to_string(v.vt) + ")";
}

std::vector<std::string> names(ITypeInfo* info, MEMBERID id) {
  BSTR found[32];
  UINT count = 0;
  info->GetNames(id, found, 32, &count);
  std::vector<std::string> out;
  for (UINT i = 0; i < count; ++i) out.push_back(narrow(found[i])), SysFreeString(found[i]);
  return out;
}

struct Attr {
  ITypeInfo* info;
  TYPEATTR* a = nullptr;
  explicit Attr(ITypeInfo* i) : info(i) { i->GetTypeAttr(&a); }
  ~Attr() { info->ReleaseTypeAttr(a); }
  TYPEATTR* operator->() const { return a; }
};

// A function's parameters against the table's: names, types, flags and declared defaults.
void compareParameters(ITypeInfo* info, const FUNCDESC& f, const std::vector<ta::ParamDesc>& params,
                       const ta::TypeDesc& result, std::vector<std::string> expectedNames) {
  const bool hasResult = result.kind != ta::TypeKind::Void;
  expect<int>(f.cParams, static_cast<int>(params.size() + (hasResult ? 1 : 0)), "parameter count");
  if (f.cParams != static_cast<int>(params.size() + (hasResult ? 1 : 0))) return;
  for (const auto& p : params) expectedNames.emplace_back(p.name);
  if (hasResult) expectedNames.emplace_back(ta::retvalName(result));
  expect(names(info, f.memid), expectedNames, "names");
  for (std::size_t i = 0; i < params.size(); ++i) {
    const ta::ParamDesc& p = params[i];
    const PARAMDESC& pd = f.lprgelemdescParam[i].paramdesc;
    expect(typeText(info, f.lprgelemdescParam[i].tdesc), expectedType(p.type, p.byRef), "a parameter's type");
    USHORT flags = PARAMFLAG_FIN | (p.byRef ? PARAMFLAG_FOUT : 0);
    if (p.optional()) flags |= PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT;
    expect(pd.wParamFlags, flags, "a parameter's flags");
    if (p.optional() && (pd.wParamFlags & PARAMFLAG_FHASDEFAULT)) {
      VARIANT def;
      VariantInit(&def);
      def.vt = static_cast<VARTYPE>(ta::varTypeOf(p.type));
      if (def.vt == VT_BSTR)
        def.bstrVal = SysAllocString(reinterpret_cast<const wchar_t*>(ta::toText(*p.defaultValue).c_str()));
      else
        def.boolVal = ta::isTrue(ta::toBool(*p.defaultValue)) ? VARIANT_TRUE : VARIANT_FALSE;
      expect(text(pd.pparamdescex->varDefaultValue), text(def), "a default value");
      VariantClear(&def);
    }
  }
  if (hasResult) {
    expect(typeText(info, f.lprgelemdescParam[params.size()].tdesc), expectedType(result, true), "the result type");
    expect<USHORT>(f.lprgelemdescParam[params.size()].paramdesc.wParamFlags, PARAMFLAG_FOUT | PARAMFLAG_FRETVAL,
                   "the result's flags");
  }
}

void compareDual(ITypeInfo* dispatchView, const ta::TypeLibraryDesc& desc, SYSKIND kind) {
  const unsigned pointer = kind == SYS_WIN64 ? 8 : 4;
  const unsigned slots = 7 + static_cast<unsigned>(desc.methods.size());
  HREFTYPE ref = 0;
  ITypeInfo* info = nullptr;
  if (FAILED(dispatchView->GetRefTypeOfImplType(-1, &ref)) || FAILED(dispatchView->GetRefTypeInfo(ref, &info))) {
    expect(true, false, "the dual interface's function-table view");
    return;
  }
  {
    Attr a(info);
    expect(a->typekind, TKIND_INTERFACE, "the function-table view's kind");
    expect<WORD>(
        a->wTypeFlags,
        TYPEFLAG_FHIDDEN | TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDISPATCHABLE,
        "the function-table view's flags");
    expect<unsigned>(a->cFuncs, static_cast<unsigned>(desc.methods.size()), "the number of methods");
    expect<unsigned>(a->cbSizeVft, slots * pointer, "the size of the function table");
  }
  for (UINT i = 0; i < desc.methods.size(); ++i) {
    const ta::IdlMethod& m = desc.methods[i];
    where = std::string(desc.interfaceName) + "." + std::string(m.name);
    FUNCDESC* f = nullptr;
    if (FAILED(info->GetFuncDesc(i, &f))) {
      expect(true, false, "the function");
      continue;
    }
    expect(nameOf(info, f->memid), std::string(m.name), "the name (interface order)");
    expect<long>(f->memid, m.dispid, "the DISPID");
    expect(f->funckind, FUNC_PUREVIRTUAL, "the function kind");
    expect(f->callconv, CC_STDCALL, "the calling convention");
    expect(typeText(info, f->elemdescFunc.tdesc), std::string("HRESULT"), "the return type");
    // oleaut32 gives a library's offsets in the reading process's pointer units.
    expect<unsigned>(f->oVft, (7 + i) * sizeof(void*), "the function-table offset");
    compareParameters(info, *f, *m.params, m.result, {std::string(m.name)});
    info->ReleaseFuncDesc(f);
  }
  info->Release();
}

// A dispatch interface lists IDispatch's seven functions ahead of its own.
void compareEvents(ITypeInfo* info, const ta::TypeLibraryDesc& desc) {
  Attr a(info);
  expect<unsigned>(a->cFuncs, 7 + static_cast<unsigned>(desc.events->size()), "the number of functions");
  for (UINT i = 0; 7 + i < a->cFuncs && i < desc.events->size(); ++i) {
    const ta::EventDesc& e = (*desc.events)[i];
    where = std::string(desc.eventInterfaceName) + "." + std::string(e.name);
    FUNCDESC* f = nullptr;
    info->GetFuncDesc(7 + i, &f);
    expect(nameOf(info, f->memid), std::string(e.name), "the name");
    expect<long>(f->memid, e.dispid, "the DISPID");
    expect(f->funckind, FUNC_DISPATCH, "the function kind");
    std::vector<std::string> expectedNames{std::string(e.name)};
    expect<int>(f->cParams, static_cast<int>(e.params.size()), "the number of arguments");
    for (int k = 0; k < f->cParams && k < static_cast<int>(e.params.size()); ++k) {
      expect(typeText(info, f->lprgelemdescParam[k].tdesc), expectedType(e.params[k].type, true), "an argument's type");
      expect<USHORT>(f->lprgelemdescParam[k].paramdesc.wParamFlags, PARAMFLAG_FIN | PARAMFLAG_FOUT,
                     "an argument's flags");
      expectedNames.emplace_back(e.params[k].name);
    }
    expect(names(info, f->memid), expectedNames, "the names");
    info->ReleaseFuncDesc(f);
  }
}

void compareEnum(ITypeInfo* info, const ta::EnumDesc& e) {
  Attr a(info);
  expect<unsigned>(a->cVars, static_cast<unsigned>(e.members.size()), "the number of members");
  for (UINT i = 0; i < a->cVars && i < e.members.size(); ++i) {
    VARDESC* v = nullptr;
    info->GetVarDesc(i, &v);
    expect(nameOf(info, v->memid), std::string(e.members[i].first), "a member's name");
    expect(v->varkind, VAR_CONST, "a member's kind");
    expect<long>(v->lpvarValue->vt == VT_I4 ? v->lpvarValue->lVal : -1, e.members[i].second, "a member's value");
    info->ReleaseVarDesc(v);
  }
}

// Records keep the Win32 positions: each field at the next offset its size aligns to.
void compareRecord(ITypeInfo* info, const ta::RecordDesc& r) {
  Attr a(info);
  expect<unsigned>(a->cVars, static_cast<unsigned>(r.fields.size()), "the number of fields");
  unsigned offset = 0, alignment = 1;
  for (UINT i = 0; i < a->cVars && i < r.fields.size(); ++i) {
    VARDESC* v = nullptr;
    info->GetVarDesc(i, &v);
    const unsigned size = r.fields[i].type.kind == ta::TypeKind::I4   ? 4
                          : r.fields[i].type.kind == ta::TypeKind::I2 ? 2
                                                                      : 1;
    offset = (offset + size - 1) / size * size;
    alignment = std::max(alignment, size);
    expect(nameOf(info, v->memid), std::string(r.fields[i].name), "a field's name");
    expect(typeText(info, v->elemdescVar.tdesc), expectedType(r.fields[i].type, false), "a field's type");
    expect<unsigned>(v->oInst, offset, "a field's position");
    offset += size;
    info->ReleaseVarDesc(v);
  }
  expect<unsigned>(a->cbSizeInstance, (offset + alignment - 1) / alignment * alignment, "the record's size");
}

void compareLibrary(ITypeLib* lib, SYSKIND kind) {
  const ta::TypeLibraryDesc& desc = tov::typeLibrary();
  where = std::string(desc.name) + (kind == SYS_WIN64 ? " (64-bit)" : " (32-bit)");
  TLIBATTR* attr = nullptr;
  lib->GetLibAttr(&attr);
  expect(attr->guid, ::GUID(*reinterpret_cast<const ::GUID*>(&desc.libid)), "the library's GUID");
  expect<int>(attr->wMajorVerNum * 100 + attr->wMinorVerNum, desc.major * 100 + desc.minor, "the version");
  expect(attr->syskind, kind, "the system kind");
  expect<LCID>(attr->lcid, 0, "the locale");
  lib->ReleaseTLibAttr(attr);
  BSTR name = nullptr;
  lib->GetDocumentation(-1, &name, nullptr, nullptr, nullptr);
  expect(narrow(name), std::string(desc.name), "the library's name");
  SysFreeString(name);

  struct Expected {
    std::string_view name;
    TYPEKIND kind;
    ta::GUID guid;
    WORD flags;
  };
  std::vector<Expected> order = {{desc.interfaceName, TKIND_DISPATCH, desc.iid,
                                  TYPEFLAG_FHIDDEN | TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE},
                                 {desc.className, TKIND_COCLASS, desc.clsid, TYPEFLAG_FCANCREATE},
                                 {desc.eventInterfaceName, TKIND_DISPATCH, desc.eventIid,
                                  TYPEFLAG_FHIDDEN | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FDISPATCHABLE}};
  for (const auto& e : desc.enums) order.push_back({e.name, TKIND_ENUM, e.guid, 0});
  for (const auto& r : desc.records) order.push_back({r.name, TKIND_RECORD, r.guid, 0});
  expect<unsigned>(lib->GetTypeInfoCount(), static_cast<unsigned>(order.size()), "the number of types");

  for (UINT i = 0; i < order.size() && i < lib->GetTypeInfoCount(); ++i) {
    ITypeInfo* info = nullptr;
    lib->GetTypeInfo(i, &info);
    where = std::string(desc.name) + (kind == SYS_WIN64 ? " (64-bit) " : " (32-bit) ") + std::string(order[i].name);
    expect(nameOf(info, MEMBERID_NIL), std::string(order[i].name), "the name (library order)");
    {
      Attr a(info);
      expect(a->typekind, order[i].kind, "the kind");
      expect(a->guid, *reinterpret_cast<const ::GUID*>(&order[i].guid), "the GUID");
      expect(a->wTypeFlags, order[i].flags, "the flags");
      expect<int>(a->wMajorVerNum * 100 + a->wMinorVerNum, desc.major * 100 + desc.minor, "the version");
    }
    if (i == 0) compareDual(info, desc, kind);
    if (i == 1) {
      for (UINT k = 0; k < 2; ++k) {
        INT flags = 0;
        HREFTYPE ref = 0;
        ITypeInfo* impl = nullptr;
        info->GetImplTypeFlags(k, &flags);
        info->GetRefTypeOfImplType(k, &ref);
        info->GetRefTypeInfo(ref, &impl);
        expect(impl ? nameOf(impl, MEMBERID_NIL) : "",
               std::string(k == 0 ? desc.interfaceName : desc.eventInterfaceName), "an implemented interface");
        expect(flags, k == 0 ? IMPLTYPEFLAG_FDEFAULT : IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE,
               "an implemented interface's flags");
        if (impl) impl->Release();
      }
    }
    if (i == 2) compareEvents(info, desc);
    if (i >= 3 && i < 3 + desc.enums.size()) compareEnum(info, desc.enums[i - 3]);
    if (i >= 3 + desc.enums.size()) compareRecord(info, desc.records[i - 3 - desc.enums.size()]);
    info->Release();
  }
}

// A neutral argument of a declared type: 0, False, "", or a variant holding 0; by reference, a
// reference to such a value in values.
VARIANT argumentOf(const TYPEDESC& t, std::vector<VARIANT>& values) {
  if (t.vt == VT_PTR) {
    values.push_back(argumentOf(*t.lptdesc, values));
    VARIANT& held = values.back();
    const bool variant = t.lptdesc->vt == VT_VARIANT;
    VARIANT ref;
    VariantInit(&ref);
    ref.vt = static_cast<VARTYPE>(VT_BYREF | (variant ? VARTYPE{VT_VARIANT} : held.vt));
    ref.byref = variant ? static_cast<void*>(&held) : static_cast<void*>(&held.lVal);
    return ref;
  }
  VARIANT v;
  VariantInit(&v);
  v.vt = t.vt == VT_USERDEFINED ? VARTYPE{VT_I4} : t.vt;
  if (v.vt == VT_BSTR) v.bstrVal = SysAllocString(L"");
  if (v.vt == VT_VARIANT) v.vt = VT_I2;
  return v;
}

std::string outcome(HRESULT hr, const EXCEPINFO& excep, const VARIANT& result, const std::vector<VARIANT>& values) {
  // A failed call's result is whatever the caller's variable held.
  std::string out = std::to_string(hr == DISP_E_EXCEPTION ? excep.scode : hr) + " " + narrow(excep.bstrDescription) +
                    " -> " + (FAILED(hr) || result.vt == VT_EMPTY ? "" : text(result));
  for (const auto& v : values) out += " / " + text(v);
  return out;
}

// Every function through the function table against the same call by name, each on a new object.
void callEveryFunction(ITypeLib* lib, const ta::TypeLibraryDesc& desc) {
  ITypeInfo *dispatchView = nullptr, *info = nullptr;
  HREFTYPE ref = 0;
  lib->GetTypeInfoOfGuid(*reinterpret_cast<const ::GUID*>(&desc.iid), &dispatchView);
  dispatchView->GetRefTypeOfImplType(-1, &ref);
  dispatchView->GetRefTypeInfo(ref, &info);
  for (UINT i = 0; i < desc.methods.size(); ++i) {
    FUNCDESC* f = nullptr;
    info->GetFuncDesc(i, &f);
    where = "a call of " + nameOf(info, f->memid);
    std::string results[2];
    for (int byName = 0; byName < 2; ++byName) {
      IDispatch* object = nullptr;
      const ::GUID& iid = *reinterpret_cast<const ::GUID*>(&desc.iid);
      CoCreateInstance(*reinterpret_cast<const ::GUID*>(&desc.clsid), nullptr, CLSCTX_INPROC_SERVER, iid,
                       reinterpret_cast<void**>(&object));
      std::vector<VARIANT> values, args;
      values.reserve(f->cParams);  // by-reference arguments point into it
      for (int k = 0; k < f->cParams; ++k)
        if (!(f->lprgelemdescParam[k].paramdesc.wParamFlags & PARAMFLAG_FRETVAL))
          args.insert(args.begin(), argumentOf(f->lprgelemdescParam[k].tdesc, values));
      DISPPARAMS params{args.data(), nullptr, static_cast<UINT>(args.size()), 0};
      VARIANT result;
      VariantInit(&result);
      EXCEPINFO excep{};
      UINT argErr = 0;
      const HRESULT hr = byName
                             ? object->Invoke(f->memid, IID_NULL, 0, DISPATCH_METHOD, &params, &result, &excep, &argErr)
                             : info->Invoke(object, f->memid, DISPATCH_METHOD, &params, &result, &excep, &argErr);
      results[byName] = outcome(hr, excep, result, values);
      // A request that started workers is stopped before the next object comes.
      DISPID kill = 0;
      LPOLESTR killName[] = {const_cast<LPOLESTR>(L"KillThreads")};
      DISPPARAMS none{};
      if (SUCCEEDED(object->GetIDsOfNames(IID_NULL, killName, 1, 0, &kill)))
        object->Invoke(kill, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr);
      VariantClear(&result);
      for (auto& a : args)
        if (!(a.vt & VT_BYREF)) VariantClear(&a);
      for (auto& v : values) VariantClear(&v);
      SysFreeString(excep.bstrSource), SysFreeString(excep.bstrDescription), SysFreeString(excep.bstrHelpFile);
      object->Release();
    }
    if (results[0] != results[1]) {
      std::printf("FAIL %s: through the function table [%s], by name [%s]\n", where.c_str(), results[0].c_str(),
                  results[1].c_str());
      ++failures;
    }
    info->ReleaseFuncDesc(f);
  }
  info->Release();
  dispatchView->Release();
}

}  // namespace

int main(int argc, char** argv) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  const ta::TypeLibraryDesc& desc = tov::typeLibrary();
  ITypeLib* registered = nullptr;
  if (FAILED(LoadRegTypeLib(*reinterpret_cast<const ::GUID*>(&desc.libid), 2, 7, 0, &registered))) {
    std::printf("FAIL the type library is not registered\n");
    return 1;
  }
  compareLibrary(registered, SYS_WIN64);
  callEveryFunction(registered, desc);
  registered->Release();
  if (argc > 1) {
    std::wstring path;
    for (const char* c = argv[1]; *c; ++c) path.push_back(static_cast<wchar_t>(*c));
    ITypeLib* library32 = nullptr;
    if (FAILED(LoadTypeLibEx(path.c_str(), REGKIND_NONE, &library32))) {
      std::printf("FAIL cannot read the type library of %s\n", argv[1]);
      return 1;
    }
    compareLibrary(library32, SYS_WIN32);
    library32->Release();
  }
  CoUninitialize();
  if (failures > 0) return 1;
  std::printf("type library checks passed\n");
  return 0;
}
