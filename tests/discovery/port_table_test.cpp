#include <gtest/gtest.h>

#include <thread>

#include "automation/runtime_error.h"
#include "component/tovcomprtv3.h"
#include "discovery/discovery_test_support.h"
#include "discovery/port_table.h"
#include "support/runtime_errors.h"

namespace tov::discovery::test {
namespace {

using automation::RuntimeError;


TEST(DiscoveryPortNumberFromName, NamesToNumbers) {
  EXPECT_EQ(PortNumberFromName(u"COM12"), 12);
  EXPECT_EQ(PortNumberFromName(u"com3"), 3);
  EXPECT_EQ(PortNumberFromName(u"COM 5 "), 5);
  EXPECT_EQ(PortNumberFromName(u"LPT1"), 0);
  EXPECT_EQ(PortNumberFromName(u""), 0);
  EXPECT_EQ(testing::errorNumberOf([] { PortNumberFromName(u"COM"); }), 13);
  EXPECT_EQ(testing::errorNumberOf([] { PortNumberFromName(u"COMx"); }), 13);
  EXPECT_EQ(testing::errorNumberOf([] { PortNumberFromName(u"xCOM4"); }), 13);  // "M4" remains
  EXPECT_EQ(testing::errorNumberOf([] { PortNumberFromName(u"COM40000"); }), 6);
}

using DiscoveryDriver = DiscoveryTest;

TEST_F(DiscoveryDriver, NTOrderWithTheSP2WalkOnlyOnSP2) {
  DiscoverPorts();
  const std::vector<std::u16string> nt = {u"getRegisteredPortsNT",       u"getSerialPortsNT",
                                          u"getWidcommBluetoothPortsNT", u"get3ComBluetoothPortsNT",
                                          u"3com",                       u"getExtendedBluetoothPortsNT",
                                          u"getMicrosoftBluetoothPortsXP"};
  std::vector<std::u16string> expected = nt;
  for (auto t : {u"getMicrossoftBluetoothPortsXPSP2", u"getIrDaPortsNT", u"getUSBPassivePorts", u"getUSBPortsNT",
                 u"finished loop"})
    expected.push_back(t);
  EXPECT_EQ(traces, expected);
  EXPECT_TRUE(PortTableFilled());

  traces.clear();
  useOs("xp-sp3");
  DiscoverPorts();
  expected.erase(expected.begin() + static_cast<long>(nt.size()));
  EXPECT_EQ(traces, expected);
}

TEST_F(DiscoveryDriver, NineXAndAnUnreadableVersionRunThe9xOrder) {
  const std::vector<std::u16string> expected = {
      u"getregisteredPorts9x",    u"getWidcommPorts9x",  u"get3comBluetoothPorts9x",
      u"get3comBluetoothPorts9x", u"getExtendedPorts9x", u"getExtendedPorts9x",
      u"getirdaPorts9x",          u"getusbPorts9x",      u"getserialPorts9x",
      u"finished loop"};
  useOs("9x");
  DiscoverPorts();
  EXPECT_EQ(traces, expected);
  traces.clear();
  useOs("xp-sp2");
  platform::setOsVersionUnavailable(true);
  DiscoverPorts();
  platform::setOsVersionUnavailable(false);
  EXPECT_EQ(traces, expected);
}

TEST_F(DiscoveryDriver, EachRunStartsFromAClearedTable) {
  load(R"([HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\Serial0"="COM1"
"\\Device\\Serial9"="COM40"
)");
  DiscoverPorts();
  EXPECT_EQ(kinds(), only({{1, cptSerial}}));  // COM40 lies beyond the table
  reg.deleteKey("HKLM\\Hardware");
  EXPECT_EQ(GetPortType(1, true), cptNone);
}

TEST_F(DiscoveryDriver, AUsbAndSerialPortIsUsbOnNTButSerialOn9x) {
  load(R"([HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\ProlificSerial0"="COM4"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\USB\Vid_11f5&Pid_0003\0001\Device Parameters]
"PortName"="COM4"
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Services\Class\USB\0000]
"InfSection"="ComPort"
"MatchingDeviceID"="USB\\VID_067B&PID_2303"
[HKEY_LOCAL_MACHINE\Enum\USBPORTS\VID_067B&PID_2303\0000]
"PortName"="COM4"
[HKEY_LOCAL_MACHINE\Enum\Root\Ports\0000]
"PortName"="COM4"
)");
  DiscoverPorts();
  EXPECT_EQ(kind(4), cptUSB);
  useOs("9x");
  DiscoverPorts();
  EXPECT_EQ(kind(4), cptSerial);
}

using DiscoveryGetComPortType = DiscoveryTest;

TEST_F(DiscoveryGetComPortType, DiscoveryRunsOncePerThreadUntilARefresh) {
  load(R"([HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\Serial0"="COM5"
)");
  auto component = tovComPrtv3::create();
  EXPECT_EQ(component->GetComPortType(5), cptSerial);
  EXPECT_EQ(component->GetComPortType(5), cptSerial);
  EXPECT_EQ(discoveryRuns(), 1);
  EXPECT_TRUE(traced(u"GetComPorttype for Port 5returns: seriell"));
  EXPECT_EQ(GetPortType(5, true), cptSerial);
  EXPECT_EQ(discoveryRuns(), 2);

  // Another thread has a table of its own and runs its own discovery.
  bool otherFilledBefore = true;
  ComPortType otherKind = cptNone;
  std::thread([&] {
    otherFilledBefore = PortTableFilled();
    otherKind = GetPortType(5, false);
  }).join();
  EXPECT_FALSE(otherFilledBefore);
  EXPECT_EQ(otherKind, cptSerial);
  EXPECT_EQ(discoveryRuns(), 2);  // the other thread's traces are not observed here
}

TEST_F(DiscoveryGetComPortType, PortsOutsideTheTableFailWithError9AfterDiscovery) {
  auto component = tovComPrtv3::create();
  EXPECT_EQ(testing::errorNumberOf([&] { component->GetComPortType(0); }), 9);
  EXPECT_EQ(discoveryRuns(), 1);
  EXPECT_TRUE(PortTableFilled());
  EXPECT_EQ(testing::errorNumberOf([&] { component->GetComPortType(33); }), 9);
  EXPECT_EQ(discoveryRuns(), 1);
}

TEST_F(DiscoveryGetComPortType, AnUnconvertiblePortNameEndsDiscoveryUnfilled) {
  load(R"([HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\Serial0"="COM1"
"\\Device\\Serial1"="COMx"
)");
  auto component = tovComPrtv3::create();
  EXPECT_EQ(testing::errorNumberOf([&] { component->GetComPortType(1); }), 13);
  EXPECT_FALSE(PortTableFilled());
  EXPECT_EQ(kind(1), cptUnknown);  // what the run did before the error stays
  EXPECT_EQ(testing::errorNumberOf([&] { component->GetComPortType(1); }), 13);
  EXPECT_EQ(std::count(traces.begin(), traces.end(), u"getRegisteredPortsNT"), 2);
}

TEST(DiscoveryPortTypeNames, LogNamesOfTheKinds) {
  EXPECT_EQ(portTypeName(cptNone), u"kein COM-Port");
  EXPECT_EQ(portTypeName(cptUSBPassive), u"USB Passive");
  EXPECT_EQ(portTypeName(cptBTDialUp), u"Bluetooth DialUp");
  EXPECT_EQ(portTypeName(cptPCMCIA), u"");
  EXPECT_EQ(portTypeName(-1), u"");
}

}  // namespace
}  // namespace tov::discovery::test
