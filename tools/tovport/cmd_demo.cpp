// tovport demo: the whole job on a simulated PC, in real time, with no device and no file.
#include <iostream>

#include <tovport/automation/convert.h>
#include <tovport/component/types.h>
#include <tovport/component/tovcomprtv3.h>
#include "demo_pc.h"
#include "event_printer.h"
#include "summary.h"

namespace tovport_cli {
namespace {

using namespace tov::automation;

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
  return runRequest(
      options, [](IDispatch& c) { return toBool(callByName(c, u"DetectAllDevices", {})); },
      summaryUnlessJson(options, {RequestScope::Call::DetectAll, 0, {}}));
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
