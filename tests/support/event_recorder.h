// A host's event sink for tests: connects to a component and records every event it raises,
// optionally running a handler on each (to change by-reference arguments or call back).
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <tovport/automation/connection_point.h>
#include <tovport/automation/dispatch_object.h>
#include <tovport/automation/variant.h>
#include <tovport/component/tovcomprtv3.h>

namespace tov::testing {

struct RecordedEvent {
  automation::DISPID id = 0;  // 1 MsgTimeout, 2 MsgReceived, 3 DeviceDetected, 4 PortAvailable
  std::vector<automation::Variant> args;  // values at the time of the event, first argument first

  std::int16_t port() const;               // DeviceDetected, PortAvailable
  std::u16string text() const;             // MsgReceived msg, DeviceDetected devicename
  bool apn() const;                        // DeviceDetected DoSiemensAPN
  DeviceType device() const;               // DeviceDetected
  DeviceDetectionError error() const;      // DeviceDetected
  PortAvailability available() const;      // PortAvailable
  std::string describe() const;            // "DeviceDetected(3, BenQ-Siemens S65, True, 154, 0)"
};

class EventRecorder final : public automation::EventSink {
 public:
  // Creates a recorder connected to component's event interface.
  static automation::Ref<EventRecorder> connect(tovComPrtv3& component);

  std::vector<RecordedEvent> events;
  // Runs inside each event with the by-reference arguments (first argument first).
  std::function<void(automation::DISPID, std::vector<automation::Variant>&)> handler;

  std::vector<RecordedEvent> ofType(automation::DISPID id) const;
  void disconnect();

 protected:
  void onEvent(automation::DISPID id, std::vector<automation::Variant>& args) override;

 private:
  EventRecorder();
  tovComPrtv3* source_ = nullptr;
  std::uint32_t cookie_ = 0;
};

}  // namespace tov::testing
