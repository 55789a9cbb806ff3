// Serial ports of 9x, USB ports (passive and active) and infrared ports.
#include "discovery/discovery_test_support.h"
#include "discovery/enumerators.h"

namespace tov::discovery::test {
namespace {

using DiscoverySerial9x = DiscoveryTest;

// The standard COM-port driver's instances lie under ACPI, else BIOS; without that driver the
// root-enumerated ports count. VSCOMBUS instances count always, two levels deep only.
TEST_F(DiscoverySerial9x, TheComPortDriverLeadsToACPIOrBIOSElseTheRootPorts) {
  set(R"(System\CurrentControlSet\Services\Class\Ports\0000)", "InfSection", "ComPort");  // no device id
  set(R"(Enum\ACPI\*PNP0501\0)", "PortName", "COM1");
  set(R"(Enum\BIOS\*PNP0501\0D)", "PortName", "COM2");
  set(R"(Enum\Root\Ports\0000)", "PortName", "COM3");
  set(R"(Enum\VSCOMBUS\VSCOM\0000)", "PortName", "COM4");
  set(R"(Enum\VSCOMBUS\PortName)", "PortName", "COM5");
  EXPECT_EQ(run(getserialPorts9x), only({{3, cptSerial}, {4, cptSerial}}));
  set(R"(System\CurrentControlSet\Services\Class\Ports\0002)", "InfSection", "ComPort");
  set(R"(System\CurrentControlSet\Services\Class\Ports\0002)", "MatchingDeviceID", "*PNP0501");
  EXPECT_EQ(run(getserialPorts9x), only({{1, cptSerial}, {4, cptSerial}}));
  reg.deleteKey("HKLM\\Enum\\ACPI");
  EXPECT_EQ(run(getserialPorts9x), only({{2, cptSerial}, {4, cptSerial}}));
}

using DiscoveryUsb = DiscoveryTest;

const std::string kPortsClass = R"(System\CurrentControlSet\Control\Class\{4D36E978-E325-11CE-BFC1-08002BE10318}\)";

// The modem's port is on interface 00 of its device. Driver instances without an id are passed
// over; a first id too short to hold an interface ends the search.
TEST_F(DiscoveryUsb, AQualcommModemMarksThePortOfInterface00Passive) {
  set(kPortsClass + "0000", "ProviderName", "QUALCOMM INCORPORATED");
  set(kPortsClass + "0001", "ProviderName", "Qualcomm Incorporated");
  set(kPortsClass + "0001", "MatchingDeviceID", R"(USB\VID_05C6&PID_3197&MI_01)");
  set(R"(System\CurrentControlSet\Enum\USB\Vid_05c6&Pid_3197&MI_00\1\Device Parameters)", "PortName", "COM9");
  set(R"(System\CurrentControlSet\Enum\USB\Vid_05c6&Pid_3197&MI_01\2\Device Parameters)", "PortName", "COM10");
  EXPECT_EQ(run(getUSBPassivePorts), only({{9, cptUSBPassive}}));
  set(kPortsClass + "0000", "MatchingDeviceID", "MI_01");
  EXPECT_EQ(run(getUSBPassivePorts), only({}));
}

TEST_F(DiscoveryUsb, OnNTAProlificDriverLeadsToItsDeviceAndFixedDevicesOverrideAPassiveMark) {
  set(kPortsClass + "0000", "ProviderName", "Prolific Technology Inc.");
  set(kPortsClass + "0000", "MatchingDeviceID", R"(USB\Vid_0557&Pid_2008)");
  set(R"(System\CurrentControlSet\Enum\USB\Vid_0557&Pid_2008\5&2a\Device Parameters)", "PortName", "COM4");
  set(R"(System\CurrentControlSet\Enum\USB\Vid_11f5&Pid_0003\1\Device Parameters)", "PortName", "COM5");
  set(R"(System\CurrentControlSet\Enum\USB\Vid_11f5&Pid_0003\2\Device Parameters)", "PortName", "COM6");
  set(R"(System\CurrentControlSet\Enum\USB\Vid_067b&Pid_2303\5&1f\Device Parameters)", "PortName", "COM7");
  PortTable()(6) = cptUSBPassive;
  getUSBPortsNT();
  EXPECT_EQ(kinds(), only({{5, cptUSB}, {6, cptUSB}, {7, cptUSB}}));
  set(kPortsClass + "0000", "ProviderName", "Prolific");  // the whole name only
  getUSBPortsNT();
  EXPECT_EQ(kind(4), cptUSB);
}

// 9x: the port driver's instances lie under USBPORTS; of a fixed device only the first port
// attached through a child device node counts.
TEST_F(DiscoveryUsb, On9xPortDriverInstancesAndTheFirstAttachedPortOfFixedDevices) {
  set(R"(System\CurrentControlSet\Services\Class\USB\0000)", "InfSection", "ComPort");
  set(R"(System\CurrentControlSet\Services\Class\USB\0000)", "MatchingDeviceID", R"(usb\VID_0557&PID_2008)");
  set(R"(Enum\USBPORTS\VID_0557&PID_2008\0000)", "PortName", "COM3");
  set(R"(Enum\USB\VID_0557&PID_2008\0000)", "PortName", "COM8");
  const std::pair<const char*, const char*> attached[] = {{"0000", "COM40"}, {"0001", "COM4"}, {"0002", "COM6"}};
  for (auto [instance, port] : attached) {
    const std::string child = std::string(R"(SIEMENS\MODEM\)") + instance;
    set(std::string(R"(Enum\USB\VID_11F5&PID_0003\)") + instance, "ChildDevNode", child);
    set("Enum\\" + child, "AttachedTo", port);
  }
  set(R"(Enum\USB\VID_067B&PID_2303\0000)", "ChildDevNode", R"(USBPORTS\VID_067B&PID_2303\0000)");
  set(R"(Enum\USBPORTS\VID_067B&PID_2303\0000)", "AttachedTo", "COM7");
  EXPECT_EQ(run(getusbPorts9x), only({{3, cptUSB}, {4, cptUSB}, {7, cptUSB}}));
}

using DiscoveryInfrared = DiscoveryTest;

TEST_F(DiscoveryInfrared, OnNTEachKnownIrDeviceKeyIsRead) {
  set(R"(System\CurrentControlSet\Enum\IRENUM\SIE0001\5&3b\Device Parameters)", "PortName", "COM2");
  set(R"(System\CurrentControlSet\Enum\IRENUM\SIA0002\5&1a\Device Parameters)", "PortName", "COM3");
  set(R"(System\CurrentControlSet\Enum\Root\IRCOMM2K\0000\Device Parameters)", "PortName", "COM4");
  set(R"(System\CurrentControlSet\Enum\IRENUM\SIE-SX1\5&77\Device Parameters)", "PortName", "COM7");
  set(R"(System\CurrentControlSet\Enum\IRENUM\SIE9999\5&78\Device Parameters)", "PortName", "COM8");
  EXPECT_EQ(run(getIrDaPortsNT), only({{2, cptIrDa}, {3, cptIrDa}, {4, cptIrDa}, {7, cptIrDa}}));
}

// The virtual-ports value, when present, is the only source, even when it names no COM port.
TEST_F(DiscoveryInfrared, On9xTheVirtualPortsValueComesBeforeTheComInstances) {
  set(R"(Enum\Infrared\VirtualPorts)", "VirtualComPortName", "LPT1");
  set(R"(Enum\Infrared\COM\0000)", "Portname", "COM5");
  EXPECT_EQ(run(getirdaPorts9x), only({}));
  reg.deleteValue("HKLM\\Enum\\Infrared\\VirtualPorts", "VirtualComPortName");
  EXPECT_EQ(run(getirdaPorts9x), only({{5, cptIrDa}}));
}

}  // namespace
}  // namespace tov::discovery::test
