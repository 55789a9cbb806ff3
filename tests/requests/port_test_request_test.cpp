// PortTest and TestAllPorts: can a port be opened, whatever its kind.
#include "requests/request_test.h"

namespace tov::testing {
namespace {

using RequestPortTest = RequestTest;

TEST_F(RequestPortTest, AFreePortIsAvailableThenTheEndMark) {
  auto& port = device(6);
  EXPECT_EQ(c_->PortTest(6), VariantBool::True);
  EXPECT_EQ(c_->Pending(6), VariantBool::True);
  ASSERT_TRUE(pumpUntilEndMark());
  pumpAWhile();
  ASSERT_EQ(events_->events.size(), 2u);
  EXPECT_EQ(events_->events[0].describe(), "PortAvailable(6, 0)");
  EXPECT_EQ(events_->events[1].describe(), "PortAvailable(6, 2)");
  EXPECT_EQ(port.openCount(), 1);
  EXPECT_FALSE(port.isOpen());
  EXPECT_FALSE(workerExists(6));
  EXPECT_EQ(c_->IsPending(), VariantBool::False);
}

TEST_F(RequestPortTest, AMissingPortIsNotAvailable) {
  serial_.port(2).setPresent(false);
  setKinds({{2, cptSerial}});  // the kind plays no part
  c_->PortTest(2);
  ASSERT_TRUE(pumpUntilEndMark());
  ASSERT_EQ(events_->events.size(), 2u);
  EXPECT_EQ(events_->events[0].describe(), "PortAvailable(2, 1)");
}

TEST_F(RequestPortTest, RefusedOutsideTheTableAndWhilePending) {
  for (std::int16_t port : {0, 33}) {
    events_->events.clear();
    EXPECT_EQ(c_->PortTest(port), VariantBool::False);
    ASSERT_EQ(events_->events.size(), 1u);
    EXPECT_EQ(events_->events[0].describe(), "PortAvailable(" + std::to_string(port) + ", 3)");
  }
  c_->Pending(1) = VariantBool::True;
  events_->events.clear();
  EXPECT_EQ(c_->PortTest(5), VariantBool::False);
  EXPECT_EQ(events_->events[0].describe(), "PortAvailable(5, 3)");
  EXPECT_EQ(c_->Pending(5), VariantBool::False);
  c_->Pending(1) = VariantBool::False;
}

using RequestTestAllPorts = RequestTest;

TEST_F(RequestTestAllPorts, EveryPortIsTestedIncludingMissingOnes) {
  for (int p = 1; p <= 32; ++p) serial_.port(p).setPresent(p % 2 == 0);
  EXPECT_EQ(c_->TestAllPorts(), VariantBool::True);
  EXPECT_TRUE(events_->events.empty());
  for (std::int16_t p = 1; p <= 32; ++p) EXPECT_TRUE(workerExists(p));
  ASSERT_TRUE(pumpUntilEndMark());
  pumpAWhile();
  ASSERT_EQ(events_->events.size(), 33u);
  std::vector<int> seen(33, 0);
  for (std::size_t i = 0; i < 32; ++i) {
    const auto& e = events_->events[i];
    ++seen[static_cast<std::size_t>(e.port())];
    EXPECT_EQ(e.available(), e.port() % 2 == 0 ? pa_Available : pa_NotAvailable) << e.describe();
  }
  EXPECT_EQ(std::count(seen.begin() + 1, seen.end(), 1), 32);
  EXPECT_EQ(events_->events[32].available(), pa_NoMorePorts);
  EXPECT_EQ(c_->IsPending(), VariantBool::False);
}

TEST_F(RequestTestAllPorts, RefusedWhilePendingWithPortOne) {
  c_->Pending(9) = VariantBool::True;
  EXPECT_EQ(c_->TestAllPorts(), VariantBool::False);
  ASSERT_EQ(events_->events.size(), 1u);
  EXPECT_EQ(events_->events[0].describe(), "PortAvailable(1, 3)");
  EXPECT_EQ(c_->Pending(1), VariantBool::False);
  c_->Pending(9) = VariantBool::False;
}

}  // namespace
}  // namespace tov::testing
