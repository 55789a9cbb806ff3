#include "platform/os_version.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/last_error.h"

namespace tov::platform {
namespace {

TEST(OsVersionPresets, EachPresetNamesItsSystem) {
  const std::pair<const char*, OsVersion> cases[] = {
      {"9x", {VER_PLATFORM_WIN32_WINDOWS, 4, 10, 1998, ""}},
      {"nt4", {VER_PLATFORM_WIN32_NT, 4, 0, 1381, "Service Pack 6"}},
      {"2000", {VER_PLATFORM_WIN32_NT, 5, 0, 2195, "Service Pack 4"}},
      {"xp", {VER_PLATFORM_WIN32_NT, 5, 1, 2600, "Service Pack 1"}},
      {"XP-SP2", {VER_PLATFORM_WIN32_NT, 5, 1, 2600, "Service Pack 2"}},
      {"xp-sp3", {VER_PLATFORM_WIN32_NT, 5, 1, 2600, "Service Pack 3"}},
      {"Vista", {VER_PLATFORM_WIN32_NT, 6, 0, 6000, ""}},
  };
  for (const auto& [name, expected] : cases) {
    EXPECT_EQ(parseOsVersion(name), expected) << name;
  }
}

TEST(OsVersionPresets, HelpTextListsOnlyPresets) {
  std::string_view names = osPresetNames();
  int count = 0;
  while (!names.empty()) {
    const std::size_t comma = names.find(", ");
    EXPECT_TRUE(parseOsVersion(names.substr(0, comma))) << names.substr(0, comma);
    ++count;
    names = comma == std::string_view::npos ? std::string_view() : names.substr(comma + 2);
  }
  EXPECT_EQ(count, 7);
}

TEST(OsVersionPresets, DefaultIsXpWithServicePack2) { EXPECT_EQ(OsVersion{}, parseOsVersion("xp-sp2")); }

TEST(OsVersionRaw, PlatformMajorMinorAndServicePackText) {
  EXPECT_EQ(parseOsVersion("2.5.1:Service Pack 2"), (OsVersion{2, 5, 1, 0, "Service Pack 2"}));
  EXPECT_EQ(parseOsVersion("3.4.20"), (OsVersion{3, 4, 20, 0, ""}));
  EXPECT_EQ(parseOsVersion("0.0.0:a:b"), (OsVersion{0, 0, 0, 0, "a:b"}));
  EXPECT_EQ(parseOsVersion("2.5.2:"), (OsVersion{2, 5, 2, 0, ""}));
  EXPECT_EQ(parseOsVersion("4294967295.5.1"), (OsVersion{4294967295u, 5, 1, 0, ""}));
  EXPECT_TRUE(parseOsVersion("2.5.1:" + std::string(127, 'x')));
}

TEST(OsVersionRaw, MalformedTextsAreRefused) {
  for (const char* bad :
       {"", "xp-sp4", "2", "2.5", "2.5.", ".5.1", "2..1", "2.5.1.0", "a.b.c", "-1.5.1", "+2.5.1", " 2.5.1",
        "2.5.1 ", "2.5.0x1", "4294967296.5.1", "00000000002.5.1", ":2.5.1"}) {
    EXPECT_FALSE(parseOsVersion(bad)) << bad;
  }
  EXPECT_FALSE(parseOsVersion("2.5.1:" + std::string(128, 'x')));
}

class OsVersionGetVersionEx : public ::testing::Test {
 protected:
  OSVERSIONINFOA info{};
  void SetUp() override {
    std::memset(&info, 0xCC, sizeof info);
    info.dwOSVersionInfoSize = sizeof info;
  }
};

TEST_F(OsVersionGetVersionEx, ReportsTheInstalledVersion) {
  ScopedOsVersion installed(OsVersion{VER_PLATFORM_WIN32_NT, 5, 2, 3790, "Service Pack 2"});
  ASSERT_EQ(GetVersionExA(&info), TRUE);
  EXPECT_EQ(info.dwPlatformId, VER_PLATFORM_WIN32_NT);
  EXPECT_EQ(info.dwMajorVersion, 5u);
  EXPECT_EQ(info.dwMinorVersion, 2u);
  EXPECT_EQ(info.dwBuildNumber, 3790u);
  EXPECT_STREQ(info.szCSDVersion, "Service Pack 2");
  for (std::size_t i = std::strlen("Service Pack 2"); i < sizeof info.szCSDVersion; ++i) {
    ASSERT_EQ(info.szCSDVersion[i], '\0') << i;
  }
}

TEST_F(OsVersionGetVersionEx, ScopedVersionPutsThePreviousBack) {
  const OsVersion before = currentOsVersion();
  {
    ScopedOsVersion installed(*parseOsVersion("9x"));
    EXPECT_EQ(currentOsVersion().platformId, VER_PLATFORM_WIN32_WINDOWS);
  }
  EXPECT_EQ(currentOsVersion(), before);
}

TEST_F(OsVersionGetVersionEx, RefusesOtherRecordSizes) {
  for (DWORD size : {DWORD{0}, DWORD{147}, DWORD{156}}) {
    info.dwOSVersionInfoSize = size;
    SetLastError(0);
    EXPECT_EQ(GetVersionExA(&info), FALSE);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  }
  EXPECT_EQ(GetVersionExA(nullptr), FALSE);
}

TEST_F(OsVersionGetVersionEx, FailsWhileMadeUnavailable) {
  setOsVersionUnavailable(true);
  SetLastError(0);
  const BOOL ok = GetVersionExA(&info);
  const DWORD error = GetLastError();
  setOsVersionUnavailable(false);
  EXPECT_EQ(ok, FALSE);
  EXPECT_EQ(error, ERROR_INVALID_FUNCTION);
  EXPECT_EQ(info.dwPlatformId, 0xCCCCCCCCu);  // untouched
  EXPECT_EQ(GetVersionExA(&info), TRUE);
}

}  // namespace
}  // namespace tov::platform
