// Virtual COM ports of the Widcomm Bluetooth stack: its applications list, and when no serial
// application yielded a port, the system's list of serial devices (NT) or the stack's enumerator
// key (9x).
#include <tovport/automation/convert.h>
#include "discovery/enumerators.h"
#include "discovery/registry_walk.h"

namespace tov::discovery {
namespace {

constexpr std::u16string_view kApplications = u"Software\\Widcomm\\BTConfig\\Applications";
constexpr std::int32_t kSerialPortServiceClass = 0x1101;

// "ComPortNumber" is the port number itself, not a port name.
bool markApplicationPort(std::u16string_view app) {
  return hasValue(app, u"ComPortNumber") &&
         markPort(automation::toI2(readNumberValue(app, u"ComPortNumber")), cptBluetooth);
}

// The two kinds of application; each marks its port and answers whether it was a serial-port
// application that yielded one (which makes the fallback unnecessary).
bool markSerialApplication(std::u16string_view app) {
  return automation::toI4(readNumberValue(app, u"UUID")) == kSerialPortServiceClass && markApplicationPort(app);
}

bool markDialUpApplication(std::u16string_view app) {
  if (automation::toLower(automation::toText(readTextValue(app, u"RasConnection"))) == u"bluetoothconnection")
    markApplicationPort(app);
  return false;
}

// An application is of the first kind whose marker value it holds; the families test the kinds
// in opposite orders.
struct ApplicationKind {
  std::u16string_view marker;
  bool (*mark)(std::u16string_view app);
};
constexpr ApplicationKind kSerialApplication{u"UUID", markSerialApplication};
constexpr ApplicationKind kDialUpApplication{u"RasConnection", markDialUpApplication};

// Walks the applications; nullopt when the stack is absent, else whether a serial application
// yielded a port.
std::optional<bool> markApplicationPorts(const ApplicationKind& first, const ApplicationKind& second) {
  if (!keyExists(kApplications)) return std::nullopt;
  bool serialFound = false;
  for (const BStr& name : subKeysOf(kApplications)) {
    const BStr app = subPath(kApplications, name);
    for (const ApplicationKind* kind : {&first, &second}) {
      if (!hasValue(app, kind->marker)) continue;
      serialFound |= kind->mark(app);
      break;
    }
  }
  return serialFound;
}

}  // namespace

bool getWidcommBluetoothPortsNT() {
  const auto serialFound = markApplicationPorts(kSerialApplication, kDialUpApplication);
  if (!serialFound || *serialFound) return false;
  constexpr std::u16string_view kSerialComm = u"Hardware\\DeviceMap\\SerialComm";
  bool marked = false;
  for (const BStr& device : valueNamesOfExisting(kSerialComm))
    if (automation::containsNoCase(device, u"BtPort")) marked |= acceptPort(readTextValue(kSerialComm, device), cptBluetooth);
  return marked;
}

bool getWidcommPorts9x() {
  const auto serialFound = markApplicationPorts(kDialUpApplication, kSerialApplication);
  if (!serialFound || *serialFound) return false;
  constexpr std::u16string_view kBluecomm = u"Enum\\Root\\Bluecomm";
  return acceptInstancePorts(kBluecomm, subKeysOfExisting(kBluecomm), u"", u"PortName", cptBluetooth);
}

}  // namespace tov::discovery
