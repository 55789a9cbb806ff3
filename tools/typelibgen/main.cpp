// Writes the binary type library tovport 2.7 from the interface table with the system's
// ICreateTypeLib2, for both pointer widths, and the C++ header of the library for early-bound
// hosts: tovport-typelibgen DIR writes DIR/win32/tovport.tlb (SYS_WIN32), DIR/win64/tovport.tlb
// (SYS_WIN64) and DIR/tovport_com.h. The library holds exactly the description's types in its
// order: the dual interface, the class, the event interface, the enums, the records.
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <deque>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "component/type_library.h"
#include "automation/win32/ole_values.h"

namespace {

namespace ta = tov::automation;
using tov::automation::ole::toOle;

// IDispatch's seven functions come first in every function table.
constexpr unsigned kDispatchSlots = 7;

void check(HRESULT hr, const std::string& what) {
  if (FAILED(hr)) {
    char code[16];
    std::snprintf(code, sizeof code, "%08lx", static_cast<unsigned long>(hr));
    throw std::runtime_error(what + " failed: " + code);
  }
}

std::wstring wide(std::string_view text) {
  const std::u16string utf16 = ta::fromUtf8(text);
  return std::wstring(utf16.begin(), utf16.end());
}

template <class T>
struct Released {
  T* p = nullptr;
  ~Released() {
    if (p) p->Release();
  }
  T* operator->() const { return p; }
};

// The type records of a saved library (MSFT format): a fixed header, one offset per type, then the
// segment directory, whose first entry locates the table of 100-byte type records.
class TypeRecords {
 public:
  static constexpr std::streamoff kFunctionTableSize = 0x4e;  // cbSizeVft, 16 bits
  static constexpr std::streamoff kInstanceSize = 0x50;       // cbSizeInstance, 32 bits

  explicit TypeRecords(const std::filesystem::path& file)
      : file_(file), f_(file, std::ios::in | std::ios::out | std::ios::binary) {
    constexpr std::streamoff kHeaderSize = 0x54, kFlags = 0x14, kTypeCount = 0x20;
    constexpr std::uint32_t kHelpDllFlag = 0x100;
    const std::streamoff offsets = kHeaderSize + ((read(kFlags) & kHelpDllFlag) ? 4 : 0);
    table_ = read(offsets + 4 * static_cast<std::streamoff>(read(kTypeCount)));
  }

  template <class T>
  void set(std::size_t type, std::streamoff field, T value) {
    f_.seekp(table_ + static_cast<std::streamoff>(type) * kRecordSize + field);
    f_.write(reinterpret_cast<const char*>(&value), sizeof value);
    if (!f_.flush()) throw std::runtime_error("cannot update " + file_.string());
  }

 private:
  static constexpr std::streamoff kRecordSize = 0x64;

  std::uint32_t read(std::streamoff at) {
    std::uint32_t v = 0;
    f_.seekg(at);
    f_.read(reinterpret_cast<char*>(&v), sizeof v);
    if (!f_) throw std::runtime_error("cannot read " + file_.string());
    return v;
  }

  std::filesystem::path file_;
  std::fstream f_;
  std::streamoff table_ = 0;
};

class LibraryWriter {
 public:
  LibraryWriter(const ta::TypeLibraryDesc& desc, SYSKIND kind, const std::filesystem::path& file)
      : desc_(desc), pointerSize_(kind == SYS_WIN64 ? 8 : 4), file_(file) {
    check(CreateTypeLib2(kind, file.wstring().c_str(), &lib_.p), "CreateTypeLib2");
    check(lib_->SetName(name(desc.name)), "SetName");
    check(lib_->SetGuid(toOle(desc.libid)), "SetGuid");
    check(lib_->SetVersion(static_cast<WORD>(desc.major), static_cast<WORD>(desc.minor)), "SetVersion");
    check(lib_->SetLcid(LOCALE_NEUTRAL), "SetLcid");
    Released<ITypeLib> stdole;
    check(LoadTypeLib(L"stdole2.tlb", &stdole.p), "LoadTypeLib(stdole2.tlb)");
    check(stdole->GetTypeInfoOfGuid(IID_IDispatch, &dispatch_.p), "IDispatch in stdole2.tlb");
  }

