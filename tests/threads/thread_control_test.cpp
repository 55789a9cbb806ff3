#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>

#include "automation/dispatch.h"
#include "automation/dispatch_object.h"
#include "platform/message_queue.h"
#include "threads/thread_control.h"
#include "threads/worker_thread.h"

namespace tov::threads {
namespace {

using namespace automation;
using namespace std::chrono_literals;

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
    threadsSeen.push_back(std::this_thread::get_id());
    if (inside) inside(toI2(Port));
    Port = Variant(std::int16_t{99});
  }
  void Fail(Variant&) { throw RuntimeError(kErrSubscript); }

  std::vector<std::int16_t> ports;
  std::vector<std::thread::id> threadsSeen;
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
    EXPECT_TRUE(eventually([] { return runningWorkerCount() == 0; })) << "workers left running";
  }

  void start(std::int16_t port, const char16_t* method = u"Visit") {
    BStr name = numberText(std::int64_t{port});
    Ref<IDispatch> target(probe_.get());
    BStr methodName = method;
    std::int16_t value = port;
    Variant argument = Variant::byRef(&value);
    control_->StartThread(name, target, methodName, argument);
  }
  VariantBool exists(const char16_t* name) {
    BStr n = name;
    return control_->ThreadExists(n);
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
  bool callQueued() { return eventually([] { return platform::MessageQueue::current()->hasWaiting(); }); }

  Ref<Probe> probe_{new Probe()};
  Ref<ThreadControl> control_ = ThreadControl::create();
};

using ThreadControlCalls = ThreadControlTest;

TEST_F(ThreadControlCalls, TheCallRunsOnTheStartingThreadAndOnlyWhenItPumps) {
  start(7);
  ASSERT_TRUE(callQueued());
  EXPECT_TRUE(probe_->ports.empty());
  ASSERT_TRUE(pumpUntilCalls(1));
  EXPECT_EQ(probe_->ports, std::vector<std::int16_t>{7});
  EXPECT_EQ(probe_->threadsSeen[0], std::this_thread::get_id());
}

TEST_F(ThreadControlCalls, TheMethodNameIsMatchedWithoutRegardToCase) {
  start(3, u"vISIT");
  ASSERT_TRUE(pumpUntilCalls(1));
  EXPECT_EQ(probe_->ports[0], 3);
}

TEST_F(ThreadControlCalls, TheWorkerPassesItsOwnCopyOfTheArgument) {
  BStr name = u"5";
  Ref<IDispatch> target(probe_.get());
  BStr methodName = u"Visit";
  std::int16_t port = 5;
  Variant argument = Variant::byRef(&port);
  control_->StartThread(name, target, methodName, argument);
  port = 6;  // the worker copied the value when it was started
  ASSERT_TRUE(pumpUntilCalls(1));
  EXPECT_EQ(probe_->ports[0], 5);
  EXPECT_EQ(port, 6) << "the callee's write-back went to the caller's variable";
}

TEST_F(ThreadControlCalls, AnErrorOfTheCallEndsTheWorkerAndStaysOutOfThePump) {
  start(2, u"Fail");
  ASSERT_TRUE(callQueued());
  EXPECT_NO_THROW(platform::PumpMessages());
  EXPECT_TRUE(eventually([] { return runningWorkerCount() == 0; }));
  EXPECT_TRUE(isTrue(exists(u"2")));
}

TEST_F(ThreadControlCalls, ManyWorkersCallOnceEach) {
  for (std::int16_t p = 1; p <= 32; ++p) start(p);
  ASSERT_TRUE(pumpUntilCalls(32));
  std::vector<std::int16_t> ports = probe_->ports;
  std::sort(ports.begin(), ports.end());
  for (std::int16_t p = 1; p <= 32; ++p) EXPECT_EQ(ports[static_cast<std::size_t>(p - 1)], p);
  EXPECT_TRUE(eventually([] { return runningWorkerCount() == 0; }));
}

using ThreadControlNames = ThreadControlTest;

