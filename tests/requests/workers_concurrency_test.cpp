// Requests with real worker threads on the real clock: many workers at once, a stop in the
// middle, and a long run of requests that must neither leak nor stick.
#include <chrono>

#include "component/mod_public.h"
#include <tovport/platform/message_queue.h>
#include "requests/request_test.h"

namespace tov::testing {
namespace {

class WorkersConcurrency : public ::testing::Test {
 protected:
  void SetUp() override {
    for (int p = 1; p <= MaxPorts; ++p) serial_.port(p);  // 32 present, free ports
  }
  void TearDown() override {
    c_->KillThreads();
    platform::PumpMessages();
    events_->disconnect();
    EXPECT_TRUE(workersEnd());
    gComponent().reset();
  }

  // Pumps until done() holds, for at most boundMs of real time.
  static bool pumpUntil(const std::function<bool()>& done, std::int64_t boundMs = 3000) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(boundMs);
    while (!done() && std::chrono::steady_clock::now() < end) {
      platform::MessageQueue::current()->wait(20);
      platform::PumpMessages();
    }
    return done();
  }
  bool pumpUntilEndMark() { return pumpUntil([this] { return endMarkSeen(); }); }
  bool endMarkSeen() const {
    return !events_->events.empty() && events_->events.back().id == 4 &&
           events_->events.back().available() == pa_NoMorePorts;
  }

  platform::MemorySerialBackend serial_;
  platform::ScopedSerialBackend serialScope_{serial_};
  automation::Ref<tovComPrtv3> c_ = tovComPrtv3::create();
  automation::Ref<EventRecorder> events_ = EventRecorder::connect(*c_);
};

TEST_F(WorkersConcurrency, AStopInTheMiddleLeavesTheRequestPendingAndRefusesTheNext) {
  c_->TestAllPorts();
  // Stop as soon as some ports have reported and others have not.
  events_->handler = [&](automation::DISPID, std::vector<Variant>&) {
    if (events_->events.size() == 3) c_->KillThreads();
  };
  ASSERT_TRUE(pumpUntil([&] { return !c_->Worker; }));
  EXPECT_TRUE(workersEnd());
  // Calls already under way when the stop came (further out on the stack) have reported by now.
  const std::size_t reported = events_->events.size();
  pumpUntil([] { return false; }, 50);
  EXPECT_EQ(events_->events.size(), reported) << "nothing reports after the stop";
  EXPECT_LT(reported, 32u);
  EXPECT_FALSE(endMarkSeen());
  EXPECT_EQ(c_->IsPending(), VariantBool::True);
  events_->events.clear();
  EXPECT_EQ(c_->TestAllPorts(), VariantBool::False);
  EXPECT_EQ(events_->events[0].describe(), "PortAvailable(1, 3)");
}

TEST_F(WorkersConcurrency, AThousandRequestsInARowLeakNothingAndNeverStick) {
  const long objectsBefore = automation::ServerLifetime::objects();
  for (int i = 0; i < 1000; ++i) {
    events_->events.clear();
    ASSERT_EQ(c_->PortTest(1), VariantBool::True) << "request " << i;
    ASSERT_TRUE(pumpUntilEndMark()) << "request " << i << " stuck";
    ASSERT_EQ(events_->events.size(), 2u);
  }
  EXPECT_TRUE(workersEnd());
  EXPECT_EQ(serial_.port(1).openCount(), 1000);
  // Of all the controllers, only the last request's is still held.
  EXPECT_EQ(automation::ServerLifetime::objects(), objectsBefore + 1);
  EXPECT_EQ(c_->refCount(), 2u) << "something still holds the component";
}

}  // namespace
}  // namespace tov::testing
