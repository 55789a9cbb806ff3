// DetectDevice: one port, from the current port table.
#include "discovery/port_table.h"
#include "requests/request_test.h"

namespace tov::testing {
namespace {

using RequestDetectDevice = RequestTest;

TEST_F(RequestDetectDevice, UntestedKindsReportAtOnceAndLeaveTheComponentIdle) {
  listSerialPort(7);  // the registry knows port 7, but the table, filled earlier, does not
  setKinds({{5, cptBTSerialIn}, {6, cptBTDialUp}});
  const auto controller = c_->Worker;
  for (std::int16_t port : {4, 5, 6, 7}) {
    events_->events.clear();
    EXPECT_EQ(c_->DetectDevice(port), VariantBool::True);
    ASSERT_EQ(events_->events.size(), 2u);
    const std::string p = std::to_string(port);
    EXPECT_EQ(events_->events[0].describe(), "DeviceDetected(" + p + ", , False, 0, 1)");
    EXPECT_EQ(events_->events[1].describe(), "DeviceDetected(" + p + ", , False, 0, 4)");
    EXPECT_EQ(c_->IsPending(), VariantBool::False);
  }
  EXPECT_EQ(c_->Worker, controller) << "no worker for an untested port";
  EXPECT_EQ(discovery::PortTable()(7), cptNone) << "no rediscovery";
}

TEST_F(RequestDetectDevice, APortTheSystemOnlyListsIsTestedByAControllerOfItsOwn) {
  listUnknownPort(4);
  phone(4, kS65Phone);
  const auto before = c_->Worker;
  EXPECT_EQ(c_->DetectDevice(4), VariantBool::True);
  EXPECT_NE(c_->Worker, before);
  EXPECT_TRUE(events_->events.empty());
  EXPECT_EQ(c_->Pending(4), VariantBool::True);
  EXPECT_TRUE(workerExists(4));
  ASSERT_TRUE(pumpUntilEndMark());
  ASSERT_EQ(events_->events.size(), 2u);
  EXPECT_EQ(events_->events[0].describe(), "DeviceDetected(4, BenQ-Siemens S65, True, 154, 0)");
  EXPECT_EQ(events_->events[1].describe(), "DeviceDetected(4, BenQ-Siemens S65, True, 154, 4)");
  EXPECT_FALSE(workerExists(4));
}

}  // namespace
}  // namespace tov::testing
