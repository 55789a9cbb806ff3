// DetectDevice: one port, from the current port table.
#include "discovery/port_table.h"
#include "requests/request_test.h"

namespace tov::testing {
namespace {

using RequestDetectDevice = RequestTest;

TEST_F(RequestDetectDevice, APortOutsideTheTableIsRefusedAsPending) {
  const auto controller = c_->Worker;
  for (std::int16_t port : {0, 33, -1}) {
    events_->events.clear();
    EXPECT_EQ(c_->DetectDevice(port), VariantBool::False);
    ASSERT_EQ(events_->events.size(), 1u);
    EXPECT_EQ(events_->events[0].describe(), "DeviceDetected(" + std::to_string(port) + ", , False, 2, 5)");
  }
  EXPECT_EQ(c_->Worker, controller);
  EXPECT_EQ(c_->IsPending(), VariantBool::False);
}

TEST_F(RequestDetectDevice, AnyPendingPortRefusesTheRequestForItsOwnPort) {
  c_->Pending(32) = VariantBool::True;
  setKinds({{3, cptSerial}});
  EXPECT_EQ(c_->DetectDevice(3), VariantBool::False);
  ASSERT_EQ(events_->events.size(), 1u);
  EXPECT_EQ(events_->events[0].describe(), "DeviceDetected(3, , False, 2, 5)");
  EXPECT_EQ(c_->Pending(3), VariantBool::False);
  c_->Pending(32) = VariantBool::False;
}

TEST_F(RequestDetectDevice, UntestedKindsReportAtOnceAndLeaveTheComponentIdle) {
  setKinds({{5, cptBTSerialIn}, {6, cptBTDialUp}});
  const auto controller = c_->Worker;
  for (std::int16_t port : {4, 5, 6}) {
    events_->events.clear();
    EXPECT_EQ(c_->DetectDevice(port), VariantBool::True);
    ASSERT_EQ(events_->events.size(), 2u);
    const std::string p = std::to_string(port);
    EXPECT_EQ(events_->events[0].describe(), "DeviceDetected(" + p + ", , False, 0, 1)");
    EXPECT_EQ(events_->events[1].describe(), "DeviceDetected(" + p + ", , False, 0, 4)");
    EXPECT_EQ(c_->IsPending(), VariantBool::False);
  }
  EXPECT_EQ(c_->Worker, controller) << "no worker for an untested port";
}

TEST_F(RequestDetectDevice, APortTheSystemOnlyListsIsTested) {
  listUnknownPort(4);
  phone(4, kS65Phone);
  EXPECT_EQ(c_->DetectDevice(4), VariantBool::True);
  EXPECT_TRUE(events_->events.empty());
  EXPECT_EQ(c_->Pending(4), VariantBool::True);
  EXPECT_TRUE(workerExists(4));
  ASSERT_TRUE(pumpUntilEndMark());
  ASSERT_EQ(events_->events.size(), 2u);
  EXPECT_EQ(events_->events[0].describe(), "DeviceDetected(4, BenQ-Siemens S65, True, 154, 0)");
  EXPECT_EQ(events_->events[1].describe(), "DeviceDetected(4, BenQ-Siemens S65, True, 154, 4)");
  EXPECT_FALSE(workerExists(4));
}

TEST_F(RequestDetectDevice, TheCurrentPortTableIsUsedWithoutRediscovery) {
  listSerialPort(7);     // the registry knows port 7 ...
  setKinds({});          // ... but the table, filled earlier, does not
  EXPECT_EQ(c_->DetectDevice(7), VariantBool::True);
  EXPECT_EQ(events_->events.size(), 2u);
  EXPECT_EQ(events_->events[0].error(), dde_CouldNotOpenPort);
  EXPECT_EQ(discovery::PortTable()(7), cptNone);
}

TEST_F(RequestDetectDevice, EachRequestHasAControllerOfItsOwn) {
  setKinds({{7, cptSerial}});
  device(7);
  const auto before = c_->Worker;
  c_->DetectDevice(7);
  EXPECT_NE(c_->Worker, before);
  ASSERT_TRUE(pumpUntilEndMark());
  EXPECT_EQ(events_->events[0].describe(), "DeviceDetected(7, , False, 0, 3)");
}

}  // namespace
}  // namespace tov::testing
