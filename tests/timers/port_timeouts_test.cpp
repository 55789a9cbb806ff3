#include <gtest/gtest.h>

#include "automation/runtime_error.h"
#include "component/mod_public.h"
#include "component/tovcomprtv3.h"
#include "platform/clock.h"

namespace tov {
namespace {

using namespace automation;

constexpr double kSecond = 1.0 / 86400.0;

class PortTimersTimeouts : public ::testing::Test {
 protected:
  void TearDown() override { gComponent().reset(); }
  // 2026-01-01 23:59:58.000
  platform::ManualClock clock_{platform::ManualClock::kDefaultStart + 86398 * kSecond};
  platform::ScopedClock scope_{clock_};
  Ref<tovComPrtv3> c_ = tovComPrtv3::create();
};

TEST_F(PortTimersTimeouts, LengthIsStoredPerPortAsGiven) {
  EXPECT_EQ(c_->VBGetTimeoutSeconds(7), 0);
  c_->VBSetTimeoutSeconds(7, -12);
  c_->VBSetTimeoutSeconds(32, 32767);
  EXPECT_EQ(c_->VBGetTimeoutSeconds(7), -12);
  EXPECT_EQ(c_->VBGetTimeoutSeconds(32), 32767);
  EXPECT_EQ(c_->VBGetTimeoutSeconds(1), 0);
}

TEST_F(PortTimersTimeouts, DeadlineIsTheWholeSecondPlusTheLengthAcrossMidnight) {
  clock_.advance(1700);  // 23:59:59.700
  c_->VBSetTimeoutSeconds(3, 4);
  c_->VBSetTimeout(3);
  // 23:59:59 + 4 s = 00:00:03 of the next day; the 700 ms are not counted.
  EXPECT_NEAR(c_->VBGetTimeout(3).value, platform::ManualClock::kDefaultStart + 1 + 3 * kSecond, 1e-9);
  EXPECT_EQ(c_->VBGetTimeout(4).value, 0.0);
}

TEST_F(PortTimersTimeouts, ZeroAndNegativeLengthsGiveDeadlinesAtAndBeforeNow) {
  c_->VBSetTimeoutSeconds(5, 0);
  c_->VBSetTimeout(5);
  c_->VBSetTimeoutSeconds(6, -3);
  c_->VBSetTimeout(6);
  const double now = platform::ManualClock::kDefaultStart + 86398 * kSecond;
  EXPECT_NEAR(c_->VBGetTimeout(5).value, now, 1e-9);
  EXPECT_NEAR(c_->VBGetTimeout(6).value, now - 3 * kSecond, 1e-9);
}

TEST_F(PortTimersTimeouts, ADeadlineIsRenewedFromTheCurrentSecond) {
  c_->VBSetTimeoutSeconds(2, 2);
  c_->VBSetTimeout(2);
  const Date first = c_->VBGetTimeout(2);
  clock_.advance(999);
  c_->VBSetTimeout(2);
  EXPECT_EQ(c_->VBGetTimeout(2), first);  // still the same second
  clock_.advance(1);
  c_->VBSetTimeout(2);
  EXPECT_NEAR(c_->VBGetTimeout(2).value - first.value, kSecond, 1e-9);
}

TEST_F(PortTimersTimeouts, PortNumbersOutsideTheTableAreError9) {
  for (std::int16_t port : {std::int16_t{0}, std::int16_t{33}, std::int16_t{-1}}) {
    EXPECT_THROW(c_->VBSetTimeoutSeconds(port, 1), RuntimeError);
    EXPECT_THROW(c_->VBGetTimeoutSeconds(port), RuntimeError);
    EXPECT_THROW(c_->VBSetTimeout(port), RuntimeError);
    EXPECT_THROW(c_->VBGetTimeout(port), RuntimeError);
    EXPECT_THROW(c_->VBStartTimer(port), RuntimeError);
    EXPECT_THROW(c_->VBStopTimer(port), RuntimeError);
    EXPECT_THROW(c_->VBTimerFunc(port, 0, 0, 0, 0), RuntimeError);
  }
  try {
    c_->VBStartTimer(33);
  } catch (const RuntimeError& e) {
    EXPECT_EQ(e.number(), kErrSubscript);
  }
}

}  // namespace
}  // namespace tov
