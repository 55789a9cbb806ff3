// A component taking requests on simulated ports and the manual clock: port kinds from the
// registry (or set straight into the port table), devices from the memory backend, and real
// worker threads whose calls arrive whenever they arrive.
#pragma once

#include <functional>

#include "detection/simulated_phone_test.h"
#include "support/runtime_errors.h"

namespace tov::testing {

class RequestTest : public SimulatedPhoneTest {
 protected:
  // Small steps: a worker whose call comes late in real time costs little manual time.
  RequestTest() { pumpStepMs_ = 100; }
  void TearDown() override;

  bool pumpUntilEndMark() { return pumpUntil([this] { return endMarks() > 0; }); }

  // DeviceDetected with dde_NoMoreDevices and PortAvailable with pa_NoMorePorts.
  std::size_t endMarks() const;
  // The port table as a request without refresh reads it, without running discovery.
  static void setKinds(std::initializer_list<std::pair<int, ComPortType>> kinds);
  bool workerExists(std::int16_t port);
  std::string describeAll() const;
  // Ports of the dde_CouldNotOpenPort outcomes in order, and the ports 1..32 but the given ones.
  std::vector<std::int16_t> untestedPorts() const;
  static std::vector<std::int16_t> allBut(std::initializer_list<std::int16_t> tested);
};

// Waits in real time (bounded) for every worker thread of the process to end.
bool workersEnd();
// Whether the first 32 events name each port 1..32 once.
bool eachPortOnce(const std::vector<RecordedEvent>& events);

}  // namespace tov::testing
