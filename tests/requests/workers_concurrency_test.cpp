// Requests with real worker threads on the real clock: a long run of requests that must neither
// leak nor stick.
#include <chrono>

#include "component/mod_public.h"
#include <tovport/platform/message_queue.h>
#include "requests/request_test.h"

namespace tov::testing {
namespace {

class WorkersConcurrency : public ::testing::Test {
 protected:
  void SetUp() override { serial_.port(1); }
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
