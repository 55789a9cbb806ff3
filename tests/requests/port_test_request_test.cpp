// PortTest and TestAllPorts: can a port be opened, whatever its kind.
#include "requests/request_test.h"

namespace tov::testing {
namespace {

using RequestPortTest = RequestTest;

TEST_F(RequestPortTest, APortIsPendingUntilItsWorkerReports) {
  auto& port = device(6);
  EXPECT_EQ(c_->PortTest(6), VariantBool::True);
  EXPECT_EQ(c_->Pending(6), VariantBool::True);
  EXPECT_TRUE(workerExists(6));
  ASSERT_TRUE(pumpUntilEndMark());
  pumpFor();
  EXPECT_EQ(describeAll(), "PortAvailable(6, 0)\nPortAvailable(6, 2)\n");
  EXPECT_EQ(port.openCount(), 1);
  EXPECT_FALSE(port.isOpen());
  EXPECT_FALSE(workerExists(6));
  EXPECT_EQ(c_->IsPending(), VariantBool::False);
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
