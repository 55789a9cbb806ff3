#include "requests/request_test.h"

#include <chrono>
#include <thread>

#include "automation/convert.h"
#include "discovery/port_table.h"
#include "platform/message_queue.h"
#include "threads/worker_thread.h"
#include "support/runtime_errors.h"

namespace tov::testing {

void RequestTest::TearDown() {
  c_->KillThreads();
  platform::PumpMessages();  // drops the calls of ended workers, with their references
  EXPECT_TRUE(workersEnd()) << "worker threads left running";
  SimulatedPhoneTest::TearDown();
}

bool RequestTest::pump(const std::function<bool()>& done, std::int64_t boundMs) {
  const std::int64_t end = now() + boundMs;
  auto queue = platform::MessageQueue::current();
  while (!done() && now() < end) {
    queue->wait(static_cast<std::uint32_t>(std::min<std::int64_t>(100, end - now())));
    platform::PumpMessages();
  }
  return done();
}

std::size_t RequestTest::endMarks() const {
  std::size_t n = 0;
  for (const auto& e : events_->events)
    if ((e.id == 3 && e.error() == dde_NoMoreDevices) || (e.id == 4 && e.available() == pa_NoMorePorts)) ++n;
  return n;
}

void RequestTest::setKinds(std::initializer_list<std::pair<int, ComPortType>> kinds) {
  discovery::PortTable() = PortTableOf<ComPortType>{};
  for (auto [port, kind] : kinds) discovery::PortTable()(port) = kind;
  discovery::PortTableFilled() = true;
}

bool RequestTest::workerExists(std::int16_t port) {
  if (!c_->Worker) return false;
  BStr name = automation::numberText(std::int64_t{port});
  return isTrue(c_->Worker->ThreadExists(name));
}

std::string RequestTest::describeAll() const {
  std::string all;
  for (const auto& e : events_->events) all += e.describe() + "\n";
  return all;
}


bool workersEnd() {
  for (int i = 0; i < 400 && threads::runningWorkerCount() != 0; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return threads::runningWorkerCount() == 0;
}

}  // namespace tov::testing
