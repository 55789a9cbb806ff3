#include "platform/machine_ports.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <tuple>

namespace tov::platform {
namespace {

constexpr std::string_view kLocalMachine = "HKEY_LOCAL_MACHINE\\";
constexpr std::string_view kSystem = "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\";
constexpr std::string_view kPortsClass = "Control\\Class\\{4D36E978-E325-11CE-BFC1-08002BE10318}\\";
// The BTHENUM key of the serial-port service class (0x1101), under which the Microsoft stack keeps
// one instance per outgoing serial port.
constexpr std::string_view kSerialService = "{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&0000";

std::string str(std::string_view s) { return std::string(s); }

std::string identityKey(int port) { return str(kPortPathsKey) + "\\COM" + std::to_string(port); }

std::string format(const char* pattern, unsigned a, unsigned b = 0, unsigned c = 0) {
  char text[64];
  std::snprintf(text, sizeof text, pattern, a, b, c);
  return text;
}

// The number a name ends in ("ttyS12" gives 12), -1 when none.
long trailingNumber(std::string_view name) {
  const std::size_t digits = name.find_last_not_of("0123456789") + 1;
  if (digits == name.size() || name.size() - digits > 6) return -1;
  return std::stol(std::string(name.substr(digits)));
}

// Names compared with their digit runs as numbers, so "1-1.10" sorts after "1-1.9".
bool naturalLess(std::string_view a, std::string_view b) {
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < a.size() && j < b.size()) {
    const bool da = a[i] >= '0' && a[i] <= '9';
    const bool db = b[j] >= '0' && b[j] <= '9';
    if (da && db) {
      const std::size_t ei = a.find_first_not_of("0123456789", i);
      const std::size_t ej = b.find_first_not_of("0123456789", j);
      std::string_view na = a.substr(i, ei - i);
      std::string_view nb = b.substr(j, ej - j);
      na.remove_prefix(std::min(na.find_first_not_of('0'), na.size()));
      nb.remove_prefix(std::min(nb.find_first_not_of('0'), nb.size()));
      if (na.size() != nb.size()) return na.size() < nb.size();
      if (na != nb) return na < nb;
      i = ei == std::string_view::npos ? a.size() : ei;
      j = ej == std::string_view::npos ? b.size() : ej;
    } else {
      if (a[i] != b[j]) return a[i] < b[j];
      ++i;
      ++j;
    }
  }
  return a.size() - i < b.size() - j;
}

bool comesBefore(const SerialPortDevice& a, const SerialPortDevice& b) {
  if (a.kind != b.kind) return a.kind < b.kind;
  if (a.kind == SerialKind::BuiltIn) return trailingNumber(a.name) < trailingNumber(b.name);
  if (a.kind == SerialKind::Usb && a.usbInterface != b.usbInterface) return naturalLess(a.usbInterface, b.usbInterface);
  return naturalLess(a.name, b.name);
}

// Which Windows driver would serve a USB port; it decides the keys discovery recognises.
enum class UsbDriver { Prolific, Qualcomm, AbstractControl, Other };

UsbDriver usbDriverOf(const SerialPortDevice& p) {
  if (p.vendor == 0x067b) return UsbDriver::Prolific;
  if (p.vendor == 0x05c6 || p.driver == "qcserial") return UsbDriver::Qualcomm;
  if (p.driver == "cdc_acm") return UsbDriver::AbstractControl;
  return UsbDriver::Other;
}

// Writes the keys of one kind of port; counts the ports of each device-name prefix.
class ViewWriter {
 public:
  explicit ViewWriter(Registry& registry) : reg_(registry) {}

  void add(const SerialPortDevice& p) {
    const std::string com = "COM" + std::to_string(p.com);
    if (p.console) {
      listDevice(numbered("Console"), com);
      setComPortPath(reg_, p.com, p.path);
      writeIdentity(p);
      return;
    }
    switch (p.kind) {
      case SerialKind::BuiltIn:
        listDevice("Serial" + std::to_string(trailingNumber(p.name)), com);
        break;
      case SerialKind::Usb:
        addUsb(p, com);
        break;
      case SerialKind::Bluetooth:
        addBluetooth(p, com);
        break;
      case SerialKind::Infrared:
        listDevice(numbered("IrCOMM"), com);
        reg_.setString(str(kSystem) + "Enum\\Root\\IRCOMM2K\\" + format("%04u", infrared_++) + "\\Device Parameters",
                       "PortName", com);
        break;
      case SerialKind::Other:
        listDevice(numbered("VCP"), com);
        break;
    }
    setComPortPath(reg_, p.com, p.path);
    writeIdentity(p);
  }

