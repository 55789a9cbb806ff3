// Virtual COM ports of infrared (IrDA) drivers.
#include "discovery/enumerators.h"
#include "discovery/registry_walk.h"

namespace tov::discovery {

void getIrDaPortsNT() {
  constexpr std::u16string_view kIrDeviceKeys[] = {
      u"System\\CurrentControlSet\\Enum\\IRENUM\\SIA0002", u"System\\CurrentControlSet\\Enum\\IRENUM\\SIE0001",
      u"System\\CurrentControlSet\\Enum\\Root\\IRCOMM2K", u"System\\CurrentControlSet\\Enum\\IRENUM\\SIE-SX1"};
  for (std::u16string_view key : kIrDeviceKeys)
    acceptInstancePorts(key, subKeysOfExisting(key), kDeviceParameters, u"PortName", cptIrDa);
}

void getirdaPorts9x() {
  // The virtual-ports value, when present, is the only source, even when it names no COM port.
  constexpr std::u16string_view kVirtualPorts = u"Enum\\Infrared\\VirtualPorts";
  if (hasValue(kVirtualPorts, u"VirtualComPortName")) {
    acceptPort(readTextValue(kVirtualPorts, u"VirtualComPortName"), cptIrDa);
    return;
  }
  constexpr std::u16string_view kComInstances = u"Enum\\Infrared\\COM";
  acceptInstancePorts(kComInstances, subKeysOfExisting(kComInstances), u"", u"Portname", cptIrDa);
}

}  // namespace tov::discovery
