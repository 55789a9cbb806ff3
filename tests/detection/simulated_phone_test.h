// A component on simulated ports and the manual clock: the port kinds come from the registry
// (through discovery), the devices from the memory backend, and time moves as the thread waits
// for its timers.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <tovport/component/tovcomprtv3.h>
#include "platform/clock.h"
#include <tovport/platform/registry.h>
#include <tovport/platform/serial_memory.h>
#include "support/event_recorder.h"

namespace tov::testing {

// Replies of a simulated phone, by the exact command line it receives ("AT+CGMI\r"). Each reply
// may come in several chunks, the first after firstDelayMs and the others gapMs apart.
struct PhoneScript {
  std::map<std::string, std::vector<std::string>> replies;
  std::int64_t firstDelayMs = 50;
  std::int64_t gapMs = 1500;  // longer than a read collects, so each chunk is read on its own
};

inline const char* const kSiemensAnswer = "\r\nSIEMENS\r\n\r\nOK\r\n";
inline const PhoneScript kS65Phone{{{"AT+CGMI\r", {kSiemensAnswer}}, {"AT+CGMM\r", {"\r\nS65\r\n\r\nOK\r\n"}}}};

class SimulatedPhoneTest : public ::testing::Test {
 protected:
  SimulatedPhoneTest();
  void TearDown() override;

  // Port kinds as the registry shows them to discovery.
  void listSerialPort(int port);   // a plain serial driver: cptSerial
  void listUnknownPort(int port);  // listed by the system only: cptUnknown
  void listIrDaPort(int port);     // an infrared virtual port: cptIrDa

  // A present device on the port; with CTS on unless told otherwise.
  platform::SimulatedPort& device(int port, bool cts = true);
  // The device answers as scripted; the time of every write is kept in writeTimes(port).
  platform::SimulatedPort& phone(int port, PhoneScript script, bool cts = true);
  const std::vector<std::int64_t>& writeTimes(int port) { return writeTimes_[port]; }

  // Pumps the thread's messages, letting manual time run to each next tick (pumpStepMs_ at
  // most), until done() holds or boundMs of manual time have passed; returns done().
  bool pumpUntil(const std::function<bool()>& done, std::int64_t boundMs = 30000);
  void pumpFor(std::int64_t ms = 1000);

  // DeviceDetected outcomes (without end marks) and the other events, in order.
  std::vector<RecordedEvent> outcomes() const;
  std::vector<RecordedEvent> eventsOf(automation::DISPID id) const { return events_->ofType(id); }
  std::int64_t now() const { return clock_.monotonicMs(); }
  // The manual time at which each event was raised.
  std::vector<std::int64_t> eventTimes_;
  std::int64_t pumpStepMs_ = 30000;

  platform::ManualClock clock_;
  platform::ScopedClock clockScope_{clock_};
  platform::MemorySerialBackend serial_;
  platform::ScopedSerialBackend serialScope_{serial_};
  platform::Registry registry_;
  platform::ScopedRegistry registryScope_{registry_};
  automation::Ref<tovComPrtv3> c_;
  automation::Ref<EventRecorder> events_;
  std::vector<std::u16string> log_;

 private:
  static constexpr const char* kSerialComm = "HKEY_LOCAL_MACHINE\\Hardware\\DeviceMap\\SerialComm";
  void list(const std::string& key, const std::string& value, int port);
  std::map<int, std::vector<std::int64_t>> writeTimes_;
};

}  // namespace tov::testing
