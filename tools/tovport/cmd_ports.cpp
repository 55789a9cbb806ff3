// tovport ports: the kind of every COM port, as the component's discovery finds it, the device
// behind it and what that device is; or the registry view discovery reads, as a .reg file.
#include <algorithm>
#include <cstdio>
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

using tov::platform::SerialKind;
using tov::platform::SerialPortDevice;

std::string hex(unsigned value, int digits) {
  char text[16];
  std::snprintf(text, sizeof text, "%0*x", digits, value);
  return text;
}

// Characters, not bytes, so that UTF-8 strings line up.
std::size_t width(const std::string& utf8) {
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

// A device's own strings can be long; in the table they end after kCut characters with "…".
constexpr std::size_t kCut = 24;
std::string cut(const std::string& utf8) {
  if (width(utf8) <= kCut) return utf8;
  std::size_t end = 0;
  for (std::size_t chars = 0; chars < kCut - 1; ++chars)  // kCut - 1 characters, then the ellipsis
    do ++end;
    while (end < utf8.size() && (utf8[end] & 0xC0) == 0x80);
  return utf8.substr(0, end) + "…";
}

// The notes of a port that its user should know before opening it.
std::string notes(const SerialPortDevice* device, const std::string& node) {
  std::vector<std::string> items;
  if (device != nullptr && device->console) items.push_back("system console");
  if (node == "missing" || node == "unreadable") items.push_back("device node " + node);
  std::string text;
  for (const auto& item : items) text += (text.empty() ? "" : ", ") + item;
  return text;
}

const char* const kHeadings[] = {"port", "type", "name", "path", "note", "driver", "id",
                                 "manufacturer", "product", "serial", "if", "by-id"};
constexpr std::size_t kColumns = std::size(kHeadings);
using Row = std::vector<std::string>;  // one cell per heading

Row tableRow(const std::string& port, const std::string& type, const std::string& name, const std::string& path,
             const std::string& note, const SerialPortDevice* d) {
  Row row{port, type, name, path, note};
  row.resize(kColumns);
  if (d == nullptr) return row;
  row[5] = d->driver;
  if (d->kind == SerialKind::Usb) {
    row[6] = hex(d->vendor, 4) + ":" + hex(d->product, 4);
    row[7] = cut(d->manufacturer);
    row[8] = cut(d->productName);
    row[9] = cut(d->serialNumber);
    if (!d->usbInterface.empty()) row[10] = hex(d->interfaceNumber, 2);
  }
  row[11] = d->byId;
  return row;
}

// Aligned columns under their headings; the columns after the path only where some port fills
// them, the last one not padded.
void printTable(const std::vector<Row>& rows) {
  std::vector<std::size_t> widths(kColumns, 0);
  std::vector<bool> shown(kColumns, false);
  for (std::size_t c = 0; c < kColumns; ++c) {
    widths[c] = width(kHeadings[c]);
    shown[c] = c < 4;
    for (const auto& r : rows) {
      widths[c] = std::max(widths[c], width(r[c]));
      shown[c] = shown[c] || !r[c].empty();
    }
  }
  std::size_t last = 0;
  for (std::size_t c = 0; c < kColumns; ++c)
    if (shown[c]) last = c;
  const auto line = [&](const Row& r) {
    std::string text;
    for (std::size_t c = 0; c < kColumns; ++c) {
      if (!shown[c]) continue;
      text += r[c];
      if (c != last) text += std::string(widths[c] + 2 - width(r[c]), ' ');
    }
    std::cout << text.erase(text.find_last_not_of(' ') + 1) << "\n";
  };
  line(Row(std::begin(kHeadings), std::end(kHeadings)));
  for (const auto& r : rows) line(r);
}

std::string jsonText(const std::string& text) { return text.empty() ? "null" : jsonString(text); }

std::string jsonUsb(const SerialPortDevice& d) {
  return "{\"vid\":" + jsonString(hex(d.vendor, 4)) + ",\"pid\":" + jsonString(hex(d.product, 4)) +
         ",\"interface\":" + (d.usbInterface.empty() ? "null" : std::to_string(d.interfaceNumber)) +
         ",\"location\":" + jsonText(d.usbInterface) + ",\"manufacturer\":" + jsonText(d.manufacturer) +
         ",\"product\":" + jsonText(d.productName) + ",\"serialNumber\":" + jsonText(d.serialNumber) + "}";
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
  const std::map<int, SerialPortDevice> devices = tov::platform::comPortDevices();

  std::vector<Row> rows;
  for (std::int16_t port = 1; port <= tov::MaxPorts; ++port) {
    const std::int32_t kind = kinds[static_cast<std::size_t>(port - 1)];
    const std::string display = tov::automation::toUtf8(tov::discovery::portTypeName(kind));
    const auto found = devices.find(port);
    const SerialPortDevice* device = found == devices.end() ? nullptr : &found->second;
    const std::string node = device != nullptr ? deviceNodeState(device->path) : "";
    if (json) {
      std::cout << "{\"PortNr\":" << port << ",\"type\":" << jsonString(memberName("ComPortType", kind))
                << ",\"name\":" << jsonString(display) << ",\"path\":" << (device ? jsonString(device->path) : "null")
                << ",\"node\":" << jsonText(node) << ",\"console\":" << (device && device->console ? "true" : "false")
                << ",\"driver\":" << (device ? jsonText(device->driver) : "null")
                << ",\"usb\":" << (device && device->kind == SerialKind::Usb ? jsonUsb(*device) : "null")
                << ",\"byId\":" << (device ? jsonText(device->byId) : "null") << "}\n";
    } else if (kind != tov::cptNone || device != nullptr) {
      rows.push_back(tableRow("COM" + std::to_string(port), memberName("ComPortType", kind), display, device ? device->path : "-",
                              notes(device, node), device));
    }
    if (device != nullptr) explainIfDenied(port, device->path);
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
     "port 1 to 32 that exists or has a device: name, kind, the kind's display name, the device\n"
     "and what it is: a note for the system console and for a device node that is missing or\n"
     "that this user may not open, the driver and, for USB ports, vendor:product id,\n"
     "manufacturer, product, serial number, interface and the /dev/serial/by-id name (long\n"
     "strings are cut). With --json, one object per port for all 32 ports, in port order, with\n"
     "every field in full (null where there is none). With --registry-dump, prints the\n"
     "registry view instead, as a REGEDIT4 file that --registry loads back.",
     runPorts}};

}  // namespace
}  // namespace tovport_cli
