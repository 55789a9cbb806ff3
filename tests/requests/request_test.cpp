#include "requests/request_test.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include <tovport/automation/convert.h>
#include "discovery/port_table.h"
#include <tovport/platform/message_queue.h>
#include "threads/worker_thread.h"

namespace tov::testing {

void RequestTest::TearDown() {
  c_->KillThreads();
  platform::PumpMessages();  // drops the calls of ended workers, with their references
  EXPECT_TRUE(workersEnd()) << "worker threads left running";
  SimulatedPhoneTest::TearDown();
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

std::vector<std::int16_t> RequestTest::untestedPorts() const {
  std::vector<std::int16_t> ports;
  for (const auto& e : events_->events)
    if (e.id == 3 && e.error() == dde_CouldNotOpenPort) ports.push_back(e.port());
  return ports;
}

std::vector<std::int16_t> RequestTest::allBut(std::initializer_list<std::int16_t> tested) {
  std::vector<std::int16_t> ports;
  for (std::int16_t p = 1; p <= MaxPorts; ++p)
    if (std::find(tested.begin(), tested.end(), p) == tested.end()) ports.push_back(p);
  return ports;
}

bool workersEnd() {
  for (int i = 0; i < 400 && threads::runningWorkerCount() != 0; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return threads::runningWorkerCount() == 0;
}

bool eachPortOnce(const std::vector<RecordedEvent>& events) {
  std::vector<int> seen(MaxPorts + 1, 0);
  for (std::size_t i = 0; i < MaxPorts && i < events.size(); ++i) {
    const int port = events[i].port();
    if (port >= 1 && port <= MaxPorts) ++seen[static_cast<std::size_t>(port)];
  }
  return std::count(seen.begin() + 1, seen.end(), 1) == MaxPorts;
}

}  // namespace tov::testing
