#include "discovery/os_info.h"

#include <gtest/gtest.h>

#include "platform/os_version.h"

namespace tov::discovery {
namespace {

struct OsCase {
  const char* version;  // a preset or P.MAJOR.MINOR:CSD
  std::int32_t platform;
  bool xpServicePack2;
};

TEST(OsInfoVersions, PlatformAndServicePack2) {
  const OsCase cases[] = {{"xp-sp2", 2, true},
                          {"2.5.2:Service Pack 2", 2, true},
                          {"2.5.1:Service Pack 2, v.2180", 2, true},
                          {"xp-sp3", 2, false},
                          {"xp", 2, false},
                          {"2.5.1:service pack 2", 2, false},
                          {"2.5.0:Service Pack 2", 2, false},
                          {"2.6.0:Service Pack 2", 2, false},
                          {"nt4", 2, false},
                          {"9x", 1, false},
                          {"1.5.1:Service Pack 2", 1, false},
                          {"0.3.1:", 0, false},
                          {"3.5.1:Service Pack 2", 2, false}};
  for (const OsCase& c : cases) {
    SCOPED_TRACE(c.version);
    platform::ScopedOsVersion os(*platform::parseOsVersion(c.version));
    EXPECT_EQ(OSPlatform(), c.platform);
    EXPECT_EQ(IsXPServicePack2(), c.xpServicePack2);
  }
}

TEST(OsInfoFailure, AFailedVersionQueryReadsAsPlatformZero) {
  platform::ScopedOsVersion os(*platform::parseOsVersion("xp-sp2"));
  platform::setOsVersionUnavailable(true);
  const std::int32_t platformId = OSPlatform();
  const bool sp2 = IsXPServicePack2();
  platform::setOsVersionUnavailable(false);
  EXPECT_EQ(platformId, 0);
  EXPECT_FALSE(sp2);
}

}  // namespace
}  // namespace tov::discovery