TEST_F(ThreadControlNames, ANameIsKnownFromTheStartUntilItIsKilled) {
  EXPECT_FALSE(isTrue(exists(u"4")));
  start(4);
  EXPECT_TRUE(isTrue(exists(u"4")));
  ASSERT_TRUE(pumpUntilCalls(1));
  EXPECT_TRUE(isTrue(exists(u"4"))) << "a worker whose call has returned stays registered";
  kill(u"4");
  EXPECT_FALSE(isTrue(exists(u"4")));
  kill(u"4");  // ending an unknown name does nothing
}

TEST_F(ThreadControlNames, ThreadObjectIsTheTargetWhileTheCallIsOutstanding) {
  IDispatch* seenInside = nullptr;
  probe_->inside = [&](std::int16_t) {
    BStr name = u"9";
    seenInside = control_->ThreadObject(name).get();
  };
  start(9);
  BStr name = u"9";
  EXPECT_EQ(control_->ThreadObject(name).get(), static_cast<IDispatch*>(probe_.get()));
  ASSERT_TRUE(pumpUntilCalls(1));
  EXPECT_EQ(seenInside, static_cast<IDispatch*>(probe_.get()));
  EXPECT_FALSE(control_->ThreadObject(name)) << "a finished worker keeps no reference to its target";
  BStr unknown = u"10";
  EXPECT_FALSE(control_->ThreadObject(unknown));
}

TEST_F(ThreadControlNames, NamesBelongToTheControllerThatStartedThem) {
  start(1);
  auto other = ThreadControl::create();
  BStr name = u"1";
  EXPECT_FALSE(isTrue(other->ThreadExists(name)));
  other->KillThread(name);
  EXPECT_TRUE(isTrue(exists(u"1")));
  ASSERT_TRUE(pumpUntilCalls(1));
}

TEST_F(ThreadControlNames, ANameCannotBeStartedTwiceNorWithoutATarget) {
  start(8);
  try {
    start(8);
    FAIL() << "second start accepted";
  } catch (const RuntimeError& e) {
    EXPECT_EQ(e.number(), kErrInvalidCall);
  }
  BStr name = u"11", methodName = u"Visit";
  Ref<IDispatch> nothing;
  Variant argument(std::int16_t{11});
  try {
    control_->StartThread(name, nothing, methodName, argument);
    FAIL() << "started without a target";
  } catch (const RuntimeError& e) {
    EXPECT_EQ(e.number(), kErrObjectNotSet);
  }
  EXPECT_FALSE(isTrue(exists(u"11")));
  ASSERT_TRUE(pumpUntilCalls(1));
  EXPECT_EQ(probe_->ports.size(), 1u);
}

using ThreadControlEnding = ThreadControlTest;

TEST_F(ThreadControlEnding, AWorkerKilledBeforeItsCallRunsNeverCalls) {
  start(6);
  ASSERT_TRUE(callQueued());
  kill(u"6");
  EXPECT_TRUE(eventually([] { return runningWorkerCount() == 0; })) << "the waiting worker was not interrupted";
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
  EXPECT_TRUE(eventually([] { return runningWorkerCount() == 0; }));
}

TEST_F(ThreadControlEnding, ReleasingTheControllerInsideACallEndsTheOtherWorkers) {
  probe_->inside = [&](std::int16_t) { control_.reset(); };
  start(1);
  start(2);
  ASSERT_TRUE(pumpUntilCalls(1));
  EXPECT_TRUE(eventually([] { return runningWorkerCount() == 0; }));
  platform::PumpMessages();
  EXPECT_EQ(probe_->ports.size(), 1u);
}

TEST_F(ThreadControlEnding, DestroyingTheControllerDropsTheCallsNotYetRun) {
  for (std::int16_t p = 1; p <= 3; ++p) start(p);
  ASSERT_TRUE(callQueued());
  control_.reset();
  EXPECT_TRUE(eventually([] { return runningWorkerCount() == 0; }));
  platform::PumpMessages();
  EXPECT_TRUE(probe_->ports.empty());
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
  EXPECT_TRUE(eventually([] { return runningWorkerCount() == 0; }));
  EXPECT_TRUE(probe_->ports.empty());
  EXPECT_TRUE(eventually([&] { return probe_->refCount() == 1u; }));
}

}  // namespace
}  // namespace tov::threads
