#include "detection/simulated_phone_test.h"

#include <algorithm>

#include "component/debug_log.h"
#include "component/mod_public.h"
#include "discovery/port_table.h"
#include <tovport/platform/message_queue.h>

namespace tov::testing {

using namespace automation;

SimulatedPhoneTest::SimulatedPhoneTest() : c_(tovComPrtv3::create()), events_(EventRecorder::connect(*c_)) {
  // Outcomes look for the request's workers; a controller without workers answers that none runs.
  c_->Worker = threads::ThreadControl::create();
  events_->handler = [this](DISPID, std::vector<Variant>&) { eventTimes_.push_back(clock_.monotonicMs()); };
  observeLog([this](const std::u16string& text) { log_.push_back(text); });
  discovery::PortTableFilled() = false;  // the kinds of this test's registry, not of an earlier one
}

void SimulatedPhoneTest::TearDown() {
  observeLog({});
  events_->disconnect();
  for (int port = 1; port <= MaxPorts; ++port) {
    c_->VBStopTimer(static_cast<std::int16_t>(port));
    c_->VBCommClose(static_cast<std::int16_t>(port));
  }
  discovery::PortTableFilled() = false;
  gComponent().reset();
}

void SimulatedPhoneTest::list(const std::string& key, const std::string& value, int port) {
  registry_.setString(key, value, "COM" + std::to_string(port));
  discovery::PortTableFilled() = false;
}

void SimulatedPhoneTest::listSerialPort(int port) {
  list(kSerialComm, "\\Device\\Serial" + std::to_string(port), port);
}
void SimulatedPhoneTest::listUnknownPort(int port) {
  list(kSerialComm, "\\Device\\Modem" + std::to_string(port), port);
}
void SimulatedPhoneTest::listIrDaPort(int port) {
  list("HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Enum\\IRENUM\\SIE0001\\Irda" + std::to_string(port) +
           "\\Device Parameters",
       "PortName", port);
}

platform::SimulatedPort& SimulatedPhoneTest::device(int port, bool cts) {
  auto& device = serial_.port(port);
  device.setModemLines(cts ? platform::MS_CTS_ON : 0);
  return device;
}

platform::SimulatedPort& SimulatedPhoneTest::phone(int port, PhoneScript script, bool cts) {
  auto& device = this->device(port, cts);
  device.setPeer([this, port, script](platform::SimulatedPort& self, std::string_view written) {
    writeTimes_[port].push_back(clock_.monotonicMs());
    const auto reply = script.replies.find(std::string(written));
    if (reply == script.replies.end()) return;
    std::int64_t delay = script.firstDelayMs;
    for (const auto& chunk : reply->second) {
      self.deliver(chunk, delay);
      delay += script.gapMs;
    }
  });
  return device;
}

bool SimulatedPhoneTest::pumpUntil(const std::function<bool()>& done, std::int64_t boundMs) {
  const std::int64_t end = now() + boundMs;
  auto queue = platform::MessageQueue::current();
  while (!done() && now() < end) {
    queue->wait(static_cast<std::uint32_t>(std::min(pumpStepMs_, end - now())));
    platform::PumpMessages();
  }
  return done();
}

void SimulatedPhoneTest::pumpFor(std::int64_t ms) {
  pumpUntil([] { return false; }, ms);
}

std::vector<RecordedEvent> SimulatedPhoneTest::outcomes() const {
  std::vector<RecordedEvent> found;
  for (const auto& e : events_->ofType(3))
    if (e.error() != dde_NoMoreDevices) found.push_back(e);
  return found;
}

}  // namespace tov::testing
