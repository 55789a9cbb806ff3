// What the seams give on a POSIX system while nothing is installed (Windows: the system's own,
// system_backends_win32_test.cpp).
#include <gtest/gtest.h>

#include "platform/last_error.h"
#include <tovport/platform/os_version.h>
#include <tovport/platform/serial.h>

namespace tov::platform {
namespace {

TEST(SystemBackends, WithNothingInstalledThereAreNoDevicesAndTheSystemIsWindowsXpSp2) {
  SetLastError(0);
  EXPECT_EQ(CreateFileA("COM1", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, 0), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  OSVERSIONINFOA info{};
  info.dwOSVersionInfoSize = sizeof info;
  ASSERT_EQ(GetVersionExA(&info), TRUE);
  EXPECT_EQ(OsVersion({info.dwPlatformId, info.dwMajorVersion, info.dwMinorVersion, info.dwBuildNumber,
                       info.szCSDVersion}),
            *parseOsVersion("xp-sp2"));
}

}  // namespace
}  // namespace tov::platform
