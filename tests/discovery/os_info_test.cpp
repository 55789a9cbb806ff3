#include "discovery/os_info.h"

#include <gtest/gtest.h>

#include <tovport/platform/os_version.h>

namespace tov::discovery {
namespace {

// Service Pack 2: platform NT, version 5 but not 5.0, and "Service Pack 2" (case and all) in the
// service-pack text. Platform ids other than 0 and 1 read as NT; a failed query reads as platform 0.
TEST(OsInfoVersions, PlatformAndServicePack2) {
  struct Case {
    std::string_view version;  // a preset, P.MAJOR.MINOR:CSD, or "unreadable" (XP SP2 failing the query)
    std::int32_t platform;
    bool xpServicePack2;
  };
  const Case cases[] = {
      {"xp-sp2", 2, true},  {"2.5.2:Service Pack 2", 2, true},  {"2.5.1:Service Pack 2, v.2180", 2, true},
      {"xp-sp3", 2, false}, {"2.5.1:service pack 2", 2, false}, {"2.5.0:Service Pack 2", 2, false},
      {"9x", 1, false},     {"2.6.0:Service Pack 2", 2, false}, {"1.5.1:Service Pack 2", 1, false},
      {"0.3.1:", 0, false}, {"3.5.1:Service Pack 2", 2, false}, {"unreadable", 0, false}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.version);
    platform::ScopedOsVersion os(*platform::parseOsVersion(c.version == "unreadable" ? "xp-sp2" : c.version));
    platform::setOsVersionUnavailable(c.version == "unreadable");
    const std::int32_t platformId = OSPlatform();
    const bool sp2 = IsXPServicePack2();
    platform::setOsVersionUnavailable(false);
    EXPECT_EQ(platformId, c.platform);
    EXPECT_EQ(sp2, c.xpServicePack2);
  }
}

}  // namespace
}  // namespace tov::discovery
