#include "automation/idl.h"

#include <cstdio>
#include <sstream>

namespace tov::automation {
namespace {

std::string uuid(const GUID& g) {
  std::string s = toString(g);
  return s.substr(1, s.size() - 2);
}

// The C spelling of a type, the same in IDL and in C++.
std::string typeName(const TypeDesc& t) {
  switch (t.kind) {
    case TypeKind::Void: return "void";
    case TypeKind::I2: return "short";
    case TypeKind::I4: return "long";
    case TypeKind::UI1: return "unsigned char";
    case TypeKind::R8: return "double";
    case TypeKind::Bool: return "VARIANT_BOOL";
    case TypeKind::BStr: return "BSTR";
    case TypeKind::Date: return "DATE";
    case TypeKind::Variant: return "VARIANT";
    case TypeKind::Dispatch: return "IDispatch*";
    case TypeKind::Enum: return std::string(t.enumName);
  }
  return "void";
}

std::string defaultText(const Variant& v) {
  if (auto b = v.get<VariantBool>()) return isTrue(*b) ? "-1" : "0";
  if (auto s = v.get<BStr>()) return "\"" + toUtf8(*s) + "\"";
  return toUtf8(toText(v));
}

std::string hex(DISPID id) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%08x", static_cast<unsigned>(id));
  return buf;
}

std::string version(const TypeLibraryDesc& lib) {
  return "version(" + std::to_string(lib.major) + "." + std::to_string(lib.minor) + ")";
}

// A method's parameters in IDL, or (attributes false) in C++, the retval last.
std::string parameters(const std::vector<ParamDesc>& params, const TypeDesc& result, bool attributes) {
  std::string out;
  for (const auto& p : params) {
    if (!out.empty()) out += ", ";
    if (attributes) {
      out += p.byRef ? "[in, out" : "[in";
      if (p.optional()) out += ", optional, defaultvalue(" + defaultText(*p.defaultValue) + ")";
      out += "] ";
    }
    out += typeName(p.type) + (p.byRef ? "* " : " ") + std::string(p.name);
  }
  if (result.kind != TypeKind::Void) {
    if (!out.empty()) out += ", ";
    out += (attributes ? "[out, retval] " : "") + typeName(result) + "* " + std::string(retvalName(result));
  }
  return out;
}

void writeIdlTypes(std::ostringstream& out, const TypeLibraryDesc& lib) {
  for (const auto& e : lib.enums) {
    out << "    typedef [uuid(" << uuid(e.guid) << "), " << version(lib) << "]\n    enum {\n";
    for (std::size_t i = 0; i < e.members.size(); ++i)
      out << "        " << e.members[i].first << " = " << e.members[i].second << (i + 1 < e.members.size() ? "," : "")
          << "\n";
    out << "    } " << e.name << ";\n\n";
  }
  for (const auto& r : lib.records) {
    out << "    typedef [uuid(" << uuid(r.guid) << "), " << version(lib) << "]\n    struct {\n";
    for (const auto& f : r.fields) out << "        " << typeName(f.type) << " " << f.name << ";\n";
    out << "    } " << r.name << ";\n\n";
  }
}

std::string cppGuid(const GUID& g) {
  char buf[128];
  std::snprintf(buf, sizeof buf,
                "{0x%08x, 0x%04x, 0x%04x, {0x%02x, 0x%02x, 0x%02x, 0x%02x, 0x%02x, 0x%02x, 0x%02x, 0x%02x}}",
                static_cast<unsigned>(g.Data1), g.Data2, g.Data3, g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3],
                g.Data4[4], g.Data4[5], g.Data4[6], g.Data4[7]);
  return buf;
}

}  // namespace

std::string_view retvalName(const TypeDesc& result) { return result.kind == TypeKind::Bool ? "pbResult" : "pResult"; }

