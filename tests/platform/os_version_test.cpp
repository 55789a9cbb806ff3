#include <tovport/platform/os_version.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#include "platform/last_error.h"

namespace tov::platform {
namespace {

TEST(OsVersionParse, PresetsAndTheRawForm) {
  const std::pair<std::string, OsVersion> cases[] = {
      {"9x", {VER_PLATFORM_WIN32_WINDOWS, 4, 10, 1998, ""}},
      {"xp", {VER_PLATFORM_WIN32_NT, 5, 1, 2600, "Service Pack 1"}},
      {"XP-SP2", {}},  // the default
      {"Vista", {VER_PLATFORM_WIN32_NT, 6, 0, 6000, ""}},
      {"2.5.1:Service Pack 2", {2, 5, 1, 0, "Service Pack 2"}},
      {"3.4.20", {3, 4, 20, 0, ""}},
      {"0.0.0:a:b", {0, 0, 0, 0, "a:b"}},
      {"2.5.2:", {2, 5, 2, 0, ""}},
      {"4294967295.5.1", {4294967295u, 5, 1, 0, ""}},
      {"2.5.1:" + std::string(127, 'x'), {2, 5, 1, 0, std::string(127, 'x')}},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(parseOsVersion(text), expected) << text;
  EXPECT_EQ(osPresetNames(), "9x, nt4, 2000, xp, xp-sp2, xp-sp3, vista");
}

TEST(OsVersionParse, MalformedTextsAreRefused) {
  const std::string bad[] = {"",       "xp-sp4",         "2",      "2.5",     "2.5.",           ".5.1",
                             "2..1",   "2.5.1.0",        "a.b.c",  "-1.5.1",  "+2.5.1",         " 2.5.1",
                             "2.5.1 ", "2.5.0x1",        ":2.5.1", "4294967296.5.1", "00000000002.5.1",
                             "2.5.1:" + std::string(128, 'x')};
  for (const std::string& text : bad) EXPECT_FALSE(parseOsVersion(text)) << text;
}

TEST(OsVersionGetVersionEx, ReportsTheInstalledVersionOrFails) {
  const OsVersion before = currentOsVersion();
  OSVERSIONINFOA info;
  std::memset(&info, 0xCC, sizeof info);
  for (DWORD size : {DWORD{0}, DWORD{147}, DWORD{156}}) {
    info.dwOSVersionInfoSize = size;
    SetLastError(0);
    EXPECT_EQ(GetVersionExA(&info), FALSE);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  }
  EXPECT_EQ(GetVersionExA(nullptr), FALSE);
  info.dwOSVersionInfoSize = sizeof info;
  setOsVersionUnavailable(true);
  const BOOL unavailable = GetVersionExA(&info);
  const DWORD error = GetLastError();
  setOsVersionUnavailable(false);
  EXPECT_EQ(unavailable, FALSE);
  EXPECT_EQ(error, ERROR_INVALID_FUNCTION);
  EXPECT_EQ(info.dwPlatformId, 0xCCCCCCCCu);  // untouched
  {
    ScopedOsVersion installed(OsVersion{VER_PLATFORM_WIN32_NT, 5, 2, 3790, "Service Pack 2"});
    ASSERT_EQ(GetVersionExA(&info), TRUE);
  }
  EXPECT_EQ(currentOsVersion(), before);
  EXPECT_EQ((std::array<DWORD, 4>{info.dwPlatformId, info.dwMajorVersion, info.dwMinorVersion, info.dwBuildNumber}),
            (std::array<DWORD, 4>{VER_PLATFORM_WIN32_NT, 5, 2, 3790}));
  EXPECT_EQ(std::string(info.szCSDVersion, sizeof info.szCSDVersion),
            "Service Pack 2" + std::string(sizeof info.szCSDVersion - 14, '\0'));  // NUL-filled
}

}  // namespace
}  // namespace tov::platform
