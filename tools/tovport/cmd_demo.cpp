// tovport demo: the whole job on a simulated PC, in real time, with no device and no file.
#include <cstdio>
#include <iostream>
#include <map>

#include <tovport/automation/convert.h>
#include <tovport/component/types.h>
#include <tovport/component/tovcomprtv3.h>
#include "demo_pc.h"
#include "discovery/port_table.h"
#include "event_printer.h"

namespace tovport_cli {
namespace {

using namespace tov::automation;

// One row per port that exists: its kind, the outcome of its detection and the model found.
void printSummary(IDispatch& component, const std::vector<HostEvent>& events) {
  std::map<int, const HostEvent*> outcomes;
  for (const auto& e : events)
    if (e.id == 3 && toI4(e.args[4]) != tov::dde_NoMoreDevices) outcomes[toI2(e.args[0])] = &e;
  std::printf("\n%-6s %-20s %-24s %s\n", "port", "kind", "outcome", "model");
  for (std::int16_t port = 1; port <= tov::MaxPorts; ++port) {
    const auto kind = static_cast<tov::ComPortType>(toI4(callByName(component, u"GetComPortType", {port})));
    if (kind == tov::cptNone) continue;
    const HostEvent* e = outcomes.count(port) ? outcomes[port] : nullptr;
    const bool tested = e && toI4(e->args[4]) != tov::dde_CouldNotOpenPort;
    const std::string outcome = e ? memberName("DeviceDetectionError", toI4(e->args[4])) : "";
    const std::string model = e ? toUtf8(toText(e->args[1])) : "";
    std::printf("COM%-3d %-20s %-24s %s\n", port, toUtf8(tov::discovery::portTypeName(kind)).c_str(),
                tested ? outcome.c_str() : "not tested", model.c_str());
  }
}

int runDemo(const HostOptions& options, const std::vector<std::string>& args) {
  bool list = false;
  for (const auto& a : args) {
    if (a == "--list") list = true;
    else throw UsageError("demo: unexpected argument '" + a + "'");
  }
  if (!options.registryFiles.empty() || !options.maps.empty() || options.os || options.sysfs || options.dev)
    throw UsageError("demo runs on its own simulated PC: --registry, --sysfs, --dev, --map and --os do not apply");
  DemoPc pc;
  if (list) {
    DemoPc::describe(std::cout);
    std::cout << std::endl;
  }
  return runRequest(options, [](IDispatch& c) { return toBool(callByName(c, u"DetectAllDevices", {})); },
                    [&](IDispatch& c, const std::vector<HostEvent>& events) {
                      if (!options.json) printSummary(c, events);
                    });
}

const Registration demoCommand{
    {"demo", "demo [--list]",
     "Runs the whole job on a simulated PC (Windows XP SP2; COM1 serial, COM3 USB with an S65,\n"
     "COM4 infrared with an SL75, COM5 Bluetooth, silent, COM6 Bluetooth incoming, COM8\n"
     "unclassified): DetectAllDevices in real time, every event as it comes with its elapsed\n"
     "time, then a summary table. Needs no device and no file. --list describes the PC first;\n"
     "the global --json prints the events as JSON lines without the table.",
     runDemo}};

}  // namespace
}  // namespace tovport_cli
