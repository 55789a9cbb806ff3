// Ticks of the per-port timers on simulated ports: each polls its own port, reports its own
// deadline, and reaches the instance created last on the thread.
#include <algorithm>

#include "component/mod_public.h"
#include "detection/simulated_phone_test.h"
#include "platform/message_queue.h"

namespace tov::testing {
namespace {

class PortTimersTick : public SimulatedPhoneTest {
 protected:
  // Opens the port and arms it for a free-form exchange of the given length, as SendMessage does.
  platform::SimulatedPort& arm(std::int16_t port, std::int16_t seconds) {
    auto& device = this->device(port);
    EXPECT_EQ(c_->VBCommOpen(port, u"COM" + automation::numberText(std::int64_t{port}), u"baud=57600"), 0);
    c_->MessageMode = VariantBool::True;
    c_->VBSetTimeoutSeconds(port, seconds);
    c_->VBSetTimeout(port);
    c_->VBStartTimer(port);
    return device;
  }
};

TEST_F(PortTimersTick, EachPortHasItsOwnDeadline) {
  c_->Pending(3) = c_->Pending(7) = VariantBool::True;
  arm(3, 2);
  clock_.advance(1000);
  arm(7, 2);
  c_->MessageMode = VariantBool::False;  // timeouts go to the detection
  ASSERT_TRUE(pumpUntil([&] { return outcomes().size() == 2; }));
  EXPECT_EQ(outcomes()[0].port(), 3);
  EXPECT_EQ(outcomes()[1].port(), 7);
  EXPECT_EQ(eventTimes_[1] - eventTimes_[0], 1000);
}

TEST_F(PortTimersTick, ZeroSecondsEndsInTheNextSecondANegativeLengthNeverTicks) {
  clock_.advance(300);
  arm(4, 0);
  arm(5, -5);
  ASSERT_TRUE(pumpUntil([&] { return !events_->events.empty(); }));
  EXPECT_EQ(events_->events[0].describe(), "MsgTimeout()");
  EXPECT_EQ(eventTimes_[0], 1000) << "the first 10-ms tick in the next whole second";
  c_->MessageMode = VariantBool::True;
  pumpFor(60000);
  EXPECT_EQ(events_->events.size(), 1u);
  c_->VBTimerFunc(5, 0, 0, 0, 0);  // a tick called directly finds the deadline passed
  ASSERT_EQ(events_->events.size(), 2u);
  EXPECT_EQ(events_->events[1].describe(), "MsgTimeout()");
}

TEST_F(PortTimersTick, TicksGoToTheInstanceCreatedLast) {
  arm(4, 4);
  const std::int32_t firstTimer = c_->TimerIds(4);
  auto second = tovComPrtv3::create();
  auto secondEvents = EventRecorder::connect(*second);
  second->Worker = threads::ThreadControl::create();
  // The second instance has no deadline for port 4, so its first tick reports a timeout.
  ASSERT_TRUE(pumpUntil([&] { return !secondEvents->events.empty(); }));
  EXPECT_EQ(secondEvents->events[0].describe(), "DeviceDetected(4, , False, 0, 3)");
  EXPECT_TRUE(events_->events.empty());
  EXPECT_EQ(c_->TimerIds(4), firstTimer) << "the second instance does not know the first one's timer";
  secondEvents->disconnect();
  gComponent() = c_;
}

TEST_F(PortTimersTick, AnErrorInATickIsLoggedAndTheThreadGoesOn) {
  arm(4, 1);
  c_->MessageMode = VariantBool::False;
  c_->Worker.reset();  // the timeout outcome then fails on its missing worker
  ASSERT_TRUE(pumpUntil([&] { return !outcomes().empty(); }));
  EXPECT_NO_THROW(pumpFor(1000));
  const auto failure = std::find_if(log_.begin(), log_.end(),
                                    [](const std::u16string& line) { return line.rfind(u"Error in TimerProc4: 91 ", 0) == 0; });
  EXPECT_NE(failure, log_.end());
}

}  // namespace
}  // namespace tov::testing
