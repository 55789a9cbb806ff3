// Ports the system lists as serial devices, and the plain serial ports among them.
#include <tovport/automation/convert.h>
#include "discovery/enumerators.h"
#include "discovery/registry_walk.h"

namespace tov::discovery {
namespace {

constexpr std::u16string_view kSerialComm = u"Hardware\\DeviceMap\\SerialComm";

// Every listed device's port as kind: the value names are device names, the data port names.
void acceptListedPorts(const std::vector<BStr>& deviceNames, ComPortType kind) {
  for (const BStr& device : deviceNames) acceptPort(readTextValue(kSerialComm, device), kind);
}

bool isPlainSerialDevice(std::u16string_view deviceName) {
  return automation::containsNoCase(deviceName, u"Serial") || automation::containsNoCase(deviceName, u"vspciser");
}

// The instance key of the standard COM-port driver's device: ACPI preferred over BIOS.
std::optional<BStr> serialDeviceKey9x(std::u16string_view deviceId) {
  for (std::u16string_view bus : {u"Enum\\ACPI", u"Enum\\BIOS"}) {
    BStr key = subPath(bus, deviceId);
    if (keyExists(key)) return key;
  }
  return std::nullopt;
}

}  // namespace

void getRegisteredPortsNT() { acceptListedPorts(valueNamesOfExisting(kSerialComm), cptUnknown); }

void getregisteredPorts9x() { acceptListedPorts(valueNamesOf(kSerialComm), cptUnknown); }

void getSerialPortsNT() {
  std::vector<BStr> serialDevices;
  for (BStr& device : valueNamesOfExisting(kSerialComm))
    if (isPlainSerialDevice(device)) serialDevices.push_back(std::move(device));
  acceptListedPorts(serialDevices, cptSerial);
}

void getserialPorts9x() {
  if (const auto deviceId = matchingDeviceId(u"System\\CurrentControlSet\\Services\\Class\\Ports", u"InfSection",
                                             u"COMPORT")) {
    if (const auto key = serialDeviceKey9x(*deviceId))
      acceptInstancePorts(*key, subKeysOf(*key), u"", u"PortName", cptSerial);
  } else {
    // Root-enumerated ports count only when no standard COM-port driver is installed.
    constexpr std::u16string_view kRootPorts = u"Enum\\Root\\Ports";
    acceptInstancePorts(kRootPorts, subKeysOfExisting(kRootPorts), u"", u"PortName", cptSerial);
  }
  constexpr std::u16string_view kVscomBus = u"Enum\\VSCOMBUS";
  for (const BStr& device : subKeysOfExisting(kVscomBus)) {
    const BStr deviceKey = subPath(kVscomBus, device);
    acceptInstancePorts(deviceKey, subKeysOf(deviceKey), u"", u"PortName", cptSerial);
  }
}

}  // namespace tov::discovery
