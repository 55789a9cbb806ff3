// tovport send PORT TEXT: one free-form exchange with the device on a COM port.
#include <iostream>

#include <tovport/automation/convert.h>
#include "command.h"
#include <tovport/component/types.h>
#include "component_host.h"
#include <tovport/component/tovcomprtv3.h>
#include "event_printer.h"

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

int runSend(const HostOptions& options, const std::vector<std::string>& args) {
  if (args.size() != 2) throw UsageError("send takes a PORT and a TEXT");
  std::int16_t port = parsePort(args[0]);
  auto component = createComponent();
  auto printer = EventPrinter::connect(*component, std::cout, options.json, isExchangeEnd);

  if (!isTrue(toBool(callByName(*component, u"VBOpenPort", {Variant::byRef(&port)})))) {
    BStr error;
    callByName(*component, u"VBCommGetError", {Variant::byRef(&error)});
    std::cerr << "tovport: COM" << port << " did not open: " << toUtf8(error);
    printer->disconnect();
    return 1;
  }
  BStr message = fromUtf8(args[1]) + u"\r";
  VariantBool portOpen = VariantBool::True;
  callByName(*component, u"SendMessage", {Variant::byRef(&port), Variant::byRef(&message), Variant::byRef(&portOpen)});
  const bool ended = printer->awaitEnd(options.timeoutSeconds);
  callByName(*component, u"VBStopTimer", {port});
  callByName(*component, u"VBClosePort", {port});
  printer->disconnect();
  if (!ended) {
    std::cerr << "tovport: no answer and no timeout from COM" << port << " within " << options.timeoutSeconds
              << " s\n";
    return 3;
  }
  return printer->events().back().id == 2 ? 0 : 1;  // MsgReceived, or MsgTimeout
}

const Registration sendCommand{{"send", "send PORT TEXT",
                                 "Opens COM port PORT as the detection does (57600 baud, RTS and DTR raised),\n"
                                 "sends TEXT followed by a carriage return and prints how the exchange ended:\n"
                                 "MsgReceived with the first chunk of the answer (exit 0) or MsgTimeout when\n"
                                 "nothing came within 6 seconds (exit 1). With --json, one object per line.",
                                 runSend}};

}  // namespace
}  // namespace tovport_cli
