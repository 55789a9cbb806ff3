#include "platform/posix/sysfs_serial.h"

#include <algorithm>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace tov::platform {
namespace {

namespace fs = std::filesystem;

// An attribute's first line without surrounding blanks; nullopt when the file cannot be read.
std::optional<std::string> attribute(const fs::path& dir, const char* name) {
  std::ifstream in(dir / name);
  std::string line;
  if (!in || !std::getline(in, line)) return std::nullopt;
  const auto first = line.find_first_not_of(" \t\r");
  if (first == std::string::npos) return std::string();
  return line.substr(first, line.find_last_not_of(" \t\r") - first + 1);
}

unsigned number(const std::optional<std::string>& text, int base) {
  if (!text) return 0;
  try {
    return static_cast<unsigned>(std::stoul(*text, nullptr, base));
  } catch (const std::exception&) {
    return 0;
  }
}

// "ttyS12" is a prefix "ttyS" and a number.
bool numbered(std::string_view name, std::string_view prefix) {
  return name.size() > prefix.size() && name.starts_with(prefix) &&
         name.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
}

// The last part of a link's target ("pl2303" for .../drivers/pl2303); empty when there is no link.
std::string linkName(const fs::path& link) {
  std::error_code ec;
  const fs::path target = fs::read_symlink(link, ec);
  return ec ? std::string() : target.filename().string();
}

// The driver of the device behind a tty. Since Linux 6.5 an 8250 tty's device is a serial-base port
// below a serial-base controller, each served by the serial core's generic drivers; the driver
// that tells what the port is serves the device above them, as it did before.
std::string driverOf(const fs::path& device) {
  std::error_code ec;
  fs::path dir = fs::canonical(device, ec);
  if (ec) return {};
  while (dir.has_relative_path() && fs::read_symlink(dir / "subsystem", ec).filename() == "serial-base")
    dir = dir.parent_path();
  return linkName(dir / "driver");
}

// The ttys that are the system console; "tty0", the current virtual console, is none of the ports.
std::set<std::string> consoles(const fs::path& sysfsRoot) {
  std::ifstream in(sysfsRoot / "class" / "tty" / "console" / "active");
  std::set<std::string> names;
  for (std::string name; in >> name;) names.insert(name);
  return names;
}

// The name udev gives the node in <dev>/serial/by-id, the first by name when there are several.
std::string byIdOf(const fs::path& node, const fs::path& devDir) {
  std::error_code ec;
  std::vector<fs::path> links;
  for (fs::directory_iterator it(devDir / "serial" / "by-id", ec), end; !ec && it != end; it.increment(ec))
    if (it->is_symlink() && fs::equivalent(it->path(), node, ec) && !ec) links.push_back(it->path());
  return links.empty() ? std::string() : std::min_element(links.begin(), links.end())->string();
}

// Fills in what the USB bus tells about the port. The tty's device is the interface (cdc-acm) or a
// port device below it (usb-serial), and the layout above differs between kernels, so the interface
// and the USB device are found by walking up the real path: the interface has bInterfaceNumber,
// the device idVendor.
void readUsb(const fs::path& device, const fs::path& top, SerialPortDevice& port) {
  std::error_code ec;
  bool interfaceFound = false;
  for (fs::path dir = fs::canonical(device, ec); !ec && dir != top && dir.has_relative_path(); dir = dir.parent_path()) {
    if (!interfaceFound && fs::exists(dir / "bInterfaceNumber")) {
      interfaceFound = true;
      port.usbInterface = dir.filename().string();
      port.interfaceNumber = number(attribute(dir, "bInterfaceNumber"), 16);
      if (port.driver.empty()) port.driver = fs::read_symlink(dir / "driver", ec).filename().string();
      ec.clear();
    }
    if (fs::exists(dir / "idVendor")) {
      port.vendor = number(attribute(dir, "idVendor"), 16);
      port.product = number(attribute(dir, "idProduct"), 16);
      port.manufacturer = attribute(dir, "manufacturer").value_or("");
      port.productName = attribute(dir, "product").value_or("");
      port.serialNumber = attribute(dir, "serial").value_or("");
      return;
    }
  }
}

std::optional<SerialPortDevice> portOf(const fs::path& entry, const fs::path& top) {
  SerialPortDevice port;
  port.name = entry.filename().string();
  const fs::path device = entry / "device";
  std::error_code ec;
  const bool hasDevice = fs::exists(device, ec);
  if (hasDevice) port.driver = driverOf(device);
  if (numbered(port.name, "rfcomm")) {
    port.kind = SerialKind::Bluetooth;
    port.address = attribute(entry, "address").value_or("");
    port.channel = number(attribute(entry, "channel"), 10);
  } else if (numbered(port.name, "ircomm")) {
    port.kind = SerialKind::Infrared;
  } else if (!hasDevice) {
    return std::nullopt;  // a virtual console, a pseudo-terminal, the console or ptmx
  } else if (numbered(port.name, "ttyS")) {
    if (attribute(entry, "type") == "0") return std::nullopt;  // an 8250 line without a UART
    port.kind = SerialKind::BuiltIn;
  } else if (numbered(port.name, "ttyUSB") || numbered(port.name, "ttyACM")) {
    port.kind = SerialKind::Usb;
    readUsb(device, top, port);
  } else {
    readUsb(device, top, port);  // another driver's tty may sit on the USB bus too
  }
  return port;
}

}  // namespace

std::vector<SerialPortDevice> findSerialPorts(const fs::path& sysfsRoot, const fs::path& devDir) {
  std::vector<SerialPortDevice> ports;
  std::error_code ec;
  const fs::path top = fs::canonical(sysfsRoot, ec);
  const std::set<std::string> console = consoles(sysfsRoot);
  for (fs::directory_iterator it(sysfsRoot / "class" / "tty", ec), end; !ec && it != end; it.increment(ec)) {
    if (auto port = portOf(it->path(), top)) {
      const fs::path node = devDir / port->name;
      port->path = node.string();
      port->byId = byIdOf(node, devDir);
      port->console = console.count(port->name) > 0;
      ports.push_back(std::move(*port));
    }
  }
  numberComPorts(ports);
  return ports;
}

}  // namespace tov::platform
