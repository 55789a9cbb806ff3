#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include <tovport/automation/dispatch.h>
#include "component/debug_log.h"
#include "component/mod_public.h"
#include <tovport/component/tovcomprtv3.h>
#include "support/event_recorder.h"

namespace tov {
namespace {

using namespace automation;

class Lifecycle : public ::testing::Test {
 protected:
  void TearDown() override { gComponent().reset(); }
};

TEST_F(Lifecycle, GComponentFollowsTheLastInstanceAndKeepsItAlive) {
  auto first = tovComPrtv3::create();
  EXPECT_EQ(gComponent().get(), first.get());
  tovComPrtv3* raw = first.get();
  first.reset();  // the host lets go; gComponent still holds it
  EXPECT_EQ(gComponent().get(), raw);
  EXPECT_EQ(raw->IsPending(), VariantBool::False);
  const long before = ServerLifetime::objects();
  auto second = tovComPrtv3::create();
  EXPECT_EQ(gComponent().get(), second.get());
  EXPECT_LT(ServerLifetime::objects(), before + 2);  // the first instance (and its connection point) ended
}

TEST_F(Lifecycle, GComponentIsPerThreadAndEndsWithItsThread) {
  auto mine = tovComPrtv3::create();
  const long before = ServerLifetime::objects();
  tovComPrtv3* theirs = nullptr;
  std::thread([&] {
    tovComPrtv3::create();  // held by the thread's gComponent alone
    theirs = gComponent().get();
  }).join();
  EXPECT_NE(theirs, nullptr);
  EXPECT_NE(theirs, mine.get());
  EXPECT_EQ(gComponent().get(), mine.get());
  EXPECT_EQ(ServerLifetime::objects(), before) << "the ended thread's instance was released with it";
}

TEST_F(Lifecycle, AnEndedThreadLetsGoOfItsInstanceAndItsLogObserver) {
  Ref<tovComPrtv3> kept;
  auto token = std::make_shared<int>(0);
  std::thread([&] {
    kept = tovComPrtv3::create();
    observeLog([token](const std::u16string&) {});
  }).join();
  ASSERT_TRUE(kept);
  EXPECT_EQ(kept->refCount(), 1u);   // only ours: the thread's gComponent let go
  EXPECT_EQ(token.use_count(), 1);  // and its observer is gone
}

TEST_F(Lifecycle, DebugprintAcceptsAnythingAndWritesNothing) {
  auto c = tovComPrtv3::create();
  std::vector<std::u16string> seen;
  observeLog([&](const std::u16string& t) { seen.push_back(t); });
  EXPECT_NO_THROW(callByName(*c, u"debugprint", {u"hello"}));
  EXPECT_NO_THROW(callByName(*c, u"DEBUGPRINT", {Variant(), u"file.txt"}));
  EXPECT_NO_THROW(callByName(*c, u"debugprint", {std::int16_t{5}}));
  observeLog({});
  EXPECT_EQ(seen, std::vector<std::u16string>{u"hello"});
}

TEST_F(Lifecycle, EventsReachEveryConnectedSinkByReference) {
  auto c = tovComPrtv3::create();
  auto first = testing::EventRecorder::connect(*c);
  auto second = testing::EventRecorder::connect(*c);
  second->handler = [](DISPID id, std::vector<Variant>& args) {
    if (id == 3) args[1].assign(Variant(u"changed by the host"));
  };
  std::int16_t port = 3;
  BStr name = u"BenQ-Siemens S65";
  VariantBool apn = VariantBool::True;
  DeviceType device = dtSiemens_S65;
  DeviceDetectionError error = dde_NoError;
  c->raiseDeviceDetected(port, name, apn, device, error);
  ASSERT_EQ(first->events.size(), 1u);
  EXPECT_EQ(first->events[0].port(), 3);
  EXPECT_EQ(first->events[0].device(), dtSiemens_S65);
  EXPECT_TRUE(first->events[0].apn());
  EXPECT_EQ(name, u"changed by the host");
  second->disconnect();
  c->raiseMsgTimeout();
  EXPECT_EQ(first->events.size(), 2u);
  EXPECT_EQ(second->events.size(), 1u);
  first->disconnect();
}

}  // namespace
}  // namespace tov
