#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "platform/clock.h"
#include "platform/message_queue.h"

namespace tov::platform {
namespace {

std::vector<UINT_PTR> ticks;
void recordTick(HWND, UINT message, UINT_PTR id, DWORD) {
  EXPECT_EQ(message, WM_TIMER);
  ticks.push_back(id);
}

class MessageQueueTest : public ::testing::Test {
 protected:
  void SetUp() override { ticks.clear(); }
  ManualClock clock_;
  ScopedClock scope_{clock_};
};

TEST_F(MessageQueueTest, PostedCallsRunOnlyWhenTheOwnerPumps) {
  auto queue = MessageQueue::current();
  std::atomic<int> ran{0};
  std::thread([&] { queue->post([&] { ++ran; }); }).join();
  EXPECT_EQ(ran, 0);
  EXPECT_TRUE(queue->hasWaiting());
  PumpMessages();
  EXPECT_EQ(ran, 1);
  EXPECT_FALSE(queue->hasWaiting());
}

TEST_F(MessageQueueTest, APumpHandlesWhatWasWaitingAndLeavesNewArrivalsForTheNext) {
  auto queue = MessageQueue::current();
  std::vector<int> order;
  queue->post([&] {
    order.push_back(1);
    queue->post([&] { order.push_back(3); });
  });
  queue->post([&] { order.push_back(2); });
  PumpMessages();
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
  PumpMessages();
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST_F(MessageQueueTest, TimersTickOnTheOwnersPumpAfterTheirPeriod) {
  const UINT_PTR id = SetTimer(0, 0, 100, recordTick);
  ASSERT_NE(id, 0u);
  PumpMessages();
  EXPECT_TRUE(ticks.empty());
  clock_.advance(99);
  PumpMessages();
  EXPECT_TRUE(ticks.empty());
  clock_.advance(1);
  PumpMessages();
  EXPECT_EQ(ticks, std::vector<UINT_PTR>{id});
  clock_.advance(350);  // missed periods coalesce into one tick
  PumpMessages();
  EXPECT_EQ(ticks.size(), 2u);
  EXPECT_EQ(KillTimer(0, id), TRUE);
  EXPECT_EQ(KillTimer(0, id), FALSE);
  clock_.advance(1000);
  PumpMessages();
  EXPECT_EQ(ticks.size(), 2u);
}

TEST_F(MessageQueueTest, TimerIdsAreFreshAndPeriodsAreClamped) {
  const UINT_PTR a = SetTimer(0, 5, 0, recordTick);
  const UINT_PTR b = SetTimer(0, 5, static_cast<UINT>(-200), recordTick);
  EXPECT_NE(a, b);
  EXPECT_EQ(SetTimer(7, 1, 100, recordTick), 0u);  // windows are not supported
  clock_.advance(USER_TIMER_MINIMUM);
  PumpMessages();
  EXPECT_EQ(ticks, std::vector<UINT_PTR>{a});
  KillTimer(0, a);
  KillTimer(0, b);
}

TEST_F(MessageQueueTest, WaitMovesManualTimeToTheNextTick) {
  auto queue = MessageQueue::current();
  const UINT_PTR id = SetTimer(0, 0, 300, recordTick);
  const auto start = clock_.monotonicMs();
  EXPECT_TRUE(queue->wait(1000));
  EXPECT_EQ(clock_.monotonicMs() - start, 300);
  PumpMessages();
  EXPECT_EQ(ticks.size(), 1u);
  KillTimer(0, id);
  EXPECT_FALSE(queue->wait(50));
  EXPECT_EQ(clock_.monotonicMs() - start, 350);
}

TEST_F(MessageQueueTest, PostsToAnEndedThreadAreRefused) {
  std::shared_ptr<MessageQueue> queue;
  std::thread([&] { queue = MessageQueue::current(); }).join();
  auto token = std::make_shared<int>(1);
  EXPECT_FALSE(queue->post([token] {}));
  EXPECT_EQ(token.use_count(), 1);  // the refused call was dropped at once
}

}  // namespace
}  // namespace tov::platform