 private:
  void writeIdentity(const SerialPortDevice& p) {
    const std::string key = identityKey(p.com);
    const auto text = [&](std::string_view name, const std::string& value) {
      if (!value.empty()) reg_.setString(key, name, value);
    };
    text("Driver", p.driver);
    text("ById", p.byId);
    if (p.console) reg_.setDword(key, "Console", 1);
    if (p.kind != SerialKind::Usb && p.usbInterface.empty()) return;
    reg_.setDword(key, "VendorId", p.vendor);
    reg_.setDword(key, "ProductId", p.product);
    if (!p.usbInterface.empty()) {
      text("UsbInterface", p.usbInterface);
      reg_.setDword(key, "InterfaceNumber", p.interfaceNumber);
    }
    text("Manufacturer", p.manufacturer);
    text("Product", p.productName);
    text("SerialNumber", p.serialNumber);
  }

  // Every port the system knows is listed under SerialComm by its driver's device name.
  void listDevice(const std::string& deviceName, const std::string& com) {
    reg_.setString(str(kLocalMachine) + "Hardware\\DeviceMap\\SerialComm", "\\Device\\" + deviceName, com);
  }
  std::string numbered(const std::string& prefix) { return prefix + std::to_string(counts_[prefix]++); }

  // A driver instance of the Ports class names the device id its driver was installed for; the
  // device's instance key (one per interface) holds the port name.
  void addUsb(const SerialPortDevice& p, const std::string& com) {
    const UsbDriver driver = usbDriverOf(p);
    std::string deviceId = format("USB\\VID_%04X&PID_%04X", p.vendor, p.product);
    if (driver == UsbDriver::Qualcomm) deviceId += format("&MI_%02X", p.interfaceNumber);  // bound per interface
    const char* provider = driver == UsbDriver::Prolific          ? "Prolific"
                           : driver == UsbDriver::Qualcomm        ? "QUALCOMM Incorporated"
                           : driver == UsbDriver::AbstractControl ? "Microsoft"
                                                                  : nullptr;
    const std::string classKey = str(kSystem) + str(kPortsClass) + format("%04u", portsClass_++);
    reg_.setString(classKey, "ProviderName", provider ? provider : p.driver);
    reg_.setString(classKey, "MatchingDeviceID", deviceId);
    const std::string instance = p.usbInterface.empty() ? p.name : p.usbInterface;
    reg_.setString(str(kSystem) + "Enum\\" + deviceId + "\\" + instance + "\\Device Parameters", "PortName", com);
    listDevice(driver == UsbDriver::Prolific          ? numbered("ProlificSerial")
               : driver == UsbDriver::Qualcomm        ? numbered("QCUSB_COM")
               : driver == UsbDriver::AbstractControl ? numbered("USBSER")
                                                      : numbered("VCP"),
               com);
  }

  // An outgoing serial port of the Microsoft stack: an instance of the serial-port service named
  // after the remote device D and the service entry M, and the entry M, enabled, under D.
  void addBluetooth(const SerialPortDevice& p, const std::string& com) {
    std::string device;
    for (char c : p.address)
      if (c != ':') device += static_cast<char>(c >= 'A' && c <= 'F' ? c + 32 : c);
    if (device.size() != 12) device = "000000000000";
    const std::string entry = format("C%08X", p.channel);
    const std::string instance = str(kSystem) + "Enum\\BTHENUM\\" + str(kSerialService) + "\\8&0&" +
                                 std::to_string(bluetooth_++) + "&" + device + "_" + entry;
    reg_.setString(instance, "Service", "BTHMODEM");
    reg_.setString(instance + "\\Device Parameters", "PortName", com);
    reg_.setDword(str(kSystem) + "Services\\BTHPort\\Parameters\\Devices\\" + device + "\\ServicesFor" + device + "\\" +
                      str(kSerialService) + "\\" + entry,
                  "Enabled", 1);
    listDevice(numbered("BthModem"), com);
  }

  Registry& reg_;
  std::map<std::string, int> counts_;
  unsigned portsClass_ = 0;
  unsigned infrared_ = 0;
  unsigned bluetooth_ = 0;
};

}  // namespace

void numberComPorts(std::vector<SerialPortDevice>& ports) {
  std::stable_sort(ports.begin(), ports.end(), comesBefore);
  int next = 1;
  for (auto& p : ports) {
    const long unit = p.kind == SerialKind::BuiltIn ? trailingNumber(p.name) : -1;
    p.com = unit >= 0 ? static_cast<int>(unit) + 1 : next;
    if (p.com > 255) p.com = 0;
    if (p.com != 0) next = p.com + 1;
  }
}

namespace {

std::string identity(const SerialPortDevice& p) { return p.usbInterface.empty() ? p.name : "usb:" + p.usbInterface; }

// The lowest number that is neither held nor avoided, else the lowest not held; 0 when all are held.
int lowestFree(const std::set<int>& held, const std::set<int>& avoided) {
  int fallback = 0;
  for (int com = 1; com <= 255; ++com) {
    if (held.count(com)) continue;
    if (!avoided.count(com)) return com;
    if (fallback == 0) fallback = com;
  }
  return fallback;
}

}  // namespace

