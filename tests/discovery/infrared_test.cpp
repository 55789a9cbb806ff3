#include "discovery/discovery_test_support.h"
#include "discovery/enumerators.h"

namespace tov::discovery::test {
namespace {

using DiscoveryInfrared = DiscoveryTest;

TEST_F(DiscoveryInfrared, NTReadsEachIrDeviceKeyAndReplacesEarlierMarks) {
  load(R"([HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\IRENUM\SIE0001\5&3b\Device Parameters]
"PortName"="COM4"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\IRENUM\SIE0001\5&3c\Device Parameters]
"PortName"="COM33"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\IRENUM\SIA0002\5&1a\Device Parameters]
"PortName"="COM0"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\Root\IRCOMM2K\0000\Device Parameters]
"PortName"="COM4"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\IRENUM\SIE-SX1\5&77\Device Parameters]
"PortName"="COM7"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\IRENUM\SIE9999\5&78\Device Parameters]
"PortName"="COM8"
)");
  PortTable()(4) = cptSerial;
  getIrDaPortsNT();
  EXPECT_EQ(kinds(), only({{4, cptIrDa}, {7, cptIrDa}}));
}

TEST_F(DiscoveryInfrared, NineXVirtualPortsValueIsTheOnlySourceWhenPresent) {
  load(R"([HKEY_LOCAL_MACHINE\Enum\Infrared\VirtualPorts]
"VirtualComPortName"="LPT1"
[HKEY_LOCAL_MACHINE\Enum\Infrared\COM\0000]
"Portname"="COM5"
)");
  getirdaPorts9x();
  EXPECT_EQ(kinds(), only({}));
  reg.deleteValue("HKLM\\Enum\\Infrared\\VirtualPorts", "VirtualComPortName");
  getirdaPorts9x();
  EXPECT_EQ(kinds(), only({{5, cptIrDa}}));
  load(R"([HKEY_LOCAL_MACHINE\Enum\Infrared\VirtualPorts]
"VirtualComPortName"="COM4"
)");
  resetTable();
  getirdaPorts9x();
  EXPECT_EQ(kinds(), only({{4, cptIrDa}}));
}

}  // namespace
}  // namespace tov::discovery::test
