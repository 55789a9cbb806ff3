#include "discovery/discovery_test_support.h"
#include "discovery/enumerators.h"

namespace tov::discovery::test {
namespace {

using DiscoveryRegisteredSerial = DiscoveryTest;

TEST_F(DiscoveryRegisteredSerial, NTListedPortsAreUnknownUntilTheirDeviceNameShowsASerialDriver) {
  load(R"([HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\Serial0"="COM1"
"\\Device\\BtPort1"="COM5"
"\\Device\\VSPCISer2"="COM3"
"\\Device\\Serial7"="COM33"
"\\Device\\Serial8"="LPT1"
)");
  getRegisteredPortsNT();
  EXPECT_EQ(kinds(), only({{1, cptUnknown}, {3, cptUnknown}, {5, cptUnknown}}));
  getSerialPortsNT();
  EXPECT_EQ(kinds(), only({{1, cptSerial}, {3, cptSerial}, {5, cptUnknown}}));
}

TEST_F(DiscoveryRegisteredSerial, NineXPortsClassLeadsToTheACPIInstancesBeforeBIOS) {
  load(R"([HKEY_LOCAL_MACHINE\System\CurrentControlSet\Services\Class\Ports\0000]
"InfSection"="ComPort"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Services\Class\Ports\0001]
"InfSection"="LptPort"
"MatchingDeviceID"="*PNP0400"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Services\Class\Ports\0002]
"InfSection"="ComPort"
"MatchingDeviceID"="*PNP0501"
[HKEY_LOCAL_MACHINE\Enum\ACPI\*PNP0501\0]
"PortName"="COM1"
[HKEY_LOCAL_MACHINE\Enum\BIOS\*PNP0501\0D]
"PortName"="COM2"
[HKEY_LOCAL_MACHINE\Enum\Root\Ports\0000]
"PortName"="COM3"
[HKEY_LOCAL_MACHINE\Enum\VSCOMBUS\VSCOM\0000]
"PortName"="COM4"
)");
  getserialPorts9x();
  EXPECT_EQ(kinds(), only({{1, cptSerial}, {4, cptSerial}}));

  reg.deleteKey("HKLM\\Enum\\ACPI");
  resetTable();
  getserialPorts9x();
  EXPECT_EQ(kinds(), only({{2, cptSerial}, {4, cptSerial}}));
}

TEST_F(DiscoveryRegisteredSerial, NineXWithoutAComPortDriverReadsTheRootPorts) {
  load(R"([HKEY_LOCAL_MACHINE\System\CurrentControlSet\Services\Class\Ports\0000]
"InfSection"="ComPort"
[HKEY_LOCAL_MACHINE\Enum\BIOS\*PNP0501\0D]
"PortName"="COM2"
[HKEY_LOCAL_MACHINE\Enum\Root\Ports\0000]
"PortName"="COM3"
[HKEY_LOCAL_MACHINE\Enum\VSCOMBUS\VSCOM\0000]
"PortName"="COM4"
[HKEY_LOCAL_MACHINE\Enum\VSCOMBUS\PortName]
"PortName"="COM5"
)");
  getserialPorts9x();
  EXPECT_EQ(kinds(), only({{3, cptSerial}, {4, cptSerial}}));  // VSCOMBUS is read two levels deep only
}

TEST_F(DiscoveryRegisteredSerial, NineXListedPortsAreUnknown) {
  load(R"([HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"COM1"="COM1"
"COM2"="COM2"
)");
  getregisteredPorts9x();
  EXPECT_EQ(kinds(), only({{1, cptUnknown}, {2, cptUnknown}}));
}

}  // namespace
}  // namespace tov::discovery::test
