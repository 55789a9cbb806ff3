// Worker threads that call a method back on the thread that started them, by name.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include <tovport/automation/dispatch.h>
#include <tovport/automation/dispatch_object.h>
#include <tovport/platform/message_queue.h>
#include "support/runtime_errors.h"
#include <tovport/threads/thread_control.h>
#include "threads/worker_thread.h"

namespace tov::threads {
namespace {

using namespace automation;
using namespace std::chrono_literals;
using testing::errorNumberOf;

// A target that records the calls its workers make.
class Probe final : public DispatchObject<Probe> {
 public:
  static const std::vector<MethodDesc<Probe>>& methods() {
    static const std::vector<MethodDesc<Probe>> table = {
        method<&Probe::Visit>("Visit", 1, {"Port"}),
        method<&Probe::Fail>("Fail", 2, {"Port"}),
    };
    return table;
  }

  void Visit(Variant& Port) {
    ports.push_back(toI2(Port));
    thread = std::this_thread::get_id();
    if (inside) inside(toI2(Port));
    Port = Variant(std::int16_t{99});
  }
  void Fail(Variant&) { throw RuntimeError(kErrSubscript); }

  std::vector<std::int16_t> ports;
  std::thread::id thread;  // of the last call
  std::function<void(std::int16_t)> inside;
};

// Real time, bounded: worker threads need a moment to post their calls.
bool eventually(const std::function<bool()>& condition) {
  for (int i = 0; i < 400; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(5ms);
  }
  return condition();
}

class ThreadControlTest : public ::testing::Test {
 protected:
  void TearDown() override {
    control_.reset();
    EXPECT_TRUE(allEnded()) << "workers left running";
  }

  // Starts worker <value> calling method(value) on the probe; the worker copies value.
  void start(std::int16_t& value, const char16_t* method) {
    BStr name = numberText(std::int64_t{value}), methodName = method;
    Ref<IDispatch> target(probe_.get());
    Variant argument = Variant::byRef(&value);
    control_->StartThread(name, target, methodName, argument);
  }
  void start(std::int16_t port) {
    std::int16_t value = port;
    start(value, u"Visit");
  }
  bool exists(const char16_t* name, ThreadControl* control = nullptr) {
    BStr n = name;
    return isTrue((control ? control : control_.get())->ThreadExists(n));
  }
  void kill(const char16_t* name) {
    BStr n = name;
    control_->KillThread(n);
  }
  // Pumps this thread's queue until n calls have reached the probe.
  bool pumpUntilCalls(std::size_t n) {
    return eventually([&] {
      platform::PumpMessages();
      return probe_->ports.size() >= n;
    });
  }
  static bool callQueued() { return eventually([] { return platform::MessageQueue::current()->hasWaiting(); }); }
  static bool allEnded() { return eventually([] { return runningWorkerCount() == 0; }); }

  Ref<Probe> probe_{new Probe()};
  Ref<ThreadControl> control_ = ThreadControl::create();
};

using ThreadControlCalls = ThreadControlTest;

TEST_F(ThreadControlCalls, TheCallRunsOnTheStartingThreadOnlyWhenItPumpsWithACopyOfTheArgument) {
  std::int16_t port = 7;
  start(port, u"vISIT");  // method names are matched without regard to case
  port = 6;
  ASSERT_TRUE(callQueued());
  EXPECT_TRUE(probe_->ports.empty());
  ASSERT_TRUE(pumpUntilCalls(1));
  EXPECT_EQ(probe_->ports, std::vector<std::int16_t>{7});
  EXPECT_EQ(probe_->thread, std::this_thread::get_id());
  EXPECT_EQ(port, 6) << "the callee's write-back went to the caller's variable";
}

TEST_F(ThreadControlCalls, EachStartReturnsWithItsCallQueuedSoCallsRunInStartingOrder) {
  for (std::int16_t port : {5, 3, 9, 1}) {
    start(port);
    EXPECT_TRUE(platform::MessageQueue::current()->hasWaiting()) << port;
  }
  platform::PumpMessages();
  EXPECT_EQ(probe_->ports, (std::vector<std::int16_t>{5, 3, 9, 1}));
}

TEST_F(ThreadControlCalls, AnErrorOfTheCallEndsTheWorkerAndStaysOutOfThePump) {
  std::int16_t port = 2;
  start(port, u"Fail");
  ASSERT_TRUE(callQueued());
  EXPECT_NO_THROW(platform::PumpMessages());
  EXPECT_TRUE(allEnded());
  EXPECT_TRUE(exists(u"2"));
}

using ThreadControlNames = ThreadControlTest;

TEST_F(ThreadControlNames, ANameIsKnownToItsControllerFromTheStartUntilItIsKilled) {
  EXPECT_FALSE(exists(u"4"));
  start(4);
  EXPECT_TRUE(exists(u"4"));
  auto other = ThreadControl::create();
  BStr name = u"4";
  other->KillThread(name);  // names belong to the controller that started them
  EXPECT_FALSE(exists(u"4", other.get()));
  ASSERT_TRUE(pumpUntilCalls(1));
  EXPECT_TRUE(exists(u"4")) << "a worker whose call has returned stays registered";
  kill(u"4");
  EXPECT_FALSE(exists(u"4"));
  kill(u"4");  // ending an unknown name does nothing
}

TEST_F(ThreadControlNames, ANameCannotBeStartedTwiceNorWithoutATarget) {
  start(8);
  EXPECT_EQ(errorNumberOf([&] { start(8); }), kErrInvalidCall);
  BStr name = u"11", methodName = u"Visit";
  Ref<IDispatch> nothing;
  Variant argument(std::int16_t{11});
  EXPECT_EQ(errorNumberOf([&] { control_->StartThread(name, nothing, methodName, argument); }), kErrObjectNotSet);
  EXPECT_FALSE(exists(u"11"));
  ASSERT_TRUE(pumpUntilCalls(1));
  EXPECT_EQ(probe_->ports.size(), 1u);
}

using ThreadControlEnding = ThreadControlTest;

TEST_F(ThreadControlEnding, AWorkerKilledWhileItsCallWaitsNeverCalls) {
  start(6);
  ASSERT_TRUE(callQueued());
  kill(u"6");
  EXPECT_TRUE(allEnded()) << "the waiting worker was not interrupted";
  platform::PumpMessages();
  EXPECT_TRUE(probe_->ports.empty());
  EXPECT_EQ(probe_->refCount(), 1u) << "the dropped call still holds the target";
}

TEST_F(ThreadControlEnding, AWorkerKilledInsideItsOwnCallEndsWithoutDeadlock) {
  probe_->inside = [&](std::int16_t port) {
    BStr name = numberText(std::int64_t{port});
    control_->KillThread(name);
    EXPECT_FALSE(isTrue(control_->ThreadExists(name)));
  };
  start(12);
  ASSERT_TRUE(pumpUntilCalls(1));
  EXPECT_TRUE(allEnded());
}

TEST_F(ThreadControlEnding, AWorkerWhoseTargetThreadEndsIsReleased) {
  std::thread apartment([&] {
    auto control = ThreadControl::create();
    BStr name = u"1", methodName = u"Visit";
    Ref<IDispatch> target(probe_.get());
    Variant argument(std::int16_t{1});
    control->StartThread(name, target, methodName, argument);
  });  // ends without ever pumping
  apartment.join();
  EXPECT_TRUE(allEnded());
  EXPECT_TRUE(probe_->ports.empty());
  EXPECT_TRUE(eventually([&] { return probe_->refCount() == 1u; }));
}

}  // namespace
}  // namespace tov::threads
