// Whole discovery runs over the registries of realistic PCs.
#include <tovport/component/tovcomprtv3.h>
#include "discovery/discovery_test_support.h"
#include "support/runtime_errors.h"

namespace tov::discovery::test {
namespace {

using DiscoveryFixtures = DiscoveryTest;

TEST_F(DiscoveryFixtures, EveryPortOfEachPC) {
  struct Case {
    const char* file;
    std::vector<const char*> versions;
    Kinds expected;
  };
  const Case cases[] = {
      {"nt_mixed.reg", {"2000", "xp", "xp-sp2"},
       only({{1, cptSerial}, {2, cptSerial}, {3, cptSerial}, {4, cptUSB}, {5, cptBluetooth}, {6, cptIrDa},
             {7, cptUnknown}, {9, cptUSBPassive}, {10, cptBluetooth}, {11, cptBluetooth}, {12, cptIrDa},
             {13, cptUSB}})},
      {"xp_sp2_microsoft.reg", {"xp-sp2"},
       only({{1, cptSerial}, {4, cptBluetooth}, {5, cptBTSerialIn}, {6, cptBTDialUp}, {8, cptBTDialUp},
             {10, cptBluetooth}, {12, cptUnknown}})},
      {"xp_sp2_microsoft.reg", {"xp"},
       only({{1, cptSerial}, {4, cptUnknown}, {5, cptUnknown}, {6, cptUnknown}, {8, cptBluetooth}, {9, cptBluetooth},
             {10, cptBluetooth}, {11, cptUnknown}, {12, cptUnknown}})},
      {"win9x.reg", {"9x"},
       only({{1, cptSerial}, {2, cptSerial}, {3, cptUnknown}, {4, cptIrDa}, {5, cptUSB}, {6, cptBluetooth},
             {8, cptBluetooth}, {9, cptBluetooth}, {13, cptUSB}, {16, cptSerial}})},
  };
  for (const Case& k : cases) {
    platform::Registry pc;
    platform::ScopedRegistry installedPc{pc};
    platform::loadRegFile(pc, std::string(TOVPORT_FIXTURES) + "/" + k.file);
    for (const char* version : k.versions) {
      SCOPED_TRACE(std::string(k.file) + " on " + version);
      useOs(version);
      DiscoverPorts();
      EXPECT_EQ(kinds(), k.expected);
    }
  }
}

// The run stops at the name, leaving what it marked so far and the table unfilled, so the next
// call runs (and fails) again.
TEST_F(DiscoveryFixtures, AnUnconvertiblePortNameFailsGetComPortTypeWithError13) {
  loadFixture("comx.reg");
  auto component = tovComPrtv3::create();
  for (auto version : {"xp-sp2", "9x"}) {
    SCOPED_TRACE(version);
    useOs(version);
    for (int call = 0; call < 2; ++call) {
      EXPECT_EQ(testing::errorNumberOf([&] { component->GetComPortType(1); }), 13);
      EXPECT_FALSE(PortTableFilled());
      EXPECT_EQ(kind(1), cptUnknown);
    }
  }
}

}  // namespace
}  // namespace tov::discovery::test
