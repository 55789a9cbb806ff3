#include "support/event_recorder.h"

#include <tovport/automation/convert.h>
#include <tovport/component/guids.h>

namespace tov::testing {

using namespace automation;

std::int16_t RecordedEvent::port() const { return args.empty() ? 0 : toI2(args[0]); }
std::u16string RecordedEvent::text() const {
  if (id == 2) return toText(args.at(0));
  return toText(args.at(1));
}
bool RecordedEvent::apn() const { return isTrue(toBool(args.at(2))); }
DeviceType RecordedEvent::device() const { return static_cast<DeviceType>(toI4(args.at(3))); }
DeviceDetectionError RecordedEvent::error() const { return static_cast<DeviceDetectionError>(toI4(args.at(4))); }
PortAvailability RecordedEvent::available() const { return static_cast<PortAvailability>(toI4(args.at(1))); }

std::string RecordedEvent::describe() const {
  static const char* names[] = {"?", "MsgTimeout", "MsgReceived", "DeviceDetected", "PortAvailable"};
  std::string out = names[id >= 1 && id <= 4 ? id : 0];
  out += "(";
  for (std::size_t i = 0; i < args.size(); ++i) out += (i ? ", " : "") + toUtf8(toText(args[i]));
  return out + ")";
}

Ref<EventRecorder> EventRecorder::connect(tovComPrtv3& component) {
  Ref<EventRecorder> r(new EventRecorder());
  r->source_ = &component;
  advise(static_cast<IDispatch&>(component), DIID___tovComPrtv3, *r, &r->cookie_);
  return r;
}

void EventRecorder::disconnect() {
  if (source_) unadvise(static_cast<IDispatch&>(*source_), DIID___tovComPrtv3, cookie_);
  source_ = nullptr;
}

EventRecorder::EventRecorder() : EventSink(DIID___tovComPrtv3) {}

void EventRecorder::onEvent(DISPID id, std::vector<Variant>& args) {
  if (handler) handler(id, args);
  RecordedEvent e{id, {}};
  for (const auto& a : args) e.args.push_back(a.deref());
  events.push_back(std::move(e));
}

std::vector<RecordedEvent> EventRecorder::ofType(DISPID id) const {
  std::vector<RecordedEvent> out;
  for (const auto& e : events)
    if (e.id == id) out.push_back(e);
  return out;
}

}  // namespace tov::testing
