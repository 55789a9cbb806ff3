// Raising the outcome and message events, and what a handler may change through them.
#include <gtest/gtest.h>

#include <tovport/automation/dispatch.h>
#include "component/mod_public.h"
#include <tovport/component/tovcomprtv3.h>
#include "support/event_recorder.h"
#include "support/runtime_errors.h"

namespace tov {
namespace {

using namespace automation;
using testing::errorNumberOf;

class EventRaisers : public ::testing::Test {
 protected:
  void TearDown() override {
    recorder_->disconnect();
    gComponent().reset();
  }
  Ref<tovComPrtv3> c_ = tovComPrtv3::create();
  Ref<testing::EventRecorder> recorder_ = testing::EventRecorder::connect(*c_);
};

TEST_F(EventRaisers, OutcomeWithThreeArgumentsRaisesWithoutApnThenTheEndMark) {
  c_->Pending(4) = VariantBool::True;
  // No request made a controller, so asking it for the worker fails after the events.
  EXPECT_EQ(errorNumberOf([&] {
              callByName(*c_, u"fireEventDeviceDetected", {std::int16_t{4}, std::int32_t{dtNone}, std::int32_t{dde_Timeout}});
            }),
            kErrObjectNotSet);
  ASSERT_EQ(recorder_->events.size(), 2u);
  EXPECT_EQ(recorder_->events[0].describe(), "DeviceDetected(4, , False, 0, 3)");
  EXPECT_EQ(recorder_->events[1].describe(), "DeviceDetected(4, , False, 0, 4)");
  EXPECT_EQ(c_->IsPending(), VariantBool::False);
}

TEST_F(EventRaisers, PortOutsideTheTableFailsAfterTheFirstRaise) {
  EXPECT_EQ(errorNumberOf([&] { c_->fireEventDeviceDetected(33, dtNone, dde_Timeout); }), kErrSubscript);
  EXPECT_EQ(recorder_->events.size(), 1u);
  EXPECT_EQ(errorNumberOf([&] { c_->fireEventPortAvailable(0, pa_Available); }), kErrSubscript);
  EXPECT_EQ(recorder_->events.size(), 2u);
}

TEST_F(EventRaisers, AHandlerThatChangesThePortNumberRedirectsTheClearing) {
  c_->Pending(5) = VariantBool::True;
  c_->Pending(6) = VariantBool::True;
  recorder_->handler = [](DISPID, std::vector<Variant>& args) { args[0].assign(Variant(std::int16_t{6})); };
  errorNumberOf([&] { c_->fireEventPortAvailable(5, pa_Available); });
  EXPECT_EQ(c_->Pending(5), VariantBool::True);
  EXPECT_EQ(c_->Pending(6), VariantBool::False);
}

}  // namespace
}  // namespace tov
