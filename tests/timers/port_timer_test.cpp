// The per-port timers: deadlines in whole seconds of the local clock, starting and stopping, and
// ticks that each poll their own port and reach the instance created last on the thread.
#include <algorithm>

#include "component/mod_public.h"
#include "detection/simulated_phone_test.h"
#include <tovport/platform/message_queue.h>
#include "support/runtime_errors.h"
#include "timers/timer_procs.h"

namespace tov::testing {
namespace {

using namespace automation;

constexpr double kSecond = 1.0 / 86400.0;
constexpr double kStart = platform::ManualClock::kDefaultStart;

class PortTimers : public SimulatedPhoneTest {
 protected:
  std::size_t timers() const { return platform::MessageQueue::current()->timerCount(); }
  // Opens the port and arms it for a free-form exchange of the given length, as SendMessage does.
  platform::SimulatedPort& arm(std::int16_t port, std::int16_t seconds) {
    auto& device = this->device(port);
    EXPECT_EQ(c_->VBCommOpen(port, u"COM" + numberText(std::int64_t{port}), u"baud=57600"), 0);
    c_->MessageMode = VariantBool::True;
    c_->VBSetTimeoutSeconds(port, seconds);
    c_->VBSetTimeout(port);
    c_->VBStartTimer(port);
    return device;
  }
};

using PortTimersTimeouts = PortTimers;

TEST_F(PortTimersTimeouts, DeadlineIsTheWholeSecondPlusTheLengthAcrossMidnight) {
  clock_.advance(86399700);  // 23:59:59.700
  c_->VBSetTimeoutSeconds(3, 4);
  c_->VBSetTimeout(3);
  // 23:59:59 + 4 s = 00:00:03 of the next day; the 700 ms are not counted.
  EXPECT_NEAR(c_->VBGetTimeout(3).value, kStart + 1 + 3 * kSecond, 1e-9);
  clock_.advance(299);
  c_->VBSetTimeout(3);
  EXPECT_NEAR(c_->VBGetTimeout(3).value, kStart + 1 + 3 * kSecond, 1e-9) << "renewed in the same second";
  clock_.advance(1);
  c_->VBSetTimeout(3);
  EXPECT_NEAR(c_->VBGetTimeout(3).value, kStart + 1 + 4 * kSecond, 1e-9);
  EXPECT_EQ(c_->VBGetTimeout(4).value, 0.0);
}

TEST_F(PortTimersTimeouts, PortNumbersOutsideTheTableAreError9) {
  for (std::int16_t port : {0, 33, -1}) {
    const std::function<void()> calls[] = {
        [&] { c_->VBSetTimeoutSeconds(port, 1); }, [&] { c_->VBGetTimeoutSeconds(port); },
        [&] { c_->VBSetTimeout(port); },           [&] { c_->VBGetTimeout(port); },
        [&] { c_->VBStartTimer(port); },           [&] { c_->VBStopTimer(port); },
        [&] { c_->VBTimerFunc(port, 0, 0, 0, 0); }};
    for (const auto& call : calls) EXPECT_EQ(errorNumberOf(call), kErrSubscript) << port;
  }
}

using PortTimersStartStop = PortTimers;

TEST_F(PortTimersStartStop, OneTimerPerPortAFailedKillKeepsItsIdAndOnlyPorts1To32Start) {
  const std::size_t before = timers();
  c_->VBStartTimer(3);
  const std::int32_t id = c_->TimerIds(3);
  EXPECT_NE(id, 0);
  c_->VBStartTimer(3);
  EXPECT_EQ(c_->TimerIds(3), id);
  EXPECT_EQ(timers(), before + 1);
  c_->VBStopTimer(3);
  EXPECT_EQ(c_->TimerIds(3), 0);
  EXPECT_EQ(timers(), before);
  c_->VBStopTimer(3);
  EXPECT_EQ(log_, (std::vector<std::u16string>{u"Started Timer for Port3", u"Killed Timer for Port3"}));

  c_->TimerIds(9) = 424242;  // no such timer on this thread: the failed kill keeps the id
  c_->VBStopTimer(9);
  EXPECT_EQ(c_->TimerIds(9), 424242);
  c_->TimerIds(9) = 0;

  // The start helper serves ports 1 to 32 only.
  EXPECT_TRUE(StartPortTimer(0, 100).isEmpty());
  EXPECT_TRUE(StartPortTimer(33, 100).isEmpty());
  const Variant started = StartPortTimer(32, 100);
  ASSERT_NE(started.get<std::int32_t>(), nullptr);
  EXPECT_TRUE(platform::KillTimer(0, static_cast<platform::UINT_PTR>(*started.get<std::int32_t>())));
}

using PortTimersTick = PortTimers;

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

TEST_F(PortTimersTick, AnErrorInATickIsLoggedAtTheCallbackAndTheThreadGoesOn) {
  arm(4, 1);
  c_->MessageMode = VariantBool::False;
  c_->Worker.reset();  // the timeout outcome then fails on its missing worker
  ASSERT_TRUE(pumpUntil([&] { return !outcomes().empty(); }));
  EXPECT_NO_THROW(pumpFor(1000));
  const auto failures = [&] {
    return std::count_if(log_.begin(), log_.end(),
                         [](const auto& line) { return line.rfind(u"Error in TimerProc4: 91 ", 0) == 0; });
  };
  EXPECT_EQ(failures(), 1);
  gComponent().reset();  // a tick without an instance
  EXPECT_NO_THROW(TimerProcOf(4)(0, platform::WM_TIMER, 1, 0));
  EXPECT_EQ(failures(), 2);
  gComponent() = c_;
}

}  // namespace
}  // namespace tov::testing
