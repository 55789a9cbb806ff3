// A thread's state: one object per thread, ended on that thread when it ends, the latest made
// first and before its message queue closes, with its memory intact (a `thread_local` object with
// a destructor breaks that under mingw-w64, where it would be destroyed after its storage was
// freed; the Windows stage fills freed memory, so that shows as a wrong value).
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <tovport/platform/message_queue.h>
#include "platform/thread_state.h"

namespace tov::platform {
namespace {

constexpr std::uint64_t kIntact = 0x5EED5EED5EED5EEDull;

// What the parts' destructors saw, in the order they ran.
struct Ending {
  std::string part;
  std::thread::id thread;
  bool intact = false;
  bool queueOpen = false;  // a call could still be posted to the ending thread
};
std::vector<Ending>* endings = nullptr;

template <int N>
struct Part {
  std::uint64_t guard = kIntact;  // freed storage would show here
  ~Part() {
    if (!endings) return;
    const bool open = MessageQueue::current()->post([] {});
    endings->push_back({"part " + std::to_string(N), std::this_thread::get_id(), guard == kIntact, open});
  }
};

// Makes Part<2> while it ends.
struct LateMaker {
  ~LateMaker() {
    if (endings) threadState<Part<2>>().guard = kIntact;
  }
};

class ThreadStateTest : public ::testing::Test {
 protected:
  void SetUp() override { endings = &seen_; }
  void TearDown() override { endings = nullptr; }
  std::vector<Ending> seen_;
};

TEST_F(ThreadStateTest, EachThreadHasItsOwnValueInitializedObject) {
  int& mine = threadState<int>();
  EXPECT_EQ(mine, 0);
  mine = 7;
  EXPECT_EQ(&threadState<int>(), &mine);
  int theirs = -1;
  const int* theirAddress = nullptr;
  std::thread([&] {
    theirs = threadState<int>();
    theirAddress = &threadState<int>();
  }).join();
  EXPECT_EQ(theirs, 0);
  EXPECT_NE(theirAddress, &mine);
  EXPECT_EQ(threadState<int>(), 7);
  threadState<int>() = 0;
}

TEST_F(ThreadStateTest, AnEndingThreadEndsItsPartsOnItselfLatestFirstWhileItsQueueIsOpen) {
  std::thread::id worker;
  std::shared_ptr<MessageQueue> queue;
  std::thread([&] {
    worker = std::this_thread::get_id();
    threadState<Part<0>>();
    queue = MessageQueue::current();
    threadState<Part<1>>();
    EXPECT_TRUE(seen_.empty());
  }).join();
  ASSERT_EQ(seen_.size(), 2u);
  EXPECT_EQ(seen_[0].part, "part 1");
  EXPECT_EQ(seen_[1].part, "part 0");
  for (const Ending& e : seen_) {
    EXPECT_EQ(e.thread, worker) << e.part;
    EXPECT_TRUE(e.intact) << e.part;
    EXPECT_TRUE(e.queueOpen) << e.part;
  }
  EXPECT_FALSE(queue->post([] {}));  // and then the queue closed
}

TEST_F(ThreadStateTest, APartMadeWhileTheThreadEndsEndsToo) {
  std::thread([] { threadState<LateMaker>(); }).join();
  ASSERT_EQ(seen_.size(), 1u);
  EXPECT_EQ(seen_[0].part, "part 2");
  EXPECT_TRUE(seen_[0].intact);
}

TEST_F(ThreadStateTest, ManyShortThreadsEachEndTheirStateIntact) {
  for (int i = 0; i < 50; ++i)
    std::thread([] {
      threadState<Part<3>>();
      threadState<Part<4>>();
    }).join();
  ASSERT_EQ(seen_.size(), 100u);
  for (const Ending& e : seen_) EXPECT_TRUE(e.intact) << e.part;
}

}  // namespace
}  // namespace tov::platform
