// The calling thread's last system error code, as GetLastError reports it.
#pragma once

#include <tovport/platform/win32.h>

namespace tov::platform {

DWORD GetLastError();
void SetLastError(DWORD code);

}  // namespace tov::platform