void ComPortNumbering::number(std::vector<SerialPortDevice>& ports) {
  numberComPorts(ports);
  std::set<int> held;
  std::vector<bool> placed(ports.size());
  // The ports still present keep their numbers first; then those that come back get theirs.
  for (const bool stillPresent : {true, false}) {
    for (std::size_t i = 0; i < ports.size(); ++i) {
      const std::string id = identity(ports[i]);
      const auto seen = seen_.find(id);
      if (placed[i] || seen == seen_.end() || present_.count(id) != static_cast<std::size_t>(stillPresent)) continue;
      if (held.insert(seen->second).second) {
        ports[i].com = seen->second;
        placed[i] = true;
      }
    }
  }
  std::set<int> kept;  // the numbers of ports seen earlier and absent now
  for (const auto& [id, com] : seen_)
    if (!held.count(com)) kept.insert(com);
  for (std::size_t i = 0; i < ports.size(); ++i) {
    if (placed[i]) continue;
    int& com = ports[i].com;
    if (com == 0 || held.count(com) || kept.count(com)) com = lowestFree(held, kept);
    if (com != 0) held.insert(com);
  }
  present_.clear();
  for (const auto& p : ports) {
    if (p.com == 0) continue;
    seen_[identity(p)] = p.com;
    present_.insert(identity(p));
  }
}

int comNumber(std::string_view name) {
  const bool prefixed = name.size() > 3 && (name[0] | 0x20) == 'c' && (name[1] | 0x20) == 'o' && (name[2] | 0x20) == 'm';
  const long number = prefixed ? trailingNumber(name) : -1;
  const bool plain = name.size() - 3 == std::to_string(number).size();  // no sign, no leading zero
  return number >= 1 && number <= 255 && plain ? static_cast<int>(number) : 0;
}

void describeComPorts(Registry& registry, const std::vector<SerialPortDevice>& ports) {
  ViewWriter writer(registry);
  for (const auto& p : ports)
    if (p.com != 0) writer.add(p);
}

void setComPortPath(Registry& registry, int port, std::string_view path) {
  registry.setString(kPortPathsKey, "COM" + std::to_string(port), path);
  registry.deleteKey(identityKey(port));
}

std::map<int, std::string> comPortPaths() {
  std::map<int, std::string> paths;
  HKEY key = 0;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kPortPathsKey.substr(kLocalMachine.size()).data(), 0, KEY_READ, &key) != 0)
    return paths;
  for (DWORD i = 0;; ++i) {
    char name[256];
    DWORD nameSize = sizeof name;
    DWORD type = 0;
    DWORD size = 0;
    if (RegEnumValueA(key, i, name, &nameSize, nullptr, &type, nullptr, &size) != ERROR_SUCCESS) break;
    std::string data(size, '\0');
    RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(data.data()), &size);
    if (!data.empty() && data.back() == '\0') data.pop_back();
    const std::string_view text(name, nameSize);
    const int port = comNumber(text);
    if (port == 0 || type != REG_SZ) {
      RegCloseKey(key);
      throw std::invalid_argument(std::string(kPortPathsKey) + ": \"" + std::string(text) +
                                  "\" must be a text value named COMn, n from 1 to 255");
    }
    paths[port] = data;
  }
  RegCloseKey(key);
  return paths;
}

namespace {

// A value of an open key, if it is there with the type asked for.
std::optional<std::string> textValue(HKEY key, const char* name) {
  DWORD type = 0;
  DWORD size = 0;
  if (RegQueryValueExA(key, name, nullptr, &type, nullptr, &size) != ERROR_SUCCESS || type != REG_SZ) return {};
  std::string data(size, '\0');
  RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(data.data()), &size);
  data.resize(size);
  if (!data.empty() && data.back() == '\0') data.pop_back();
  return data;
}

std::optional<DWORD> dwordValue(HKEY key, const char* name) {
  DWORD type = 0;
  DWORD value = 0;
  DWORD size = sizeof value;
  if (RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size) != ERROR_SUCCESS ||
      type != REG_DWORD)
    return {};
  return value;
}

}  // namespace

std::map<int, SerialPortDevice> comPortDevices() {
  std::map<int, SerialPortDevice> devices;
  for (const auto& [port, path] : comPortPaths()) {
    SerialPortDevice& d = devices[port];
    d.com = port;
    d.path = path;
    HKEY key = 0;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, identityKey(port).substr(kLocalMachine.size()).c_str(), 0, KEY_READ, &key) !=
        ERROR_SUCCESS)
      continue;
    d.driver = textValue(key, "Driver").value_or("");
    d.byId = textValue(key, "ById").value_or("");
    d.console = dwordValue(key, "Console").value_or(0) != 0;
    if (const auto vendor = dwordValue(key, "VendorId")) {
      d.kind = SerialKind::Usb;
      d.vendor = *vendor;
      d.product = dwordValue(key, "ProductId").value_or(0);
      d.usbInterface = textValue(key, "UsbInterface").value_or("");
      d.interfaceNumber = dwordValue(key, "InterfaceNumber").value_or(0);
      d.manufacturer = textValue(key, "Manufacturer").value_or("");
      d.productName = textValue(key, "Product").value_or("");
      d.serialNumber = textValue(key, "SerialNumber").value_or("");
    }
    RegCloseKey(key);
  }
  return devices;
}

}  // namespace tov::platform