  void write() {
    // Every type exists before any refers to another, so the library keeps the description's order.
    dual_ = create(desc_.interfaceName, TKIND_INTERFACE, desc_.iid,
                   TYPEFLAG_FHIDDEN | TYPEFLAG_FDUAL | TYPEFLAG_FNONEXTENSIBLE | TYPEFLAG_FOLEAUTOMATION);
    ICreateTypeInfo* coclass = create(desc_.className, TKIND_COCLASS, desc_.clsid, TYPEFLAG_FCANCREATE);
    events_ =
        create(desc_.eventInterfaceName, TKIND_DISPATCH, desc_.eventIid, TYPEFLAG_FHIDDEN | TYPEFLAG_FNONEXTENSIBLE);
    for (const auto& e : desc_.enums) enums_.emplace_back(e.name, create(e.name, TKIND_ENUM, e.guid, 0));
    std::vector<ICreateTypeInfo*> records;
    for (const auto& r : desc_.records) records.push_back(create(r.name, TKIND_RECORD, r.guid, 0));

    for (std::size_t i = 0; i < desc_.enums.size(); ++i) writeEnum(desc_.enums[i], enums_[i].second);
    for (std::size_t i = 0; i < desc_.records.size(); ++i) writeRecord(desc_.records[i], records[i]);
    implement(dual_, dispatch_.p, 0, 0);
    for (std::size_t i = 0; i < desc_.methods.size(); ++i) writeMethod(desc_.methods[i], static_cast<UINT>(i));
    implement(coclass, dual_, 0, IMPLTYPEFLAG_FDEFAULT);
    implement(coclass, events_, 1, IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE);
    // Implementing dispatch interfaces made the class dispatchable too; it is only creatable.
    check(coclass->SetTypeFlags(TYPEFLAG_FCANCREATE), "SetTypeFlags");
    implement(events_, dispatch_.p, 0, 0);
    for (std::size_t i = 0; i < desc_.events->size(); ++i) writeEvent((*desc_.events)[i], static_cast<UINT>(i));

    for (auto* info : infos_) check(info->LayOut(), "LayOut");
    check(lib_->SaveAllChanges(), "SaveAllChanges");
    // Two sizes the layout leaves wrong are written into the saved type records: it counts
    // IDispatch's part of the dual interface's function table in this process's pointer width, and
    // it gives records no size.
    TypeRecords saved(file_);
    saved.set(0, TypeRecords::kFunctionTableSize,
              static_cast<std::uint16_t>((kDispatchSlots + desc_.methods.size()) * pointerSize_));
    for (std::size_t i = 0; i < desc_.records.size(); ++i)
      saved.set(3 + desc_.enums.size() + i, TypeRecords::kInstanceSize, recordSizes_[i]);
  }

  ~LibraryWriter() {
    for (auto* info : infos_) info->Release();
  }

 private:
  LPOLESTR name(std::string_view text) {
    names_.push_back(wide(text));  // a deque: earlier names stay where they are
    return names_.back().data();
  }

  ICreateTypeInfo* create(std::string_view typeName, TYPEKIND kind, const ta::GUID& guid, WORD flags) {
    ICreateTypeInfo* info = nullptr;
    check(lib_->CreateTypeInfo(name(typeName), kind, &info), "CreateTypeInfo " + std::string(typeName));
    infos_.push_back(info);
    check(info->SetGuid(toOle(guid)), "SetGuid " + std::string(typeName));
    check(info->SetVersion(static_cast<WORD>(desc_.major), static_cast<WORD>(desc_.minor)), "SetVersion");
    if (flags) check(info->SetTypeFlags(flags), "SetTypeFlags " + std::string(typeName));
    return info;
  }

  // Makes base (an ITypeInfo, or a type of this library) implemented type index of info.
  template <class T>
  void implement(ICreateTypeInfo* info, T* base, UINT index, INT implFlags) {
    Released<ITypeInfo> baseInfo;
    check(base->QueryInterface(IID_ITypeInfo, reinterpret_cast<void**>(&baseInfo.p)), "ITypeInfo");
    HREFTYPE ref = 0;
    check(info->AddRefTypeInfo(baseInfo.p, &ref), "AddRefTypeInfo");
    check(info->AddImplType(index, ref), "AddImplType");
    if (implFlags) check(info->SetImplTypeFlags(index, implFlags), "SetImplTypeFlags");
  }

