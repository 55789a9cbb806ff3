// The serial devices of the machine the host runs on, and the registry view that Windows XP with
// Service Pack 2 and its drivers would have written for the same hardware, so that port discovery
// runs over it unchanged. The view also carries which device each COM number stands for.
#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <tovport/platform/registry.h>

namespace tov::platform {

// The kinds of device that lead to different registry layouts. Their order is the order of COM
// numbers after the built-in ports.
enum class SerialKind { BuiltIn, Usb, Bluetooth, Infrared, Other };

struct SerialPortDevice {
  std::string name;  // the tty's name, "ttyUSB0"
  std::string path;  // its device node, "/dev/ttyUSB0"
  SerialKind kind = SerialKind::Other;
  // USB ports: the interface as the bus names it ("1-1.4:1.0": bus 1, ports 1 and 4, configuration
  // 1, interface 0), the device's ids, the interface number and the driver that serves the port.
  std::string usbInterface;
  unsigned vendor = 0;
  unsigned product = 0;
  unsigned interfaceNumber = 0;
  std::string driver;
  // Bluetooth ports: the remote device ("00:11:22:33:44:55") and the RFCOMM channel.
  std::string address;
  unsigned channel = 0;
  int com = 0;  // set by numberComPorts; 0 when no number up to 255 was left
  // What tells the user which device this is: the USB device's own strings and the stable name
  // udev gives the node (/dev/serial/by-id/...), where there are any.
  std::string manufacturer;
  std::string productName;
  std::string serialNumber;
  std::string byId;
  // The system console: kept in the view, but as a port no enumerator classifies, so that no sweep
  // of the component writes to it.
  bool console = false;
};

// Orders the ports and numbers them so that the same hardware on the same sockets always gets the
// same numbers: a built-in ttySn is COM(n+1); the others follow from the number after the highest
// built-in one, USB ports by USB path, then Bluetooth, infrared and the others by name.
void numberComPorts(std::vector<SerialPortDevice>& ports);

// The numbers of a machine whose ports come and go, scan after scan, as Windows keeps its COM port
// database: a port keeps its number while present; a port that comes back gets its earlier number
// again when no present port holds it; a new port gets the number numberComPorts gives it when
// that is neither held nor kept for a port seen earlier, else the lowest such number (else the
// lowest number not held). A USB port is known by its USB path, any other port by its name.
class ComPortNumbering {
 public:
  // Sorts and numbers the ports of a fresh scan.
  void number(std::vector<SerialPortDevice>& ports);

 private:
  std::map<std::string, int> seen_;  // every port numbered so far: its last number
  std::set<std::string> present_;    // the ports of the last scan
};

// The n of a port name "COMn" (case-blind, n from 1 to 255 in plain decimal digits); 0 for any
// other text.
int comNumber(std::string_view name);

// Writes the keys and values the system and the drivers would have for the numbered ports, and
// each port's device and identity under kPortPathsKey. A console is listed as a serial device
// only, which discovery reads as unclassified.
void describeComPorts(Registry& registry, const std::vector<SerialPortDevice>& ports);

// Values "COMn" = device path: the host's map from COM numbers to devices, kept in the view so
// that a saved view loads back with its devices; beside them a key "COMn" per port with what that
// device is (driver, console, USB ids and strings, by-id name). Setting a port's path drops its
// identity, which described the device it had before.
inline constexpr std::string_view kPortPathsKey = "HKEY_LOCAL_MACHINE\\Software\\tovport\\Ports";
void setComPortPath(Registry& registry, int port, std::string_view path);
// The map kPortPathsKey of the process's registry holds. A value name that is no COMn (n 1 to 255)
// or data that are no text throw std::invalid_argument naming the value.
std::map<int, std::string> comPortPaths();
// The ports of comPortPaths with the identity the view keeps for each: path, com, driver, console,
// byId and, for a port on the USB bus (read back as kind Usb, whatever driver serves it), its ids,
// interface and strings. Values of the wrong type are left out.
std::map<int, SerialPortDevice> comPortDevices();

}  // namespace tov::platform
