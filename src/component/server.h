// The in-process server: the four entry points a host (or the system) uses to register the
// component and to create its objects. These are the only symbols libtovport.so exports.
#pragma once

#include "automation/com.h"

#define TOVPORT_EXPORT extern "C" __attribute__((visibility("default")))

TOVPORT_EXPORT tov::automation::HRESULT DllRegisterServer();
TOVPORT_EXPORT tov::automation::HRESULT DllUnregisterServer();
TOVPORT_EXPORT tov::automation::HRESULT DllGetClassObject(const tov::automation::GUID* clsid,
                                                          const tov::automation::GUID* iid, void** out);
TOVPORT_EXPORT tov::automation::HRESULT DllCanUnloadNow();