  // The type description of t; by reference, a pointer to it. inner holds what pointers point at.
  TYPEDESC typeDesc(const ta::TypeDesc& t, bool byRef, std::vector<TYPEDESC>& inner) {
    TYPEDESC d{};
    d.vt = static_cast<VARTYPE>(ta::varTypeOf(t));
    if (t.kind == ta::TypeKind::Enum) {
      d.vt = VT_USERDEFINED;
      d.hreftype = enumReference(t.enumName);
    }
    if (!byRef) return d;
    inner.push_back(d);
    TYPEDESC pointer{};
    pointer.vt = VT_PTR;
    pointer.lptdesc = &inner.back();
    return pointer;
  }

  HREFTYPE enumReference(std::string_view enumName) {
    for (auto& [n, info] : enums_) {
      if (n != enumName) continue;
      Released<ITypeInfo> target;
      check(info->QueryInterface(IID_ITypeInfo, reinterpret_cast<void**>(&target.p)), "ITypeInfo");
      HREFTYPE ref = 0;
      check(current_->AddRefTypeInfo(target.p, &ref), "AddRefTypeInfo " + std::string(enumName));
      return ref;
    }
    throw std::runtime_error("no enum " + std::string(enumName));
  }

  void writeMethod(const ta::IdlMethod& m, UINT index) {
    current_ = dual_;
    const auto& params = *m.params;
    const bool hasResult = m.result.kind != ta::TypeKind::Void;
    std::vector<TYPEDESC> inner;
    inner.reserve(params.size() + 1);  // pointers into it stay valid
    std::vector<ELEMDESC> elements(params.size() + (hasResult ? 1 : 0));
    std::vector<PARAMDESCEX> defaults(params.size());
    std::vector<LPOLESTR> names{name(m.name)};
    for (std::size_t i = 0; i < params.size(); ++i) {
      const ta::ParamDesc& p = params[i];
      elements[i].tdesc = typeDesc(p.type, p.byRef, inner);
      elements[i].paramdesc.wParamFlags = PARAMFLAG_FIN | (p.byRef ? PARAMFLAG_FOUT : 0);
      if (p.optional()) {
        defaults[i].cBytes = sizeof(PARAMDESCEX);
        toOle(*p.defaultValue, &defaults[i].varDefaultValue);
        elements[i].paramdesc.wParamFlags |= PARAMFLAG_FOPT | PARAMFLAG_FHASDEFAULT;
        elements[i].paramdesc.pparamdescex = &defaults[i];
      }
      names.push_back(name(p.name));
    }
    if (hasResult) {
      elements.back().tdesc = typeDesc(m.result, true, inner);
      elements.back().paramdesc.wParamFlags = PARAMFLAG_FOUT | PARAMFLAG_FRETVAL;
      names.push_back(name(ta::retvalName(m.result)));
    }
    FUNCDESC f{};
    f.funckind = FUNC_PUREVIRTUAL;
    f.elemdescFunc.tdesc.vt = VT_HRESULT;
    // The function table follows the interface order after IDispatch's functions.
    f.oVft = static_cast<SHORT>((kDispatchSlots + index) * pointerSize_);
    addFunction(dual_, index, m.dispid, f, elements, names);
    for (auto& d : defaults) VariantClear(&d.varDefaultValue);
  }

  void writeEvent(const ta::EventDesc& e, UINT index) {
    current_ = events_;
    std::vector<TYPEDESC> inner;
    inner.reserve(e.params.size());
    std::vector<ELEMDESC> elements(e.params.size());
    std::vector<LPOLESTR> names{name(e.name)};
    for (std::size_t i = 0; i < e.params.size(); ++i) {
      elements[i].tdesc = typeDesc(e.params[i].type, true, inner);
      elements[i].paramdesc.wParamFlags = PARAMFLAG_FIN | PARAMFLAG_FOUT;
      names.push_back(name(e.params[i].name));
    }
    FUNCDESC f{};
    f.funckind = FUNC_DISPATCH;
    f.elemdescFunc.tdesc.vt = VT_VOID;
    addFunction(events_, index, e.dispid, f, elements, names);
  }

