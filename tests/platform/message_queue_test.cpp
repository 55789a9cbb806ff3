#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "platform/clock.h"
#include <tovport/platform/message_queue.h>

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
  std::shared_ptr<MessageQueue> queue = MessageQueue::current();
};

TEST_F(MessageQueueTest, PostedCallsRunInOrderOnlyWhenTheOwnerPumps) {
  std::vector<int> order;
  std::thread([&] {
    queue->post([&] {
      order.push_back(1);
      queue->post([&] { order.push_back(3); });  // arrives during the pump: waits for the next
    });
    queue->post([&] { order.push_back(2); });
  }).join();
  EXPECT_TRUE(order.empty());
  EXPECT_TRUE(queue->hasWaiting());
  PumpMessages();
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
  PumpMessages();
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
  EXPECT_FALSE(queue->hasWaiting());
}

TEST_F(MessageQueueTest, TimersTickOnTheOwnersPumpAfterTheirPeriod) {
  const UINT_PTR id = SetTimer(0, 0, 100, recordTick);
  const UINT_PTR clamped = SetTimer(0, 0, 0, recordTick);  // to USER_TIMER_MINIMUM
  const UINT_PTR longest = SetTimer(0, 0, static_cast<UINT>(-200), recordTick);  // to USER_TIMER_MAXIMUM
  EXPECT_EQ(std::set<UINT_PTR>({0, id, clamped, longest}).size(), 4u);  // fresh ids, never 0
  EXPECT_EQ(SetTimer(7, 1, 100, recordTick), 0u);  // windows are not supported
  clock_.advance(USER_TIMER_MINIMUM);
  PumpMessages();
  EXPECT_EQ(ticks, std::vector<UINT_PTR>{clamped});
  KillTimer(0, clamped);
  clock_.advance(99 - USER_TIMER_MINIMUM);
  PumpMessages();
  EXPECT_EQ(ticks.size(), 1u);
  clock_.advance(1);
  PumpMessages();
  EXPECT_EQ(ticks, (std::vector<UINT_PTR>{clamped, id}));
  clock_.advance(350);  // three missed periods coalesce into one tick ...
  PumpMessages();
  PumpMessages();
  EXPECT_EQ(ticks.size(), 3u);
  clock_.advance(99);  // ... and the next comes one period after the one delivered
  PumpMessages();
  EXPECT_EQ(ticks.size(), 3u);
  clock_.advance(1);
  PumpMessages();
  EXPECT_EQ(ticks.size(), 4u);
  EXPECT_EQ(KillTimer(0, id), TRUE);
  EXPECT_EQ(KillTimer(0, id), FALSE);
  clock_.advance(1000);
  PumpMessages();
  EXPECT_EQ(ticks.size(), 4u);
  KillTimer(0, longest);
}

TEST_F(MessageQueueTest, WaitMovesManualTimeToTheNextTick) {
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
  std::shared_ptr<MessageQueue> ended;
  std::thread([&] { ended = MessageQueue::current(); }).join();
  auto token = std::make_shared<int>(1);
  EXPECT_FALSE(ended->post([token] {}));
  EXPECT_EQ(token.use_count(), 1);  // the refused call was dropped at once
}

}  // namespace
}  // namespace tov::platform
