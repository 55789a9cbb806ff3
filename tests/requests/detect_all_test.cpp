// DetectAllDevices: every port the discovery, rerun for the request, finds testable.
#include "discovery/port_table.h"
#include <tovport/platform/os_version.h>
#include <tovport/platform/reg_file.h>
#include "requests/request_test.h"

namespace tov::testing {
namespace {

using RequestDetectAll = RequestTest;

TEST_F(RequestDetectAll, NoTestablePortGivesThirtyTwoUntestedEventsAndTheEndMark) {
  setKinds({{5, cptSerial}});  // a stale table: the discovery runs afresh
  listUnknownPort(2);          // listed by the system only: not tested by this request
  const auto controller = c_->Worker;
  EXPECT_EQ(c_->DetectAllDevices(), VariantBool::True);
  EXPECT_EQ(events_->events.size(), 33u);
  EXPECT_EQ(discovery::PortTable()(5), cptNone);
  EXPECT_EQ(c_->IsPending(), VariantBool::False);
  EXPECT_EQ(c_->Worker, controller) << "nothing to test, no new controller";
}

TEST_F(RequestDetectAll, OfBluetoothPortsOnlyThoseToARemoteDeviceAreTested) {
  // COM1 serial, COM4 and COM10 to a paired phone, COM5 incoming, COM6 and COM8 dial-up, COM12 unknown.
  platform::ScopedOsVersion sp2(*platform::parseOsVersion("xp-sp2"));
  platform::loadRegFile(registry_, std::string(TOVPORT_FIXTURES) + "/xp_sp2_microsoft.reg");
  device(4);
  EXPECT_EQ(c_->DetectAllDevices(), VariantBool::True);
  EXPECT_EQ(untestedPorts(), allBut({1, 4, 10}));
  ASSERT_TRUE(pumpUntilEndMark());
  EXPECT_EQ(endMarks(), 1u);
  EXPECT_EQ(outcomes().back().describe(), "DeviceDetected(4, , False, 0, 3)") << describeAll();
}

}  // namespace
}  // namespace tov::testing
