#include "event_printer.h"

#include <cstdio>
#include <iostream>

#include <tovport/automation/connection_point.h>
#include <tovport/automation/convert.h>
#include <tovport/component/guids.h>
#include <tovport/component/tovcomprtv3.h>
#include "component/type_library.h"
#include "component_host.h"
#include <tovport/platform/message_queue.h>
#include "value_text.h"

namespace tovport_cli {

using namespace tov::automation;

namespace {

const EventDesc* describeEvent(DISPID id) {
  for (const auto& e : tov::tovComPrtv3::events())
    if (e.dispid == id) return &e;
  return nullptr;
}

struct ArgText {
  std::string json;
  std::string readable;
};

ArgText argText(const ParamDesc& param, const Variant& value) {
  switch (param.type.kind) {
    case TypeKind::Enum: {
      const std::string name = memberName(param.type.enumName, toI4(value));
      return {jsonString(name), name};
    }
    case TypeKind::BStr: {
      const std::string text = jsonString(toUtf8(toText(value)));
      return {text, text};
    }
    case TypeKind::Bool:
      return {isTrue(toBool(value)) ? "true" : "false", isTrue(toBool(value)) ? "True" : "False"};
    default:
      return {jsonValue(value), displayText(value)};
  }
}

}  // namespace

std::string memberName(std::string_view enumName, std::int32_t value) {
  for (const auto& e : tov::typeLibrary().enums) {
    if (e.name != enumName) continue;
    for (const auto& [name, v] : e.members)
      if (v == value) return std::string(name);
  }
  return std::to_string(value);
}

std::string formatEvent(const HostEvent& event, bool json, double elapsedSeconds) {
  const EventDesc* desc = describeEvent(event.id);
  const std::string name = desc ? std::string(desc->name) : "Event" + std::to_string(event.id);
  std::string line = json ? "{\"event\":" + jsonString(name) : name;
  for (std::size_t i = 0; desc && i < desc->params.size() && i < event.args.size(); ++i) {
    const ParamDesc& param = desc->params[i];
    const ArgText text = argText(param, event.args[i]);
    if (json)
      line += "," + jsonString(std::string(param.name)) + ":" + text.json;
    else
      line += " " + std::string(param.name) + "=" + text.readable;
  }
  if (elapsedSeconds >= 0) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.3f", elapsedSeconds);
    line += json ? std::string(",\"elapsed\":") + seconds : std::string(" (") + seconds + " s)";
  }
  return json ? line + "}" : line;
}

bool isEndMark(const HostEvent& event) {
  if (event.id == 3 && event.args.size() == 5) return toI4(event.args[4]) == tov::dde_NoMoreDevices;
  if (event.id == 4 && event.args.size() == 2) return toI4(event.args[1]) == tov::pa_NoMorePorts;
  return false;
}

bool isExchangeEnd(const HostEvent& event) { return event.id == 1 || event.id == 2; }

Ref<EventPrinter> EventPrinter::connect(IDispatch& component, std::ostream& out, bool json, EndTest ends) {
  Ref<EventPrinter> printer(new EventPrinter(out, json, std::move(ends)));
  if (advise(component, tov::DIID___tovComPrtv3, *printer, &printer->cookie_) == S_OK) printer->source_ = &component;
  return printer;
}

void EventPrinter::disconnect() {
  if (source_) unadvise(*source_, tov::DIID___tovComPrtv3, cookie_);
  source_ = nullptr;
}

bool EventPrinter::awaitEnd(int timeoutSeconds, const std::function<bool()>& abandon) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(timeoutSeconds);
  while (!ended_ && std::chrono::steady_clock::now() < end && !(abandon && abandon())) pumpMessages(100);
  // What is already queued still belongs to this thread's turn, and a timer left running would
  // tick within its longest period (300 ms): the host sees whatever comes after the end mark.
  for (int turn = 0; ended_ && turn < 3 && messagesPending(); ++turn) pumpMessages(100);
  return ended_;
}

int runRequest(const HostOptions& options, const std::function<VariantBool(IDispatch&)>& request,
               const RequestFinished& finished, const RequestWait& wait) {
  auto component = createComponent();
  auto printer = EventPrinter::connect(*component, wait.out ? *wait.out : std::cout, options.json);
  struct Disconnect {
    EventPrinter& printer;
    ~Disconnect() { printer.disconnect(); }
  } disconnectAtEnd{*printer};

  if (!isTrue(request(*component))) {  // its event has been printed
    std::cerr << "tovport: the component refused the request (a port outside 1 to 32, or an earlier request"
                 " still pending)\n";
    return 1;
  }
  if (printer->awaitEnd(options.timeoutSeconds, wait.abandon)) {
    if (finished) finished(*component, printer->events());
    return 0;
  }
  callByName(*component, u"KillThreads", {});
  if (wait.abandon && wait.abandon()) return 3;
  std::cerr << "tovport: the request did not finish within " << options.timeoutSeconds
            << " s; every worker was stopped\n";
  return 3;
}

EventPrinter::EventPrinter(std::ostream& out, bool json, EndTest ends)
    : EventSink(tov::DIID___tovComPrtv3), out_(out), json_(json), ends_(std::move(ends)) {}

void EventPrinter::onEvent(DISPID id, std::vector<Variant>& args) {
  HostEvent event{id, {}};
  for (const auto& a : args) event.args.push_back(a.deref());
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
  out_ << formatEvent(event, json_, elapsed.count()) << std::endl;  // each event as it comes
  if (ends_(event)) ended_ = true;
  events_.push_back(std::move(event));
}

}  // namespace tovport_cli
