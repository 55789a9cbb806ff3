// The type library as IDL text, written from the interface description.
#pragma once

#include <string>
#include <vector>

#include <tovport/automation/interface_model.h>

namespace tov::automation {

struct IdlMethod {
  std::string_view name;
  DISPID dispid;
  const std::vector<ParamDesc>* params;
  TypeDesc result;
};

struct TypeLibraryDesc {
  std::string_view name;
  int major;
  int minor;
  GUID libid;
  std::string_view className;
  GUID clsid;
  std::string_view interfaceName;
  GUID iid;
  std::string_view eventInterfaceName;
  GUID eventIid;
  std::vector<IdlMethod> methods;
  const std::vector<EventDesc>* events;
  std::vector<EnumDesc> enums;
  std::vector<RecordDesc> records;
};

// Midl: the library in its own order (interfaces, class, events, then enums and records).
// Widl: what widl compiles: enums and records ahead of the interfaces that use them (widl
// resolves names as it reads) neither version nor nonextensible on the event dispinterface, and no text
// default on a by-reference parameter (widl refuses these).
enum class IdlDialect { Midl, Widl };

std::string generateIdl(const TypeLibraryDesc& lib, IdlDialect dialect = IdlDialect::Midl);

}  // namespace tov::automation
