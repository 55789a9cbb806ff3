// Whole discovery runs over the registries of realistic PCs.
#include "automation/runtime_error.h"
#include "discovery/discovery_test_support.h"

namespace tov::discovery::test {
namespace {

using DiscoveryFixtures = DiscoveryTest;

TEST_F(DiscoveryFixtures, NTMixedIsTheSameOnEveryNTRelease) {
  loadFixture("nt_mixed.reg");
  const Kinds expected = only({{1, cptSerial},
                               {2, cptSerial},
                               {3, cptSerial},
                               {4, cptUSB},
                               {5, cptBluetooth},
                               {6, cptIrDa},
                               {7, cptUnknown},
                               {9, cptUSBPassive},
                               {10, cptBluetooth},
                               {11, cptBluetooth},
                               {12, cptIrDa},
                               {13, cptUSB}});
  for (auto version : {"2000", "xp", "xp-sp2"}) {
    SCOPED_TRACE(version);
    useOs(version);
    DiscoverPorts();
    EXPECT_EQ(kinds(), expected);
  }
}

TEST_F(DiscoveryFixtures, XPServicePack2WithTheMicrosoftStack) {
  loadFixture("xp_sp2_microsoft.reg");
  DiscoverPorts();
  EXPECT_EQ(kinds(), only({{1, cptSerial},
                           {4, cptBluetooth},
                           {5, cptBTSerialIn},
                           {6, cptBTDialUp},
                           {8, cptBTDialUp},
                           {10, cptBluetooth},
                           {12, cptUnknown}}));
}

TEST_F(DiscoveryFixtures, TheSameMicrosoftStackBeforeServicePack2) {
  loadFixture("xp_sp2_microsoft.reg");
  useOs("xp");
  DiscoverPorts();
  EXPECT_EQ(kinds(), only({{1, cptSerial},
                           {4, cptUnknown},
                           {5, cptUnknown},
                           {6, cptUnknown},
                           {8, cptBluetooth},
                           {9, cptBluetooth},
                           {10, cptBluetooth},
                           {11, cptUnknown},
                           {12, cptUnknown}}));
}

TEST_F(DiscoveryFixtures, Windows98WithEverySource) {
  loadFixture("win9x.reg");
  useOs("9x");
  DiscoverPorts();
  EXPECT_EQ(kinds(), only({{1, cptSerial},
                           {2, cptSerial},
                           {3, cptUnknown},
                           {4, cptIrDa},
                           {5, cptUSB},
                           {6, cptBluetooth},
                           {8, cptBluetooth},
                           {9, cptBluetooth},
                           {13, cptUSB},
                           {16, cptSerial}}));
}

TEST_F(DiscoveryFixtures, AnUnconvertiblePortNameFailsTheRunOnBothFamilies) {
  loadFixture("comx.reg");
  for (auto version : {"xp-sp2", "9x"}) {
    SCOPED_TRACE(version);
    useOs(version);
    try {
      GetPortType(1, true);
      ADD_FAILURE() << "no error";
    } catch (const automation::RuntimeError& e) {
      EXPECT_EQ(e.number(), 13);
    }
    EXPECT_FALSE(PortTableFilled());
  }
}

}  // namespace
}  // namespace tov::discovery::test
