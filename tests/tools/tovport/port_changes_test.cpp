// The watch's reading of the system's notices: bursts made one, and the ports that went and came
// between two scans.
#include <gtest/gtest.h>

#include "port_changes.h"

namespace tovport_cli {
namespace {

using std::chrono::milliseconds;

TEST(ComparePorts, GivesThePortsThatWentAndCame) {
  struct Case {
    const char* what;
    PortMap before, after;
    PortMap removed, added;
  };
  const Case cases[] = {
      {"nothing changed", {{1, "/dev/ttyS0"}}, {{1, "/dev/ttyS0"}}, {}, {}},
      {"one came, one went", {{1, "/dev/ttyS0"}, {3, "/dev/ttyUSB0"}}, {{1, "/dev/ttyS0"}, {4, "/dev/ttyUSB1"}},
       {{3, "/dev/ttyUSB0"}}, {{4, "/dev/ttyUSB1"}}},
      {"a number whose device changed", {{8, "\\Device\\VCP1"}}, {{8, "\\Device\\VCP2"}}, {{8, "\\Device\\VCP1"}},
       {{8, "\\Device\\VCP2"}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    const PortChanges changes = comparePorts(c.before, c.after);
    EXPECT_EQ(changes.removed, c.removed);
    EXPECT_EQ(changes.added, c.added);
  }
}

class DebounceTest : public ::testing::Test {
 protected:
  Debounce::Clock::time_point at(int ms) const { return start_ + milliseconds(ms); }
  Debounce debounce_{milliseconds(150), milliseconds(500)};

 private:
  Debounce::Clock::time_point start_ = Debounce::Clock::now();
};

TEST_F(DebounceTest, ABurstIsDueOnceAfterItsQuietTime) {
  EXPECT_FALSE(debounce_.due(at(0))) << "no notice, nothing due";
  EXPECT_EQ(debounce_.wait(at(0), milliseconds(1000)), milliseconds(1000));
  debounce_.notice(at(0));
  debounce_.notice(at(100));
  EXPECT_EQ(debounce_.wait(at(100), milliseconds(1000)), milliseconds(150));
  EXPECT_FALSE(debounce_.due(at(249)));
  EXPECT_TRUE(debounce_.due(at(250)));
  EXPECT_FALSE(debounce_.due(at(251))) << "the burst was taken";
  EXPECT_EQ(debounce_.wait(at(251), milliseconds(1000)), milliseconds(1000));
}

TEST_F(DebounceTest, ANoticeStreamIsDueAtItsLongestTime) {
  for (int ms = 0; ms < 500; ms += 100) debounce_.notice(at(ms));
  EXPECT_EQ(debounce_.wait(at(400), milliseconds(1000)), milliseconds(100));
  EXPECT_FALSE(debounce_.due(at(499)));
  EXPECT_TRUE(debounce_.due(at(500)));
  EXPECT_EQ(debounce_.wait(at(1000), milliseconds(1000)), milliseconds(1000));
  debounce_.notice(at(1000));
  EXPECT_EQ(debounce_.wait(at(1200), milliseconds(1000)), milliseconds(0)) << "overdue: no wait";
}

}  // namespace
}  // namespace tovport_cli
