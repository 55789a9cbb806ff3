// Virtual COM ports of the 3Com Bluetooth stack and of the extended stack (service BTCOMM on the
// NT family, enumerator XTND on 9x).
#include <tovport/automation/convert.h>
#include "discovery/enumerators.h"
#include "discovery/port_table.h"
#include "discovery/registry_walk.h"

namespace tov::discovery {
namespace {

// 9x: devices under key, instances under each, the port in the instance's "AttachedTo".
bool acceptAttachedPorts9x(std::u16string_view key, std::u16string_view trace) {
  PortTypeTrace(BStr(trace));
  bool marked = false;
  for (const BStr& device : subKeysOfExisting(key)) {
    const BStr deviceKey = subPath(key, device);
    marked |= acceptInstancePorts(deviceKey, subKeysOf(deviceKey), u"", u"AttachedTo", cptBluetooth);
  }
  return marked;
}

bool isExtendedStackInstance(std::u16string_view instanceKey) {
  return hasValue(instanceKey, u"Service") &&
         automation::toUpper(automation::toText(readTextValue(instanceKey, u"Service"))) == u"BTCOMM";
}

}  // namespace

bool get3ComBluetoothPortsNT() {
  constexpr std::u16string_view kBtPort = u"System\\CurrentControlSet\\Enum\\BT3C\\BTPORT";
  PortTypeTrace(u"3com");
  if (!keyExists(kBtPort)) return false;
  PortTypeTrace(u"nach ObjektExistiert");
  return acceptInstancePorts(kBtPort, subKeysOf(kBtPort), kDeviceParameters, u"PortName", cptBluetooth);
}

bool getExtendedBluetoothPortsNT() {
  constexpr std::u16string_view kRootPorts = u"System\\CurrentControlSet\\Enum\\Root\\Ports";
  bool marked = false;
  for (const BStr& instance : subKeysOfExisting(kRootPorts)) {
    const BStr instanceKey = subPath(kRootPorts, instance);
    if (isExtendedStackInstance(instanceKey))
      marked |= acceptPortValue(instanceKey + BStr(kDeviceParameters), u"PortName", cptBluetooth);
  }
  return marked;
}

bool get3comBluetoothPorts9x() { return acceptAttachedPorts9x(u"Enum\\BT3C", u"get3comBluetoothPorts9x"); }

bool getExtendedPorts9x() { return acceptAttachedPorts9x(u"Enum\\XTND", u"getExtendedPorts9x"); }

}  // namespace tov::discovery
