// The host's event sink for requests: prints every event of the component as it comes, one line
// each (readable or JSON), and tells when the request's end mark has arrived.
#pragma once

#include <chrono>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <tovport/automation/com.h>
#include <tovport/automation/dispatch_object.h>
#include <tovport/automation/variant.h>
#include "command.h"

namespace tovport_cli {

using tov::automation::VariantBool;

// One event as raised: its DISPID and the values of its arguments, first argument first.
struct HostEvent {
  tov::automation::DISPID id = 0;
  std::vector<tov::automation::Variant> args;
};

// The member name of an enum value of the type library; the number itself when there is none.
std::string memberName(std::string_view enumName, std::int32_t value);

// The event as one JSON object ({"event":"PortAvailable","PortNr":1,"available":"pa_Available"})
// or one readable line (PortAvailable PortNr=1 available=pa_Available), without a line end. Enum
// values appear as member names; elapsed seconds, when not negative, follow last.
std::string formatEvent(const HostEvent& event, bool json, double elapsedSeconds = -1);

// DeviceDetected with dde_NoMoreDevices or PortAvailable with pa_NoMorePorts: the request is over.
bool isEndMark(const HostEvent& event);
// MsgReceived or MsgTimeout: a free-form exchange is over.
bool isExchangeEnd(const HostEvent& event);

// Which event ends what the host waits for.
using EndTest = std::function<bool(const HostEvent&)>;

class EventPrinter final : public tov::automation::EventSink {
 public:
  // Connected to component's events until disconnect(); elapsed times count from the connection.
  static tov::automation::Ref<EventPrinter> connect(tov::automation::IDispatch& component, std::ostream& out, bool json,
                                                    EndTest ends = isEndMark);
  void disconnect();

  bool ended() const { return ended_; }
  // Every event received so far, in order.
  const std::vector<HostEvent>& events() const { return events_; }
  // Pumps the thread's messages until the ending event has come, timeoutSeconds have passed or
  // abandon (when given) answers true.
  bool awaitEnd(int timeoutSeconds, const std::function<bool()>& abandon = {});

 protected:
  void onEvent(tov::automation::DISPID id, std::vector<tov::automation::Variant>& args) override;

 private:
  EventPrinter(std::ostream& out, bool json, EndTest ends);

  std::ostream& out_;
  bool json_;
  EndTest ends_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  tov::automation::IDispatch* source_ = nullptr;
  std::uint32_t cookie_ = 0;
  bool ended_ = false;
  std::vector<HostEvent> events_;
};

// Where a request's events are printed (stdout unless out is given), and whether to give up the
// wait for its end mark early: when abandon answers true, every worker is stopped as after
// --timeout, without a word.
struct RequestWait {
  std::ostream* out = nullptr;
  std::function<bool()> abandon;
};

// Runs one request the way a host does: creates the component on this thread, connects a printer,
// makes the call, then pumps until the end mark. Returns the exit code: 0 after the end mark, 1
// when the request was refused, 3 (after KillThreads) when no end mark came in time.
// finished, when given, runs after the end mark with the component and every event received.
using RequestFinished = std::function<void(tov::automation::IDispatch&, const std::vector<HostEvent>&)>;
int runRequest(const HostOptions& options, const std::function<VariantBool(tov::automation::IDispatch&)>& request,
               const RequestFinished& finished = {}, const RequestWait& wait = {});

}  // namespace tovport_cli
