// KillThreads: the host's emergency stop of every worker, and the worker entry points.
#include <tovport/automation/dispatch.h>
#include "requests/request_support.h"
#include "requests/request_test.h"

namespace tov::testing {
namespace {

using namespace automation;

class KillThreads : public RequestTest {
 protected:
  void openByHost(std::int16_t port) {
    device(port);
    ASSERT_EQ(c_->VBCommOpen(port, u"COM" + numberText(std::int64_t{port}), u"baud=9600 parity=N data=8 stop=1"), 0);
  }
};

TEST_F(KillThreads, WithoutARequestNothingHappens) {
  c_->Worker.reset();
  openByHost(7);
  c_->KillThreads();
  EXPECT_TRUE(isTrue(c_->CommPorts(7).IsOpen)) << "no port is closed";
}

TEST_F(KillThreads, MidDetectionStopsTimersClosesPortsAndKeepsThePendingFlags) {
  listSerialPort(1);
  listSerialPort(3);
  auto& silent = device(1);
  device(3);
  openByHost(9);  // a port the host opened itself is closed as well
  c_->DetectAllDevices();
  ASSERT_TRUE(pumpUntil([&] { return c_->TimerIds(1) != 0 && c_->TimerIds(3) != 0; }));
  ASSERT_TRUE(silent.isOpen());

  c_->KillThreads();
  EXPECT_FALSE(c_->Worker);
  EXPECT_EQ(c_->TimerIds(1), 0);
  EXPECT_EQ(c_->TimerIds(3), 0);
  EXPECT_FALSE(silent.isOpen());
  EXPECT_FALSE(isTrue(c_->CommPorts(9).IsOpen));
  EXPECT_EQ(c_->IsPending(), VariantBool::True);
  EXPECT_TRUE(workersEnd());
  const std::size_t before = events_->events.size();
  pumpFor(10000);
  EXPECT_EQ(events_->events.size(), before) << "no outcome after the stop";
  c_->KillThreads();  // a second stop finds no controller
  for (auto& pending : c_->Pending) pending = VariantBool::False;
}

using WorkersEntry = RequestTest;

TEST_F(WorkersEntry, APortOutsideTheTableOnlyEndsTheWorkerOfThatName) {
  // The worker named 33 calls back with 33: its call ends itself and reports nothing.
  requests::startPortWorker(*c_, 33, requests::kPortTestEntry);
  ASSERT_TRUE(pumpUntil([&] { return !workerExists(33); }));
  EXPECT_TRUE(workersEnd());
  Variant zero(std::int16_t{0});
  EXPECT_NO_THROW(c_->VBclsDetectDevice(zero));  // no worker of that name: nothing at all
  EXPECT_TRUE(events_->events.empty());
}

TEST_F(WorkersEntry, APortWhoseWorkerExistsGetsNoSecondOne) {
  device(5);
  c_->Pending(5) = VariantBool::True;
  requests::startPortWorker(*c_, 5, requests::kPortTestEntry);
  EXPECT_NO_THROW(requests::startPortWorker(*c_, 5, requests::kPortTestEntry));
  ASSERT_TRUE(pumpUntil([&] { return endMarks() == 1; }));
  pumpFor();
  EXPECT_EQ(serial_.port(5).openCount(), 1);
  EXPECT_EQ(events_->events.size(), 2u);
}

TEST_F(WorkersEntry, ArgumentAndControllerErrors) {
  const std::tuple<const char16_t*, Variant, int> calls[] = {
      // No worker 2 is registered: the case-blind name reaches the method, which finds no object.
      {u"VBclsdetectDevice", Variant(u"2"), kErrObjectNotSet},
  };
  for (const auto& [method, argument, error] : calls)
    EXPECT_EQ(errorNumberOf([&] { callByName(*c_, method, {argument}); }), error) << toUtf8(method);
  c_->Worker.reset();
  Variant three(std::int16_t{3});
  EXPECT_EQ(errorNumberOf([&] { c_->VBclsPortTest(three); }), kErrObjectNotSet);
}

}  // namespace
}  // namespace tov::testing
