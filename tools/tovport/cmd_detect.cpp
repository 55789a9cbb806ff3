// tovport detect [--port N | --list LIST] and tovport test [--port N]: the detection and
// port-test requests, each run to its end mark.
#include <iostream>
#include <optional>
#include <set>
#include <string_view>

#include <tovport/automation/convert.h>
#include <tovport/component/types.h>
#include <tovport/component/tovcomprtv3.h>
#include "event_printer.h"
#include "host_platform.h"
#include "platform/machine_ports.h"
#include "summary.h"

namespace tovport_cli {
namespace {

using tov::automation::callByName;
using tov::automation::IDispatch;
using tov::automation::toBool;

struct Target {
  std::optional<std::int16_t> port;
  std::optional<std::string> list;
};

// The port goes to the component as given: a number outside 1..32 is its to refuse.
std::int16_t parsePort(const std::string& command, const std::string& text) {
  try {
    std::size_t used = 0;
    const int port = std::stoi(text, &used);
    if (used == text.size() && port >= INT16_MIN && port <= INT16_MAX) return static_cast<std::int16_t>(port);
  } catch (const std::exception&) {
  }
  throw UsageError(command + " --port takes a whole number, not '" + text + "'");
}

Target parseTarget(const std::string& command, const std::vector<std::string>& args, bool listAllowed) {
  Target target;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const bool isPort = args[i] == "--port";
    const bool isList = listAllowed && args[i] == "--list";
    if (!isPort && !isList) throw UsageError(command + ": unexpected argument '" + args[i] + "'");
    if (target.port || target.list) throw UsageError(command + " takes one --port or --list at most");
    if (i + 1 >= args.size()) throw UsageError(command + " " + args[i] + " needs a value");
    const std::string& value = args[++i];
    if (isPort)
      target.port = parsePort(command, value);
    else
      target.list = value;
  }
  return target;
}

// The system console is never opened by a request that sweeps the ports: its device is withheld
// (a detection sweep does not test it anyway, the view lists it unclassified), and a port test
// reports it not available, saying so. A request that names the port opens it, and is told what
// it is.
void guardConsoles(const char* command, const Target& target) {
  const bool sweep = !target.port && !target.list;
  const std::set<int> named = target.port ? std::set<int>{*target.port}
                              : target.list ? listedPorts(*target.list)
                                            : std::set<int>{};
  const bool portTest = std::string_view(command) == "test";
  for (const auto& [port, device] : tov::platform::comPortDevices()) {
    if (!device.console) continue;
    if (sweep) withholdDevice(port);
    if (!named.count(port) && !(sweep && portTest)) continue;
    std::cerr << "tovport: COM" << port << " (" << device.path << ") is the system console";
    if (sweep) std::cerr << ": left closed; 'tovport " << command << " --port " << port << "' tests it";
    std::cerr << "\n";
  }
}

int runDetect(const HostOptions& options, const std::vector<std::string>& args) {
  using Call = RequestScope::Call;
  const Target target = parseTarget("detect", args, true);
  guardConsoles("detect", target);
  if (target.port)
    return runRequest(
        options, [&](IDispatch& c) { return toBool(callByName(c, u"DetectDevice", {*target.port})); },
        summaryUnlessJson(options, {Call::DetectPort, *target.port, {}}));
  if (target.list) {
    return runRequest(
        options,
        [&](IDispatch& c) {
          return toBool(callByName(c, u"DetectDevicesFromList", {tov::automation::fromUtf8(*target.list)}));
        },
        summaryUnlessJson(options, {Call::DetectList, 0, *target.list}));
  }
  return runRequest(
      options, [](IDispatch& c) { return toBool(callByName(c, u"DetectAllDevices", {})); },
      summaryUnlessJson(options, {Call::DetectAll, 0, {}}));
}

int runTest(const HostOptions& options, const std::vector<std::string>& args) {
  using Call = RequestScope::Call;
  const Target target = parseTarget("test", args, false);
  guardConsoles("test", target);
  if (target.port)
    return runRequest(
        options, [&](IDispatch& c) { return toBool(callByName(c, u"PortTest", {*target.port})); },
        summaryUnlessJson(options, {Call::TestPort, *target.port, {}}));
  return runRequest(
      options, [](IDispatch& c) { return toBool(callByName(c, u"TestAllPorts", {})); },
      summaryUnlessJson(options, {Call::TestAll, 0, {}}));
}

const Registration detectCommand{
    {"detect", "detect [--port N | --list LIST]",
     "Looks for BenQ-Siemens phones: on every port the discovery finds testable, on port N\n"
     "alone, or on the ports of LIST (numbers separated by ';', as in \"1;3;12\"). The system\n"
     "console is never testable; naming its port tests it, with a note on stderr. Prints every\n"
     "DeviceDetected event as it comes, then (without --json) one row per tested port and the\n"
     "phones found; exits 0 after the last port has reported, 1 when the request was refused,\n"
     "3 when it did not finish within --timeout.",
     runDetect}};

const Registration testCommand{
    {"test", "test [--port N]",
     "Tests whether COM ports can be opened: all 32 (the system console's port is left closed\n"
     "and reported not available, with a note on stderr), or port N alone. Prints every\n"
     "PortAvailable event as it comes, then (without --json) one row per tested port and the\n"
     "ports that can be opened; exits 0 after the last port has reported, 1 when the request\n"
     "was refused, 3 when it did not finish within --timeout.",
     runTest}};

}  // namespace
}  // namespace tovport_cli
