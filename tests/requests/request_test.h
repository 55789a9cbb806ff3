// A component taking requests on simulated ports and the manual clock: port kinds from the
// registry (or set straight into the port table), devices from the memory backend, and real
// worker threads whose calls arrive whenever they arrive.
#pragma once

#include <functional>

#include "detection/simulated_phone_test.h"
#include "support/runtime_errors.h"

namespace tov::testing {

inline const PhoneScript kS65Phone{{{"AT+CGMI\r", {kSiemensAnswer}}, {"AT+CGMM\r", {"\r\nS65\r\n\r\nOK\r\n"}}}};

class RequestTest : public SimulatedPhoneTest {
 protected:
  void TearDown() override;

  // Pumps in steps of at most 100 ms of manual time, so that a worker whose call comes late
  // costs little simulated time; returns done().
  bool pump(const std::function<bool()>& done, std::int64_t boundMs = 30000);
  bool pumpUntilEndMark(std::int64_t boundMs = 30000) { return pump([this] { return endMarks() > 0; }, boundMs); }
  void pumpAWhile(std::int64_t ms = 1000) { pump([] { return false; }, ms); }

  // DeviceDetected with dde_NoMoreDevices and PortAvailable with pa_NoMorePorts.
  std::size_t endMarks() const;
  // The port table as a request without refresh reads it, without running discovery.
  static void setKinds(std::initializer_list<std::pair<int, ComPortType>> kinds);
  bool workerExists(std::int16_t port);
  std::string describeAll() const;
};

// Error number of a run-time error thrown by f, 0 when none.
// Waits in real time (bounded) for every worker thread of the process to end.
bool workersEnd();

}  // namespace tov::testing
