// The in-process server's work behind its four entry points (DllRegisterServer,
// DllUnregisterServer, DllGetClassObject, DllCanUnloadNow). The entry points themselves live in
// the server module (server/), which exports nothing else; the work lives here, in the library,
// so that the module and its host share one platform.
#pragma once

#include <tovport/automation/com.h>

namespace tov::server {

// Registers the class, its type library and interfaces, naming the module that holds
// moduleAddress as the in-process server.
automation::HRESULT registerServer(const void* moduleAddress);
automation::HRESULT unregisterServer();
automation::HRESULT getClassObject(const automation::GUID* clsid, const automation::GUID* iid, void** out);
automation::HRESULT canUnloadNow();

}  // namespace tov::server
