#include <gtest/gtest.h>

#include <set>

#include "component/debug_log.h"
#include "component/mod_public.h"
#include "component/tovcomprtv3.h"
#include "platform/clock.h"
#include "platform/message_queue.h"
#include "timers/timer_procs.h"

namespace tov {
namespace {

using namespace automation;

class PortTimersStartStop : public ::testing::Test {
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

  platform::ManualClock clock_;
  platform::ScopedClock scope_{clock_};
  Ref<tovComPrtv3> c_ = tovComPrtv3::create();
  std::vector<std::u16string> log_;
};

TEST_F(PortTimersStartStop, StartingTwiceStartsOneTimerAndLogsOnce) {
  const std::size_t before = timers();
  c_->VBSetTimeoutSeconds(3, 4);
  c_->VBStartTimer(3);
  const std::int32_t id = c_->TimerIds(3);
  EXPECT_NE(id, 0);
  c_->VBStartTimer(3);
  EXPECT_EQ(c_->TimerIds(3), id);
  EXPECT_EQ(timers(), before + 1);
  EXPECT_EQ(log_, std::vector<std::u16string>{u"Started Timer for Port3"});
}

TEST_F(PortTimersStartStop, StoppingKillsTheTimerAndLogs) {
  const std::size_t before = timers();
  c_->VBStartTimer(12);
  c_->VBStopTimer(12);
  EXPECT_EQ(c_->TimerIds(12), 0);
  EXPECT_EQ(timers(), before);
  EXPECT_EQ(log_.back(), u"Killed Timer for Port12");
}

TEST_F(PortTimersStartStop, StoppingWithoutTimerDoesNothing) {
  c_->VBStopTimer(5);
  EXPECT_TRUE(log_.empty());
  EXPECT_EQ(c_->TimerIds(5), 0);
}

TEST_F(PortTimersStartStop, AFailedKillKeepsTheIdForTheNextTry) {
  c_->TimerIds(9) = 424242;  // no such timer on this thread
  c_->VBStopTimer(9);
  EXPECT_EQ(c_->TimerIds(9), 424242);
  EXPECT_EQ(log_, std::vector<std::u16string>{u"Killed Timer for Port9"});
  c_->TimerIds(9) = 0;
}

TEST_F(PortTimersStartStop, TheStartHelperServesPortsOneTo32Only) {
  EXPECT_TRUE(StartPortTimer(0, 100).isEmpty());
  EXPECT_TRUE(StartPortTimer(33, 100).isEmpty());
  const Variant id = StartPortTimer(32, 100);
  ASSERT_NE(id.get<std::int32_t>(), nullptr);
  EXPECT_TRUE(platform::KillTimer(0, static_cast<platform::UINT_PTR>(*id.get<std::int32_t>())));
}

TEST_F(PortTimersStartStop, EveryPortHasItsOwnCallback) {
  std::set<platform::TIMERPROC> procs;
  for (int port = 1; port <= MaxPorts; ++port) procs.insert(TimerProcOf(port));
  EXPECT_EQ(procs.size(), static_cast<std::size_t>(MaxPorts));
  EXPECT_THROW(TimerProcOf(0), RuntimeError);
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
