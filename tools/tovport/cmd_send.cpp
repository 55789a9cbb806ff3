// tovport send PORT TEXT: one free-form exchange with the device on a COM port.
#include <chrono>
#include <iostream>

#include "automation/convert.h"
#include "command.h"
#include "component/tovcomprtv3.h"
#include "platform/message_queue.h"
#include "send_sink.h"
#include "value_text.h"

namespace tovport_cli {
namespace {

using namespace tov::automation;

std::int16_t parsePort(const std::string& text) {
  try {
    std::size_t used = 0;
    const int port = std::stoi(text, &used);
    if (used == text.size() && port >= 1 && port <= tov::MaxPorts) return static_cast<std::int16_t>(port);
  } catch (const std::exception&) {
  }
  throw UsageError("send takes a PORT from 1 to 32, not '" + text + "'");
}

// Pumps the thread's messages until the exchange has ended or the time is up.
bool awaitEnding(const SendSink& sink, int timeoutSeconds) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(timeoutSeconds);
  auto queue = tov::platform::MessageQueue::current();
  while (!sink.ending() && std::chrono::steady_clock::now() < end) {
    queue->wait(100);
    tov::platform::PumpMessages();
  }
  return sink.ending().has_value();
}

void printEnding(const ExchangeEnding& ending, bool json) {
  const std::string msg = jsonString(toUtf8(ending.msg));
  if (json)
    std::cout << (ending.received ? "{\"event\":\"MsgReceived\",\"msg\":" + msg + "}" : "{\"event\":\"MsgTimeout\"}")
              << "\n";
  else
    std::cout << (ending.received ? "MsgReceived " + msg : "MsgTimeout") << "\n";
}

int runSend(const HostOptions& options, const std::vector<std::string>& args) {
  if (args.size() != 2) throw UsageError("send takes a PORT and a TEXT");
  std::int16_t port = parsePort(args[0]);
  auto component = tov::tovComPrtv3::create();
  auto sink = SendSink::connect(*component);

  if (!isTrue(component->VBOpenPort(port))) {
    BStr error;
    component->VBCommGetError(error);
    std::cerr << "tovport: COM" << port << " did not open: " << toUtf8(error);
    sink->disconnect();
    return 1;
  }
  BStr message = fromUtf8(args[1]) + u"\r";
  VariantBool portOpen = VariantBool::True;
  component->SendMessage(port, message, portOpen);
  const bool ended = awaitEnding(*sink, options.timeoutSeconds);
  component->VBStopTimer(port);
  component->VBClosePort(port);
  sink->disconnect();
  if (!ended) {
    std::cerr << "tovport: no answer and no timeout from COM" << port << " within " << options.timeoutSeconds
              << " s\n";
    return 3;
  }
  printEnding(*sink->ending(), options.json);
  return sink->ending()->received ? 0 : 1;
}

const Registration registration{{"send", "send PORT TEXT",
                                 "Opens COM port PORT as the detection does (57600 baud, RTS and DTR raised),\n"
                                 "sends TEXT followed by a carriage return and prints how the exchange ended:\n"
                                 "MsgReceived with the first chunk of the answer (exit 0) or MsgTimeout when\n"
                                 "nothing came within 6 seconds (exit 1). With --json, one object per line.",
                                 runSend}};

}  // namespace
}  // namespace tovport_cli
