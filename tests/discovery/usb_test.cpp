#include "discovery/discovery_test_support.h"
#include "discovery/enumerators.h"

namespace tov::discovery::test {
namespace {

using DiscoveryUsb = DiscoveryTest;

constexpr std::string_view kPortsClass =
    R"([HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Class\{4D36E978-E325-11CE-BFC1-08002BE10318})";

std::string classInstance(std::string_view number, std::string_view values) {
  return std::string(kPortsClass) + "\\" + std::string(number) + "]\n" + std::string(values) + "\n";
}

TEST_F(DiscoveryUsb, QualcommModemLeadsToThePortOfInterface00) {
  load(classInstance("0000", R"("ProviderName"="Qualcomm Incorporated"
"MatchingDeviceID"="USB\\VID_05C6&PID_3197&MI_01")") +
       R"([HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\USB\Vid_05c6&Pid_3197&MI_00\6&1a&0&0000\Device Parameters]
"PortName"="COM9"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\USB\Vid_05c6&Pid_3197&MI_01\6&1a&0&0001\Device Parameters]
"PortName"="COM10"
)");
  getUSBPassivePorts();
  EXPECT_EQ(kinds(), only({{9, cptUSBPassive}}));
  const std::vector<std::u16string> expected = {
      u"usb\\vid_05c6&pid_3197&mi_00",
      u"System\\CurrentControlSet\\Enum\\usb\\vid_05c6&pid_3197&mi_00\\6&1a&0&0000\\Device Parameters", u"COM9",
      u"COM passive detected on port 9"};
  EXPECT_EQ(traces, expected);
}

TEST_F(DiscoveryUsb, QualcommSearchPassesOverInstancesWithoutIdAndStopsAtAShortId) {
  load(classInstance("0000", R"("ProviderName"="QUALCOMM INCORPORATED")") +
       classInstance("0001", R"("ProviderName"="QUALCOMM INCORPORATED"
"MatchingDeviceID"="USB\\VID_05C6&PID_3197&MI_01")") +
       R"([HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\USB\Vid_05c6&Pid_3197&MI_00\1\Device Parameters]
"PortName"="COM9"
)");
  getUSBPassivePorts();
  EXPECT_EQ(kind(9), cptUSBPassive);

  resetTable();
  load(classInstance("0000", R"("MatchingDeviceID"="MI_01")"));
  getUSBPassivePorts();
  EXPECT_EQ(kind(9), cptNone);
}

TEST_F(DiscoveryUsb, ProlificMustBeTheWholeProviderName) {
  const std::string devices = R"([HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\USB\Vid_0557&Pid_2008\5&2a\Device Parameters]
"PortName"="COM4"
)";
  load(classInstance("0000", R"("ProviderName"="Prolific Technology Inc."
"MatchingDeviceID"="USB\\Vid_0557&Pid_2008")") + devices);
  getUSBPortsNT();
  EXPECT_EQ(kind(4), cptNone);
  load(classInstance("0000", R"("ProviderName"="Prolific")"));
  getUSBPortsNT();
  EXPECT_EQ(kind(4), cptUSB);
}

TEST_F(DiscoveryUsb, NTMarksEveryInstanceOfTheFixedDevicesOverAPassiveMark) {
  load(R"([HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\USB\Vid_11f5&Pid_0003\1\Device Parameters]
"PortName"="COM4"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\USB\Vid_11f5&Pid_0003\2\Device Parameters]
"PortName"="COM6"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\USB\Vid_067b&Pid_2303\5&1f\Device Parameters]
"PortName"="COM7"
)");
  PortTable()(6) = cptUSBPassive;
  getUSBPortsNT();
  EXPECT_EQ(kinds(), only({{4, cptUSB}, {6, cptUSB}, {7, cptUSB}}));
}

TEST_F(DiscoveryUsb, NineXPortDriverInstancesLieUnderUsbPorts) {
  load(R"([HKEY_LOCAL_MACHINE\System\CurrentControlSet\Services\Class\USB\0000]
"InfSection"="ComPort"
"MatchingDeviceID"="usb\\VID_11F5&PID_0003"
[HKEY_LOCAL_MACHINE\Enum\USBPORTS\VID_11F5&PID_0003\0000]
"PortName"="COM3"
[HKEY_LOCAL_MACHINE\Enum\USB\VID_11F5&PID_0003\0000]
"PortName"="COM8"
)");
  getusbPorts9x();
  EXPECT_EQ(kinds(), only({{3, cptUSB}}));
}

TEST_F(DiscoveryUsb, NineXMarksOnlyTheFirstAttachedPortOfAFixedDevice) {
  load(R"([HKEY_LOCAL_MACHINE\Enum\USB\VID_11F5&PID_0003\0000]
"ChildDevNode"="SIEMENS\\MODEM\\0000"
[HKEY_LOCAL_MACHINE\Enum\USB\VID_11F5&PID_0003\0001]
"ChildDevNode"="SIEMENS\\MODEM\\0001"
[HKEY_LOCAL_MACHINE\Enum\USB\VID_11F5&PID_0003\0002]
"ChildDevNode"="SIEMENS\\MODEM\\0002"
[HKEY_LOCAL_MACHINE\Enum\SIEMENS\MODEM\0000]
"AttachedTo"="COM40"
[HKEY_LOCAL_MACHINE\Enum\SIEMENS\MODEM\0001]
"AttachedTo"="COM4"
[HKEY_LOCAL_MACHINE\Enum\SIEMENS\MODEM\0002]
"AttachedTo"="COM6"
[HKEY_LOCAL_MACHINE\Enum\USB\VID_067B&PID_2303\0000]
"ChildDevNode"="USBPORTS\\VID_067B&PID_2303\\0000"
[HKEY_LOCAL_MACHINE\Enum\USBPORTS\VID_067B&PID_2303\0000]
"AttachedTo"="COM7"
)");
  getusbPorts9x();
  EXPECT_EQ(kinds(), only({{4, cptUSB}, {7, cptUSB}}));
}

}  // namespace
}  // namespace tov::discovery::test
