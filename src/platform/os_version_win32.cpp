// The running system's version (kernel32).
#include <tovport/platform/os_version.h>
#include "platform/system_backends.h"

// Last: windows.h macros would rewrite the platform headers.
#include <windows.h>

namespace tov::platform {

std::optional<OsVersion> systemOsVersion() {
  ::OSVERSIONINFOA info{};
  info.dwOSVersionInfoSize = sizeof info;
  if (::GetVersionExA(&info) == 0) return std::nullopt;
  return OsVersion{info.dwPlatformId, info.dwMajorVersion, info.dwMinorVersion, info.dwBuildNumber,
                   info.szCSDVersion};
}

}  // namespace tov::platform