std::string generateIdl(const TypeLibraryDesc& lib) {
  std::ostringstream out;
  out << "// Generated from the interface table of " << lib.name << "; do not edit.\n"
      << "[\n  uuid(" << uuid(lib.libid) << "),\n  " << version(lib) << "\n]\n"
      << "library " << lib.name << "\n{\n"
      << "    importlib(\"stdole2.tlb\");\n\n";
  writeIdlTypes(out, lib);
  out << "    interface " << lib.interfaceName << ";\n    dispinterface " << lib.eventInterfaceName << ";\n\n";
  out << "    [\n      odl,\n      uuid(" << uuid(lib.iid) << "),\n      " << version(lib)
      << ",\n      hidden,\n      dual,\n      nonextensible,\n      oleautomation\n    ]\n"
      << "    interface " << lib.interfaceName << " : IDispatch {\n";
  for (const auto& m : lib.methods)
    out << "        [id(" << hex(m.dispid) << ")]\n        HRESULT " << m.name << "("
        << parameters(*m.params, m.result, true) << ");\n";
  out << "    };\n\n";
  out << "    [\n      uuid(" << uuid(lib.clsid) << "),\n      " << version(lib) << "\n    ]\n    coclass "
      << lib.className << " {\n        [default] interface " << lib.interfaceName
      << ";\n        [default, source] dispinterface " << lib.eventInterfaceName << ";\n    };\n\n";
  out << "    [\n      uuid(" << uuid(lib.eventIid) << "),\n      " << version(lib)
      << ",\n      hidden,\n      nonextensible\n    ]\n    dispinterface " << lib.eventInterfaceName
      << " {\n        properties:\n        methods:\n";
  for (const auto& e : *lib.events) {
    std::string params;
    for (const auto& p : e.params) {
      if (!params.empty()) params += ", ";
      params += "[in, out] " + typeName(p.type) + "* " + std::string(p.name);
    }
    out << "            [id(" << hex(e.dispid) << ")]\n            void " << e.name << "(" << params << ");\n";
  }
  out << "    };\n};\n";
  return out.str();
}

std::string generateHeader(const TypeLibraryDesc& lib) {
  std::ostringstream out;
  out << "// Generated from the interface table of " << lib.name << "; do not edit.\n"
      << "// The type library " << lib.name << " " << lib.major << "." << lib.minor
      << " for C++ hosts on Windows: its identifiers, enums and records,\n// and the dual interface "
      << lib.interfaceName << ", whose virtual functions are its function table in interface order.\n"
      << "#pragma once\n\n#include <oaidl.h>\n\nnamespace " << lib.name << " {\n\n";
  out << "inline constexpr GUID LIBID_" << lib.name << " = " << cppGuid(lib.libid) << ";\n"
      << "inline constexpr GUID CLSID_" << lib.className << " = " << cppGuid(lib.clsid) << ";\n"
      << "inline constexpr GUID IID_" << lib.interfaceName << " = " << cppGuid(lib.iid) << ";\n"
      << "inline constexpr GUID DIID_" << lib.eventInterfaceName << " = " << cppGuid(lib.eventIid) << ";\n\n";
  for (const auto& e : lib.enums) {
    out << "enum " << e.name << " {\n";
    for (const auto& [name, value] : e.members) out << "  " << name << " = " << value << ",\n";
    out << "};\n\n";
  }
  for (const auto& r : lib.records) {
    out << "struct " << r.name << " {\n";
    for (const auto& f : r.fields) out << "  " << typeName(f.type) << " " << f.name << ";\n";
    out << "};\n\n";
  }
  out << "// Events reach a sink's IDispatch::Invoke (DIID_" << lib.eventInterfaceName
      << "), every argument by reference:\n";
  for (const auto& e : *lib.events) {
    out << "//   " << e.dispid << " " << e.name << "(";
    for (std::size_t i = 0; i < e.params.size(); ++i)
      out << (i ? ", " : "") << typeName(e.params[i].type) << " " << e.params[i].name;
    out << ")\n";
  }
  out << "struct " << lib.interfaceName << " : public IDispatch {\n";
  for (const auto& m : lib.methods)
    out << "  virtual HRESULT STDMETHODCALLTYPE " << m.name << "(" << parameters(*m.params, m.result, false)
        << ") = 0;\n";
  out << "};\n\n}  // namespace " << lib.name << "\n";
  return out.str();
}

}  // namespace tov::automation
