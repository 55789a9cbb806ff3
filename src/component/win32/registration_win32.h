// Registration in the system registry for a width, in that width's view (KEY_WOW64_32KEY or
// KEY_WOW64_64KEY), so a server of either width registers and unregisters beside the other. The
// server's entry points use their own width; a 64-bit program can act for the 32-bit server.
#pragma once

#include <string>

#include <tovport/automation/com.h>
#include "component/registration.h"

namespace tov::server {

automation::HRESULT registerWidth(const std::string& modulePath, Width width);
automation::HRESULT unregisterWidth(Width width);

}  // namespace tov::server
