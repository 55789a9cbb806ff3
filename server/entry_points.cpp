// The in-process server module: the four entry points through which a host (or the system)
// registers the component and creates its objects, and the only symbols the module exports.
// On Linux the work is done by libtovport.so, which the host shares, so a host that loads this
// module configures and pumps the same platform the component uses.
#include "component/server.h"

#define TOVPORT_SERVER_ENTRY extern "C" __attribute__((visibility("default")))

using tov::automation::GUID;
using tov::automation::HRESULT;

TOVPORT_SERVER_ENTRY HRESULT DllRegisterServer();
TOVPORT_SERVER_ENTRY HRESULT DllUnregisterServer();
TOVPORT_SERVER_ENTRY HRESULT DllGetClassObject(const GUID* clsid, const GUID* iid, void** out);
TOVPORT_SERVER_ENTRY HRESULT DllCanUnloadNow();

HRESULT DllRegisterServer() { return tov::server::registerServer(reinterpret_cast<const void*>(&DllRegisterServer)); }
HRESULT DllUnregisterServer() { return tov::server::unregisterServer(); }
HRESULT DllGetClassObject(const GUID* clsid, const GUID* iid, void** out) {
  return tov::server::getClassObject(clsid, iid, out);
}
HRESULT DllCanUnloadNow() { return tov::server::canUnloadNow(); }
