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

std::string generateIdl(const TypeLibraryDesc& lib);

}  // namespace tov::automation
