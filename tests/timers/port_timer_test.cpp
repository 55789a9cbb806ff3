// The per-port deadlines (whole seconds of the local clock) and starting and stopping the
// per-port timers.
#include <gtest/gtest.h>

#include "component/debug_log.h"
#include "component/mod_public.h"
#include "component/tovcomprtv3.h"
#include "platform/clock.h"
#include "platform/message_queue.h"
#include "support/runtime_errors.h"
#include "timers/timer_procs.h"

namespace tov {
namespace {

using namespace automation;

constexpr double kSecond = 1.0 / 86400.0;

class PortTimers : public ::testing::Test {
 protected:
  void SetUp() override {
    observeLog([this](const std::u16string& text) { log_.push_back(text); });
  }
  void TearDown() override {
    observeLog({});
    for (int port = 1; port <= MaxPorts; ++port) c_->VBStopTimer(static_cast<std::int16_t>(port));
    gComponent().reset();
  }
  std::size_t timers() const { return platform::MessageQueue::current()->timerCount(); }

  // 2026-01-01 23:59:58.000
  platform::ManualClock clock_{platform::ManualClock::kDefaultStart + 86398 * kSecond};
  platform::ScopedClock scope_{clock_};
  Ref<tovComPrtv3> c_ = tovComPrtv3::create();
  std::vector<std::u16string> log_;
};

using PortTimersTimeouts = PortTimers;

TEST_F(PortTimersTimeouts, DeadlineIsTheWholeSecondPlusTheLengthAcrossMidnight) {
  clock_.advance(1700);  // 23:59:59.700
  c_->VBSetTimeoutSeconds(3, 4);
  c_->VBSetTimeout(3);
  // 23:59:59 + 4 s = 00:00:03 of the next day; the 700 ms are not counted.
  EXPECT_NEAR(c_->VBGetTimeout(3).value, platform::ManualClock::kDefaultStart + 1 + 3 * kSecond, 1e-9);
  clock_.advance(299);
  c_->VBSetTimeout(3);
  EXPECT_NEAR(c_->VBGetTimeout(3).value, platform::ManualClock::kDefaultStart + 1 + 3 * kSecond, 1e-9)
      << "renewed within the same second";
  clock_.advance(1);
  c_->VBSetTimeout(3);
  EXPECT_NEAR(c_->VBGetTimeout(3).value, platform::ManualClock::kDefaultStart + 1 + 4 * kSecond, 1e-9);
  EXPECT_EQ(c_->VBGetTimeout(4).value, 0.0);
}

TEST_F(PortTimersTimeouts, ZeroAndNegativeLengthsGiveDeadlinesAtAndBeforeNow) {
  c_->VBSetTimeoutSeconds(5, 0);
  c_->VBSetTimeout(5);
  c_->VBSetTimeoutSeconds(6, -3);
  c_->VBSetTimeout(6);
  EXPECT_EQ(c_->VBGetTimeoutSeconds(6), -3);
  const double now = platform::ManualClock::kDefaultStart + 86398 * kSecond;
  EXPECT_NEAR(c_->VBGetTimeout(5).value, now, 1e-9);
  EXPECT_NEAR(c_->VBGetTimeout(6).value, now - 3 * kSecond, 1e-9);
}

TEST_F(PortTimersTimeouts, PortNumbersOutsideTheTableAreError9) {
  for (std::int16_t port : {0, 33, -1}) {
    const std::function<void()> calls[] = {
        [&] { c_->VBSetTimeoutSeconds(port, 1); }, [&] { c_->VBGetTimeoutSeconds(port); },
        [&] { c_->VBSetTimeout(port); },           [&] { c_->VBGetTimeout(port); },
        [&] { c_->VBStartTimer(port); },           [&] { c_->VBStopTimer(port); },
        [&] { c_->VBTimerFunc(port, 0, 0, 0, 0); }};
    for (const auto& call : calls) EXPECT_EQ(testing::errorNumberOf(call), kErrSubscript) << port;
  }
}

using PortTimersStartStop = PortTimers;

TEST_F(PortTimersStartStop, StartingTwiceStartsOneTimerAndStoppingWithoutOneDoesNothing) {
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
}

TEST_F(PortTimersStartStop, AFailedKillKeepsTheIdForTheNextTry) {
  c_->TimerIds(9) = 424242;  // no such timer on this thread
  c_->VBStopTimer(9);
  EXPECT_EQ(c_->TimerIds(9), 424242);
  c_->TimerIds(9) = 0;
}

TEST_F(PortTimersStartStop, TheStartHelperServesPortsOneTo32Only) {
  EXPECT_TRUE(StartPortTimer(0, 100).isEmpty());
  EXPECT_TRUE(StartPortTimer(33, 100).isEmpty());
  const Variant id = StartPortTimer(32, 100);
  ASSERT_NE(id.get<std::int32_t>(), nullptr);
  EXPECT_TRUE(platform::KillTimer(0, static_cast<platform::UINT_PTR>(*id.get<std::int32_t>())));
}

TEST_F(PortTimersStartStop, ACallbackWithoutAnInstanceLogsInsteadOfThrowing) {
  gComponent().reset();
  EXPECT_NO_THROW(TimerProcOf(4)(0, platform::WM_TIMER, 1, 0));
  ASSERT_EQ(log_.size(), 1u);
  EXPECT_EQ(log_[0].rfind(u"Error in TimerProc4: 91 ", 0), 0u);
  gComponent() = c_;
}

}  // namespace
}  // namespace tov
