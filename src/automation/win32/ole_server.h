// A component object served to OLE hosts: the real IDispatch (calls by name with VARIANT, BSTR,
// SAFEARRAY and by-reference arguments, errors in EXCEPINFO), the dual interface's function table
// for early-bound hosts (errors as HRESULT 0x800A0000 + number with the error object set), the
// connection point of its event interface delivering events to a host's IDispatch sink,
// IProvideClassInfo(2) for hosts that find the event interface in the type library, and the class
// factory. Calls through the function table and by name take one path: their arguments change
// representation here and go on to the runtime's own object.
//
// Include after every header of the component (see ole_values.h).
#pragma once

#include <functional>
#include <vector>

#include <tovport/automation/com.h>
#include <tovport/automation/idispatch.h>
#include <tovport/automation/interface_model.h>
#include "automation/win32/ole_values.h"

#include <ocidl.h>

namespace tov::automation::ole {

// What a served object tells hosts about its class; typeLibrary may be null (no type
// information then).
struct ClassInfo {
  GUID clsid;
  GUID iid;        // the default interface, described in the type library
  GUID eventIid;   // the event interface, offered as a connection point
  ITypeLib* typeLibrary = nullptr;
  // The default interface's own functions in interface order, after IDispatch's; none: the
  // interface is a dispatch interface, served as IDispatch.
  std::vector<FunctionTableEntry> functionTable;
};

// The object wrapping inner, with one reference for the caller (released through Release()).
::IDispatch* serve(Ref<IDispatch> inner, const ClassInfo& info);

// A class factory whose CreateInstance calls create (which returns a served object).
::IClassFactory* classFactory(std::function<::IDispatch*()> create);

}  // namespace tov::automation::ole
