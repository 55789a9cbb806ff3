// tovport ports: the kind of every COM port, as the component's discovery finds it, and the device
// behind it; or the registry view discovery reads, as a .reg file.
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <map>

#include <tovport/automation/convert.h>
#include "command.h"
#include <tovport/component/types.h>
#include "component_host.h"
#include "event_printer.h"
#include <tovport/component/tovcomprtv3.h>
#include "discovery/port_table.h"
#include "host_platform.h"
#include "platform/machine_ports.h"
#include <tovport/platform/registry.h>
#include "value_text.h"

namespace tovport_cli {
namespace {

struct Row {
  std::string port, type, name, path;
};

void printTable(const std::vector<Row>& rows) {
  std::size_t widths[3] = {4, 4, 4};
  for (const auto& r : rows) {
    widths[0] = std::max(widths[0], r.port.size());
    widths[1] = std::max(widths[1], r.type.size());
    widths[2] = std::max(widths[2], r.name.size());
  }
  const auto line = [&](const Row& r) {
    std::cout << std::left << std::setw(static_cast<int>(widths[0] + 2)) << r.port
              << std::setw(static_cast<int>(widths[1] + 2)) << r.type << std::setw(static_cast<int>(widths[2] + 2))
              << r.name << r.path << "\n";
  };
  line({"port", "type", "name", "path"});
  for (const auto& r : rows) line(r);
}

int runPorts(const HostOptions& options, const std::vector<std::string>& args) {
  bool json = options.json;
  bool dump = false;
  for (const auto& a : args) {
    if (a == "--json") json = true;
    else if (a == "--registry-dump") dump = true;
    else throw UsageError("ports takes no arguments but --json and --registry-dump, not '" + a + "'");
  }
  if (dump) {
    std::cout << tov::platform::registry().dump();
    return 0;
  }
  auto component = createComponent();
  // The first question runs discovery; an error of it ends the command before anything is printed.
  std::vector<std::int32_t> kinds;
  for (std::int16_t port = 1; port <= tov::MaxPorts; ++port)
    kinds.push_back(tov::automation::toI4(tov::automation::callByName(*component, u"GetComPortType", {port})));
  const std::map<int, std::string> paths = tov::platform::comPortPaths();

  std::vector<Row> rows;
  for (std::int16_t port = 1; port <= tov::MaxPorts; ++port) {
    const std::int32_t kind = kinds[static_cast<std::size_t>(port - 1)];
    const std::string display = tov::automation::toUtf8(tov::discovery::portTypeName(kind));
    const auto path = paths.find(port);
    if (json) {
      std::cout << "{\"PortNr\":" << port << ",\"type\":" << jsonString(memberName("ComPortType", kind))
                << ",\"name\":" << jsonString(display)
                << ",\"path\":" << (path == paths.end() ? "null" : jsonString(path->second)) << "}\n";
    } else if (kind != tov::cptNone || path != paths.end()) {
      rows.push_back({"COM" + std::to_string(port), memberName("ComPortType", kind), display,
                      path == paths.end() ? "-" : path->second});
    }
    if (path != paths.end()) explainIfDenied(port, path->second);
  }
  if (!json) {
    if (rows.empty()) std::cerr << "tovport: no COM port 1 to 32 exists\n";
    else printTable(rows);
  }
  return 0;
}

const Registration portsCommand{
    {"ports", "ports [--json] [--registry-dump]",
     "Runs port discovery on the registry view and system version given and prints every COM\n"
     "port 1 to 32 that exists or has a device: name, kind, the kind's display name and the\n"
     "device. With --json, one object per port for all 32 ports, in port order (\"path\" null\n"
     "where no device stands behind the port). With --registry-dump, prints the registry view\n"
     "instead, as a REGEDIT4 file that --registry loads back.",
     runPorts}};

}  // namespace
}  // namespace tovport_cli
