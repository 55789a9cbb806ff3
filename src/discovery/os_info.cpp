#include "discovery/os_info.h"

#include <string_view>

#include <tovport/platform/os_version.h>

namespace tov::discovery {
namespace {

using namespace platform;

// The record as the system fills it; zeroed, so a failed call leaves every field but the size at 0.
OSVERSIONINFOA versionInfo() {
  OSVERSIONINFOA info{};
  info.dwOSVersionInfoSize = sizeof info;
  GetVersionExA(&info);
  return info;
}

}  // namespace

std::int32_t OSPlatform() {
  const DWORD id = versionInfo().dwPlatformId;
  return id == VER_PLATFORM_WIN32s ? 0 : id == VER_PLATFORM_WIN32_WINDOWS ? 1 : 2;
}

bool IsXPServicePack2() {
  const OSVERSIONINFOA info = versionInfo();
  if (info.dwPlatformId != VER_PLATFORM_WIN32_NT || info.dwMajorVersion != 5 || info.dwMinorVersion == 0) return false;
  // The whole fixed-size field is searched, as the text it holds is not trimmed first.
  const std::string_view csd(info.szCSDVersion, sizeof info.szCSDVersion);
  return csd.find("Service Pack 2") != std::string_view::npos;
}

}  // namespace tov::discovery
