// PortTest and TestAllPorts: can a port be opened, whatever its kind.
#include "requests/request_test.h"

namespace tov::testing {
namespace {

using RequestPortTest = RequestTest;

TEST_F(RequestPortTest, AFreePortIsAvailableAMissingOneIsNot) {
  auto& free = device(6);
  serial_.port(2).setPresent(false);
  setKinds({{2, cptSerial}});  // the kind plays no part
  for (auto [port, answer] : {std::pair<std::int16_t, const char*>{6, "PortAvailable(6, 0)"}, {2, "PortAvailable(2, 1)"}}) {
    events_->events.clear();
    EXPECT_EQ(c_->PortTest(port), VariantBool::True);
    EXPECT_EQ(c_->Pending(port), VariantBool::True);
    ASSERT_TRUE(pumpUntilEndMark());
    pumpFor();
    ASSERT_EQ(events_->events.size(), 2u);
    EXPECT_EQ(events_->events[0].describe(), answer);
    EXPECT_EQ(events_->events[1].describe(), "PortAvailable(" + std::to_string(port) + ", 2)");
    EXPECT_FALSE(workerExists(port));
    EXPECT_EQ(c_->IsPending(), VariantBool::False);
  }
  EXPECT_EQ(free.openCount(), 1);
  EXPECT_FALSE(free.isOpen());
}

TEST_F(RequestPortTest, TestAllPortsTestsEveryPortIncludingMissingOnes) {
  for (int p = 1; p <= 32; ++p) serial_.port(p).setPresent(p % 2 == 0);
  EXPECT_EQ(c_->TestAllPorts(), VariantBool::True);
  EXPECT_TRUE(events_->events.empty());
  for (std::int16_t p = 1; p <= 32; ++p) EXPECT_TRUE(workerExists(p));
  ASSERT_TRUE(pumpUntilEndMark());
  pumpFor();
  ASSERT_EQ(events_->events.size(), 33u);
  EXPECT_TRUE(eachPortOnce(events_->events)) << describeAll();
  for (std::size_t i = 0; i < 32; ++i) {
    const auto& e = events_->events[i];
    EXPECT_EQ(e.available(), e.port() % 2 == 0 ? pa_Available : pa_NotAvailable) << e.describe();
  }
  EXPECT_EQ(events_->events[32].available(), pa_NoMorePorts);
  EXPECT_EQ(c_->IsPending(), VariantBool::False);
}

}  // namespace
}  // namespace tov::testing
