// DetectAllDevices: every port the discovery, rerun for the request, finds testable.
#include <algorithm>

#include "discovery/port_table.h"
#include "platform/os_version.h"
#include "requests/request_test.h"

namespace tov::testing {
namespace {

using RequestDetectAll = RequestTest;

bool logged(const std::vector<std::u16string>& log, const std::u16string& text) {
  return std::find(log.begin(), log.end(), text) != log.end();
}

TEST_F(RequestDetectAll, NoTestablePortGivesThirtyTwoUntestedEventsAndTheEndMark) {
  listUnknownPort(2);  // listed by the system only: not tested by this request
  const auto controller = c_->Worker;
  EXPECT_EQ(c_->DetectAllDevices(), VariantBool::True);
  ASSERT_EQ(events_->events.size(), 33u);
  for (std::int16_t p = 1; p <= 32; ++p)
    EXPECT_EQ(events_->events[static_cast<std::size_t>(p - 1)].describe(),
              "DeviceDetected(" + std::to_string(p) + ", , False, 0, 1)");
  EXPECT_EQ(events_->events[32].describe(), "DeviceDetected(1, , False, 0, 4)");
  EXPECT_EQ(c_->IsPending(), VariantBool::False);
  EXPECT_EQ(c_->Worker, controller) << "nothing to test, no new controller";
  EXPECT_TRUE(logged(log_, u"Not testing COM2"));
}

TEST_F(RequestDetectAll, TheDiscoveryRunsAfreshForEveryRequest) {
  setKinds({{5, cptSerial}});  // a stale table; the registry lists no port at all
  EXPECT_EQ(c_->DetectAllDevices(), VariantBool::True);
  EXPECT_EQ(events_->events.size(), 33u);
  EXPECT_EQ(discovery::PortTable()(5), cptNone);
  EXPECT_EQ(c_->IsPending(), VariantBool::False);
}

TEST_F(RequestDetectAll, BluetoothPortsOfTheMicrosoftStackAreTestedLikeAnyOther) {
  platform::ScopedOsVersion xp(*platform::parseOsVersion("xp"));
  registry_.createKey("HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Enum\\BTH\\MS_RFCOMM\\7&1");
  const std::string instance =
      "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Enum\\BTHENUM\\{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a"
      "\\8&1&0&0016B8AB12CD_C00000000";
  registry_.setString(instance, "FriendlyName", "GPRS via Bluetooth(TM)");
  registry_.setString(instance + "\\Device Parameters", "PortName", "COM5");
  phone(5, kS65Phone);

  EXPECT_EQ(c_->DetectAllDevices(), VariantBool::True);
  EXPECT_TRUE(logged(log_, u"Comporttype returns 4"));
  EXPECT_TRUE(logged(log_, u"MSBluetooth on Port5"));
  EXPECT_TRUE(logged(log_, u"MS Stack on Port5"));
  EXPECT_TRUE(logged(log_, u"Starting Thread 5"));
  EXPECT_EQ(c_->Pending(5), VariantBool::True);
  EXPECT_EQ(events_->events.size(), 31u) << "port 5 is not reported untested";
  ASSERT_TRUE(pumpUntilEndMark());
  EXPECT_FALSE(logged(log_, u"MS Stack event raised for port5"));
  EXPECT_EQ(events_->events[31].describe(), "DeviceDetected(5, BenQ-Siemens S65, True, 154, 0)");
}

TEST_F(RequestDetectAll, BluetoothPortsOfOtherStacksAreTested) {
  // A serial-port service of a paired device, as the stack of XP SP2 registers it.
  const std::string service = "{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a";
  const std::string instance =
      "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Enum\\BTHENUM\\" + service + "\\8&1&0&0016B8AB12CD_C00000005";
  registry_.setString(instance, "Service", "BthModem");
  registry_.setString(instance + "\\Device Parameters", "PortName", "COM4");
  registry_.setDword("HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Services\\BTHPort\\Parameters\\Devices\\"
                     "0016b8ab12cd\\ServicesFor0016b8ab12cd\\" + service + "\\C00000005",
                     "Enabled", 1);
  device(4);

  c_->DetectAllDevices();
  EXPECT_TRUE(logged(log_, u"MSBluetooth on Port4"));
  EXPECT_TRUE(logged(log_, u"Bluetooth, but no MSBluetooth on COM4"));
  EXPECT_EQ(c_->Pending(4), VariantBool::True);
  ASSERT_TRUE(pumpUntilEndMark());
  EXPECT_EQ(events_->events[31].describe(), "DeviceDetected(4, , False, 0, 3)");
}

TEST_F(RequestDetectAll, IncomingAndDialUpBluetoothPortsAreNotTested) {
  const std::string service = "{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a";
  const std::string base = "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Enum\\BTHENUM\\" + service;
  registry_.setString(base + "\\8&1&0&000000000000_00000005", "Service", "BthModem");  // a local service: incoming
  registry_.setString(base + "\\8&1&0&000000000000_00000005\\Device Parameters", "PortName", "COM5");
  registry_.setString(base + "\\8&1&0&0016B8AB12CD_C00000006", "Service", "Modem");
  registry_.setString(base + "\\8&1&0&0016B8AB12CD_C00000006\\Device Parameters", "PortName", "COM6");
  for (const char* entry : {"C00000005", "C00000006"})
    registry_.setDword("HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Services\\BTHPort\\Parameters\\Devices\\"
                       "0016b8ab12cd\\ServicesFor0016b8ab12cd\\" + service + "\\" + entry,
                       "Enabled", 1);
  c_->DetectAllDevices();
  EXPECT_TRUE(logged(log_, u"Comporttype returns 6"));
  EXPECT_TRUE(logged(log_, u"Comporttype returns 8"));
  EXPECT_TRUE(logged(log_, u"Not testing COM5"));
  EXPECT_TRUE(logged(log_, u"Not testing COM6"));
  EXPECT_EQ(endMarks(), 1u);
  EXPECT_EQ(c_->IsPending(), VariantBool::False);
}

}  // namespace
}  // namespace tov::testing