  // Adds function index of info, called as a method; names holds its own name, then its
  // parameters'.
  void addFunction(ICreateTypeInfo* info, UINT index, DISPID id, FUNCDESC f, std::vector<ELEMDESC>& elements,
                   std::vector<LPOLESTR>& names) {
    const std::string what = ta::toUtf8(std::u16string(names[0], names[0] + wcslen(names[0])));
    f.memid = id;
    f.invkind = INVOKE_FUNC;
    f.callconv = CC_STDCALL;
    f.cParams = static_cast<SHORT>(elements.size());
    f.lprgelemdescParam = elements.data();
    check(info->AddFuncDesc(index, &f), "AddFuncDesc " + what);
    check(info->SetFuncAndParamNames(index, names.data(), static_cast<UINT>(names.size())),
          "SetFuncAndParamNames " + what);
  }

  void writeEnum(const ta::EnumDesc& e, ICreateTypeInfo* info) {
    for (UINT i = 0; i < e.members.size(); ++i) {
      VARIANT value;
      VariantInit(&value);
      value.vt = VT_I4;
      value.lVal = e.members[i].second;
      VARDESC v{};
      v.memid = MEMBERID_NIL;
      v.varkind = VAR_CONST;
      v.lpvarValue = &value;
      v.elemdescVar.tdesc.vt = VT_I4;
      check(info->AddVarDesc(i, &v), "AddVarDesc " + std::string(e.members[i].first));
      check(info->SetVarName(i, name(e.members[i].first)), "SetVarName");
    }
  }

  // Each field lies where Win32 puts it: at the next offset its own size aligns to.
  void writeRecord(const ta::RecordDesc& r, ICreateTypeInfo* info) {
    check(info->SetAlignment(4), "SetAlignment");
    unsigned offset = 0;
    for (UINT i = 0; i < r.fields.size(); ++i) {
      const VARTYPE type = static_cast<VARTYPE>(ta::varTypeOf(r.fields[i].type));
      const unsigned size = type == VT_I4 ? 4 : type == VT_I2 ? 2 : 1;
      offset = (offset + size - 1) / size * size;
      VARDESC v{};
      v.memid = MEMBERID_NIL;
      v.varkind = VAR_PERINSTANCE;
      v.oInst = offset;
      offset += size;
      v.elemdescVar.tdesc.vt = type;
      check(info->AddVarDesc(i, &v), "AddVarDesc " + std::string(r.fields[i].name));
      check(info->SetVarName(i, name(r.fields[i].name)), "SetVarName");
    }
    recordSizes_.push_back((offset + 3) / 4 * 4);
  }

  const ta::TypeLibraryDesc& desc_;
  unsigned pointerSize_;
  std::filesystem::path file_;
  std::deque<std::wstring> names_;  // ICreateTypeInfo copies names; they only have to outlive each call
  Released<ICreateTypeLib2> lib_;
  Released<ITypeInfo> dispatch_;
  std::vector<ICreateTypeInfo*> infos_;
  std::vector<std::pair<std::string_view, ICreateTypeInfo*>> enums_;
  ICreateTypeInfo* dual_ = nullptr;
  ICreateTypeInfo* events_ = nullptr;
  ICreateTypeInfo* current_ = nullptr;  // the type that references an enum
  std::vector<std::uint32_t> recordSizes_;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: tovport-typelibgen DIR\n");
    return 2;
  }
  try {
    const std::filesystem::path dir = argv[1];
    for (auto [kind, folder] : {std::pair{SYS_WIN32, "win32"}, {SYS_WIN64, "win64"}}) {
      std::filesystem::create_directories(dir / folder);
      LibraryWriter(tov::typeLibrary(), kind, dir / folder / "tovport.tlb").write();
    }
    std::ofstream header(dir / "tovport_com.h", std::ios::binary);
    header << ta::generateHeader(tov::typeLibrary());
    if (!header.flush()) throw std::runtime_error("cannot write " + (dir / "tovport_com.h").string());
  } catch (const std::exception& e) {
    std::fprintf(stderr, "tovport-typelibgen: %s\n", e.what());
    return 1;
  }
  return 0;
}
