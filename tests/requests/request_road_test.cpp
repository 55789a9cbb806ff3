// One DetectAllDevices from the call to the end mark, on a machine with a silent serial port
// COM1 and a phone on the USB port COM3.
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
  EXPECT_EQ(untestedPorts(), allBut({1, 3}));
  const std::size_t untested = events_->events.size();
  for (const auto& e : events_->events)
    EXPECT_EQ(e.describe(), "DeviceDetected(" + std::to_string(e.port()) + ", , False, 0, 1)");
  EXPECT_EQ(c_->IsPending(), VariantBool::True);
  EXPECT_TRUE(workerExists(1));
  EXPECT_TRUE(workerExists(3));

  ASSERT_TRUE(pumpUntilEndMark()) << describeAll();
  pumpFor();
  std::vector<std::string> after;
  for (std::size_t i = untested; i < events_->events.size(); ++i) after.push_back(events_->events[i].describe());
  const std::vector<std::string> road = {"DeviceDetected(3, BenQ-Siemens S65, True, 154, 0)",
                                         "DeviceDetected(1, , False, 0, 3)", "DeviceDetected(1, , False, 0, 4)"};
  EXPECT_EQ(after, road);

  // Port 1 waited its four seconds (on the whole-second clock) for an answer to "AT+CGMI".
  ASSERT_EQ(writeTimes(1).size(), 1u);
  const std::int64_t waited = eventTimes_[untested + 1] - writeTimes(1)[0];
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
