// One DetectAllDevices from the call to the end mark, on a machine with a silent serial port
// COM1 and a phone on the USB port COM3.
#include <algorithm>

#include "requests/request_test.h"

namespace tov::testing {
namespace {

class RequestRoad : public RequestTest {
 protected:
  void SetUp() override {
    listSerialPort(1);
    registry_.setString("HKEY_LOCAL_MACHINE\\Hardware\\DeviceMap\\SerialComm", "\\Device\\USBSER000", "COM3");
    registry_.setString("HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Enum\\USB\\Vid_11f5&Pid_0003\\1\\Device Parameters",
                        "PortName", "COM3");
    silent_ = &phone(1, PhoneScript{});  // answers nothing
    phone_ = &phone(3, kS65Phone);
  }
  platform::SimulatedPort* silent_ = nullptr;
  platform::SimulatedPort* phone_ = nullptr;
};

TEST_F(RequestRoad, UntestedPortsDuringTheCallThenOutcomesInFinishingOrderThenOneEndMark) {
  ASSERT_EQ(c_->DetectAllDevices(), VariantBool::True);
  std::vector<std::int16_t> untested;
  for (const auto& e : events_->events) {
    EXPECT_EQ(e.describe(), "DeviceDetected(" + std::to_string(e.port()) + ", , False, 0, 1)");
    untested.push_back(e.port());
  }
  std::vector<std::int16_t> expected = {2};
  for (std::int16_t p = 4; p <= 32; ++p) expected.push_back(p);
  EXPECT_EQ(untested, expected);
  EXPECT_EQ(c_->IsPending(), VariantBool::True);

  ASSERT_TRUE(pumpUntilEndMark()) << describeAll();
  pumpAWhile();
  std::vector<std::string> after;
  for (std::size_t i = untested.size(); i < events_->events.size(); ++i) after.push_back(events_->events[i].describe());
  const std::vector<std::string> road = {"DeviceDetected(3, BenQ-Siemens S65, True, 154, 0)",
                                         "DeviceDetected(1, , False, 0, 3)", "DeviceDetected(1, , False, 0, 4)"};
  EXPECT_EQ(after, road);

  // Port 1 waited its four seconds (on the whole-second clock) for an answer to "AT+CGMI".
  ASSERT_EQ(writeTimes(1).size(), 1u);
  const std::int64_t waited = eventTimes_[untested.size() + 1] - writeTimes(1)[0];
  EXPECT_GE(waited, 4000);
  EXPECT_LE(waited, 5200);
  EXPECT_EQ(silent_->output(), "AT+CGMI\r");
  EXPECT_EQ(phone_->output(), "AT+CGMI\rAT+CGMM\r");
  EXPECT_FALSE(silent_->isOpen());
  EXPECT_FALSE(phone_->isOpen());
  EXPECT_EQ(c_->IsPending(), VariantBool::False);
  EXPECT_FALSE(workerExists(1));
  EXPECT_FALSE(workerExists(3));
  EXPECT_TRUE(workersEnd());
}

TEST_F(RequestRoad, TheRequestLogsEachPortsKindAndTheWorkersItStarts) {
  c_->DetectAllDevices();
  auto logged = [&](const std::u16string& text) { return std::count(log_.begin(), log_.end(), text); };
  EXPECT_EQ(logged(u"Comporttype returns 2"), 1);  // COM1
  EXPECT_EQ(logged(u"Comporttype returns 5"), 1);  // COM3
  EXPECT_EQ(logged(u"Comporttype returns 0"), 30);
  EXPECT_EQ(logged(u"No Bluetooth on COM1"), 1);
  EXPECT_EQ(logged(u"No Bluetooth on COM3"), 1);
  EXPECT_EQ(logged(u"Not testing COM2"), 1);
  EXPECT_EQ(logged(u"Not testing COM32"), 1);
  EXPECT_EQ(logged(u"Starting Thread 1"), 1);
  EXPECT_EQ(logged(u"Starting Thread 3"), 1);
  EXPECT_EQ(logged(u"Starting Thread 2"), 0);
  EXPECT_TRUE(workerExists(1));
  EXPECT_TRUE(workerExists(3));
  EXPECT_FALSE(workerExists(2));
  ASSERT_TRUE(pumpUntilEndMark());
}

TEST_F(RequestRoad, ASecondRequestWhileTheFirstIsPendingIsRefusedAlone) {
  c_->DetectAllDevices();
  const auto controller = c_->Worker;
  const std::size_t before = events_->events.size();
  log_.clear();
  EXPECT_EQ(c_->DetectAllDevices(), VariantBool::False);
  ASSERT_EQ(events_->events.size(), before + 1);
  EXPECT_EQ(events_->events.back().describe(), "DeviceDetected(1, , False, 2, 5)");
  EXPECT_TRUE(log_.empty()) << "no discovery ran";
  EXPECT_EQ(c_->Worker, controller);
  ASSERT_TRUE(pumpUntilEndMark());
  EXPECT_EQ(endMarks(), 1u);
}

TEST_F(RequestRoad, AHandlerAskingInsideAnOutcomeSeesThePortStillPending) {
  std::vector<VariantBool> pendingInside;
  events_->handler = [&](automation::DISPID, std::vector<Variant>& args) {
    if (automation::toI4(args[4]) != dde_CouldNotOpenPort) pendingInside.push_back(c_->IsPending());
  };
  c_->DetectAllDevices();
  ASSERT_TRUE(pumpUntilEndMark());
  // The phone's outcome, port 1's outcome, then the end mark after the last flag was cleared.
  EXPECT_EQ(pendingInside, (std::vector<VariantBool>{VariantBool::True, VariantBool::True, VariantBool::False}));
}

}  // namespace
}  // namespace tov::testing
