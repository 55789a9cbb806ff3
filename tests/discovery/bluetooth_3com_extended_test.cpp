#include "discovery/discovery_test_support.h"
#include "discovery/enumerators.h"

namespace tov::discovery::test {
namespace {

using DiscoveryBluetooth3ComExtended = DiscoveryTest;

constexpr std::string_view kExtendedAndMicrosoft = R"([HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\Root\Ports\0000]
"Service"="btcomm"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\Root\Ports\0000\Device Parameters]
"PortName"="COM3"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\Root\Ports\0001]
"Service"="Serial"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\Root\Ports\0001\Device Parameters]
"PortName"="COM2"
)";

TEST_F(DiscoveryBluetooth3ComExtended, NT3ComPortEndsTheChain) {
  load(std::string(kExtendedAndMicrosoft) + R"([HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\BT3C\BTPORT\0000\Device Parameters]
"PortName"="COM8"
)");
  DiscoverPorts();
  EXPECT_EQ(kinds(), only({{8, cptBluetooth}}));
  EXPECT_TRUE(traced(u"nach ObjektExistiert"));
  EXPECT_FALSE(traced(u"getExtendedBluetoothPortsNT"));
  EXPECT_FALSE(traced(u"getMicrosoftBluetoothPortsXP"));
}

TEST_F(DiscoveryBluetooth3ComExtended, NT3ComWithoutPortsLeavesItToTheExtendedStack) {
  load(std::string(kExtendedAndMicrosoft) + R"([HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\BT3C\BTPORT\0000\Device Parameters]
"PortName"="COM40"
)");
  EXPECT_FALSE(get3ComBluetoothPortsNT());
  EXPECT_TRUE(getExtendedBluetoothPortsNT());
  EXPECT_EQ(kinds(), only({{3, cptBluetooth}}));  // the Serial service's port is not taken
}

TEST_F(DiscoveryBluetooth3ComExtended, NineXReadsInstancesOfEachDeviceOnly) {
  load(R"([HKEY_LOCAL_MACHINE\Enum\BT3C\BTPORT]
"AttachedTo"="COM2"
[HKEY_LOCAL_MACHINE\Enum\BT3C\BTPORT\0000]
"AttachedTo"="COM4"
[HKEY_LOCAL_MACHINE\Enum\XTND\BTCOM\0000]
"AttachedTo"="COM6"
)");
  useOs("9x");
  DiscoverPorts();
  EXPECT_EQ(kinds(), only({{4, cptBluetooth}}));
  EXPECT_FALSE(traced(u"getExtendedPorts9x"));
  reg.deleteKey("HKLM\\Enum\\BT3C");
  EXPECT_TRUE(getExtendedPorts9x());
  EXPECT_EQ(kind(6), cptBluetooth);
}

}  // namespace
}  // namespace tov::discovery::test
