// tovport ports: the kind of every COM port, as the component's discovery finds it.
#include <algorithm>
#include <iostream>

#include <tovport/automation/convert.h>
#include "command.h"
#include <tovport/component/tovcomprtv3.h>
#include "component/type_library.h"
#include "discovery/port_table.h"
#include "value_text.h"

namespace tovport_cli {
namespace {

// "cptSerial" for cptSerial, from the type library's enum.
std::string memberName(std::int32_t kind) {
  const auto& enums = tov::typeLibrary().enums;
  const auto type = std::find_if(enums.begin(), enums.end(), [](const auto& e) { return e.name == "ComPortType"; });
  if (type != enums.end())
    for (const auto& [name, value] : type->members)
      if (value == kind) return std::string(name);
  return std::to_string(kind);
}

int runPorts(const HostOptions& options, const std::vector<std::string>& args) {
  bool json = options.json;
  for (const auto& a : args) {
    if (a != "--json") throw UsageError("ports takes no arguments but --json, not '" + a + "'");
    json = true;
  }
  auto component = tov::tovComPrtv3::create();
  // The first question runs discovery; an error of it ends the command before anything is printed.
  std::vector<std::int32_t> kinds;
  for (std::int16_t port = 1; port <= tov::MaxPorts; ++port) kinds.push_back(component->GetComPortType(port));

  for (std::int16_t port = 1; port <= tov::MaxPorts; ++port) {
    const std::int32_t kind = kinds[static_cast<std::size_t>(port - 1)];
    const std::string display = tov::automation::toUtf8(tov::discovery::portTypeName(kind));
    if (json) {
      std::cout << "{\"PortNr\":" << port << ",\"type\":" << jsonString(memberName(kind))
                << ",\"name\":" << jsonString(display) << "}\n";
    } else if (kind != tov::cptNone) {
      std::cout << "COM" << port << "  " << memberName(kind) << "  " << display << "\n";
    }
  }
  return 0;
}

const Registration registration{{"ports", "ports [--json]",
                                 "Runs port discovery on the registry and system version given and prints\n"
                                 "every COM port 1 to 32 that exists: name, kind and the kind's display name.\n"
                                 "With --json, one object per port for all 32 ports, in port order.",
                                 runPorts}};

}  // namespace
}  // namespace tovport_cli
