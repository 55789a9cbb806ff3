// The type library as text, written from the interface description: IDL for the library, and the
// C++ header through which early-bound Windows hosts call the dual interface's function table.
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

// Everything the library holds, in the library's order: the dual interface, the class, the event
// interface, then the enums and the records.
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

// The name of the [out, retval] parameter of a method returning result.
std::string_view retvalName(const TypeDesc& result);

// MIDL source of the library. The enums and records come first: IDL declares a type before the
// interfaces that use it, so a compiler lists them ahead of the interfaces.
std::string generateIdl(const TypeLibraryDesc& lib);

// A C++ header for Windows hosts (over <oaidl.h>): the library's identifiers, enums and records and
// the dual interface as a class whose virtual functions are its function table, all in namespace
// lib.name.
std::string generateHeader(const TypeLibraryDesc& lib);

}  // namespace tov::automation
