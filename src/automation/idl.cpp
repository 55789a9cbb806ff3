#include "automation/idl.h"

#include <cstdio>
#include <sstream>

namespace tov::automation {
namespace {

std::string uuid(const GUID& g) {
  std::string s = toString(g);
  return s.substr(1, s.size() - 2);
}

std::string idlType(const TypeDesc& t) {
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

std::string parameters(const std::vector<ParamDesc>& params, const TypeDesc& result, IdlDialect dialect) {
  std::string out;
  for (const auto& p : params) {
    if (!out.empty()) out += ", ";
    out += "[in";
    if (p.byRef) out += ", out";
    // widl takes no text default on a by-reference parameter; the server supplies it all the same.
    const bool widlRefusesDefault = dialect == IdlDialect::Widl && p.byRef && p.type.kind == TypeKind::BStr;
    if (p.optional() && widlRefusesDefault) out += ", optional";
    else if (p.optional()) out += ", optional, defaultvalue(" + defaultText(*p.defaultValue) + ")";
    out += "] " + idlType(p.type) + (p.byRef ? "* " : " ") + std::string(p.name);
  }
  if (result.kind != TypeKind::Void) {
    if (!out.empty()) out += ", ";
    out += "[out, retval] " + idlType(result) + "* ";
    out += result.kind == TypeKind::Bool ? "pbResult" : "pResult";
  }
  return out;
}

std::string hex(DISPID id) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%08x", static_cast<unsigned>(id));
  return buf;
}

void writeTypes(std::ostringstream& out, const TypeLibraryDesc& lib) {
  for (const auto& e : lib.enums) {
    out << "    typedef [uuid(" << uuid(e.guid) << "), version(" << lib.major << "." << lib.minor << ")]\n    enum {\n";
    for (std::size_t i = 0; i < e.members.size(); ++i)
      out << "        " << e.members[i].first << " = " << e.members[i].second << (i + 1 < e.members.size() ? "," : "")
          << "\n";
    out << "    } " << e.name << ";\n\n";
  }
  for (const auto& r : lib.records) {
    out << "    typedef [uuid(" << uuid(r.guid) << "), version(" << lib.major << "." << lib.minor << ")]\n    struct tag"
        << r.name << " {\n";
    for (const auto& f : r.fields) out << "        " << f.idlType << " " << f.name << ";\n";
    out << "    } " << r.name << ";\n\n";
  }
}

}  // namespace

std::string generateIdl(const TypeLibraryDesc& lib, IdlDialect dialect) {
  std::ostringstream out;
  out << "// Generated from the interface table of " << lib.name << "; do not edit.\n"
      << "[\n  uuid(" << uuid(lib.libid) << "),\n  version(" << lib.major << "." << lib.minor << ")\n]\n"
      << "library " << lib.name << "\n{\n"
      << "    importlib(\"stdole2.tlb\");\n\n";
  if (dialect == IdlDialect::Widl) writeTypes(out, lib);
  out << "    interface " << lib.interfaceName << ";\n    dispinterface " << lib.eventInterfaceName << ";\n\n";
  out << "    [\n      odl,\n      uuid(" << uuid(lib.iid) << "),\n      version(" << lib.major << "." << lib.minor
      << "),\n      hidden,\n      dual,\n      nonextensible,\n      oleautomation\n    ]\n"
      << "    interface " << lib.interfaceName << " : IDispatch {\n";
  for (const auto& m : lib.methods) {
    out << "        [id(" << hex(m.dispid) << ")]\n        HRESULT " << m.name << "(" << parameters(*m.params, m.result, dialect)
        << ");\n";
  }
  out << "    };\n\n";
  out << "    [\n      uuid(" << uuid(lib.clsid) << "),\n      version(" << lib.major << "." << lib.minor
      << ")\n    ]\n    coclass " << lib.className << " {\n        [default] interface " << lib.interfaceName
      << ";\n        [default, source] dispinterface " << lib.eventInterfaceName << ";\n    };\n\n";
  out << "    [\n      uuid(" << uuid(lib.eventIid) << "),\n";
  if (dialect == IdlDialect::Midl) out << "      version(" << lib.major << "." << lib.minor << "),\n";
  out << (dialect == IdlDialect::Midl ? "      hidden,\n      nonextensible\n" : "      hidden\n")
      << "    ]\n    dispinterface " << lib.eventInterfaceName
      << " {\n        properties:\n        methods:\n";
  for (const auto& e : *lib.events) {
    std::string params;
    for (const auto& p : e.params) {
      if (!params.empty()) params += ", ";
      params += "[in, out] " + idlType(p.type) + "* " + std::string(p.name);
    }
    out << "            [id(" << hex(e.dispid) << ")]\n            void " << e.name << "(" << params << ");\n";
  }
  out << "    };\n\n";
  if (dialect == IdlDialect::Midl) writeTypes(out, lib);
  out << "};\n";
  return out.str();
}

}  // namespace tov::automation
