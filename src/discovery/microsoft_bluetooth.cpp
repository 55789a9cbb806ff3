// Virtual COM ports of the Bluetooth stack that ships with Windows XP: before Service Pack 2 known
// only by the friendly name of their instance; from SP2 on classified by the "Service" of the
// instances that the enabled service entries of each paired device lead to.
#include <functional>

#include <tovport/automation/convert.h>
#include "discovery/enumerators.h"
#include "discovery/port_table.h"
#include "discovery/registry_walk.h"

namespace tov::discovery {
namespace {

using automation::toText;

constexpr std::u16string_view kBthEnum = u"System\\CurrentControlSet\\Enum\\BTHENUM";
constexpr std::u16string_view kDevices = u"System\\CurrentControlSet\\Services\\BTHPort\\Parameters\\Devices";

// Hands the port number of every "GPRS VIA BLUETOOTH(TM)" instance to visit, whether or not it
// names a port 1..32; a missing "PortName" gives 0.
void forEachGprsInstancePort(const std::function<void(std::int16_t)>& visit) {
  if (!keyExists(u"System\\CurrentControlSet\\Enum\\BTH\\MS_RFCOMM") || !keyExists(kBthEnum)) return;
  for (const BStr& device : subKeysOf(kBthEnum)) {
    const BStr deviceKey = subPath(kBthEnum, device);
    for (const BStr& instance : subKeysOf(deviceKey)) {
      const BStr instanceKey = subPath(deviceKey, instance);
      if (!hasValue(instanceKey, u"FriendlyName") ||
          automation::toUpper(toText(readTextValue(instanceKey, u"FriendlyName"))) != u"GPRS VIA BLUETOOTH(TM)")
        continue;
      visit(PortNumberFromName(toText(readTextValue(instanceKey + BStr(kDeviceParameters), u"PortName"))));
    }
  }
}

bool isEnabledEntry(std::u16string_view entryKey) {
  bool enabled = false;
  for (const BStr& name : valueNamesOf(entryKey))
    if (name == u"Enabled" && automation::toR8(readStoredValue(entryKey, name)) == 1.0) enabled = true;
  return enabled;
}

// An instance belongs to an entry M of device D when its name ends in D_M (a connection to the
// remote device) or in twelve zeros, "_" and M without its first character (a local service).
enum class InstanceForm { Other, Remote, Local };

std::u16string_view lastChars(std::u16string_view text, std::size_t n) {
  return text.substr(text.size() - std::min(n, text.size()));
}

InstanceForm instanceForm(std::u16string_view instance, std::u16string_view device, std::u16string_view entry) {
  const std::size_t tail = device.size() + entry.size();
  if (instance.size() < tail) return InstanceForm::Other;
  const BStr remoteTail = BStr(device) + u"_" + BStr(entry);
  if (automation::equalsNoCase(lastChars(instance, tail + 1), remoteTail)) return InstanceForm::Remote;
  const BStr localTail = u"000000000000_" + BStr(entry.empty() ? entry : entry.substr(1));
  if (automation::equalsNoCase(lastChars(instance, tail), localTail)) return InstanceForm::Local;
  return InstanceForm::Other;
}

ComPortType kindOfService(std::u16string_view upperService) {
  if (upperService == u"BTHMODEM") return cptBluetooth;
  if (upperService == u"BTHMODEM,IN") return cptBTSerialIn;
  if (upperService == u"MODEM") return cptBTDialUp;
  return cptNone;  // a Bluetooth port of another service is no COM port
}

}  // namespace

bool getMicrosoftBluetoothPortsXP() {
  bool marked = false;
  forEachGprsInstancePort([&](std::int16_t n) { marked |= markPort(n, cptBluetooth); });
  return marked;
}

bool isMicrosoftBluetoothPortXP(std::int16_t PortNr) {
  bool found = false;
  forEachGprsInstancePort([&](std::int16_t n) { found |= n == PortNr; });
  return found;
}

void getMicrossoftBluetoothPortsXPSP2() {
  for (const BStr& device : subKeysOfExisting(kDevices)) {
    const BStr deviceKey = subPath(kDevices, device);
    for (const BStr& group : subKeysOf(deviceKey)) {
      if (!group.starts_with(u"ServicesFor")) continue;
      const BStr groupKey = subPath(deviceKey, group);
      for (const BStr& service : subKeysOf(groupKey)) {
        const BStr serviceKey = subPath(groupKey, service);
        for (const BStr& entry : subKeysOf(serviceKey))
          if (isEnabledEntry(subPath(serviceKey, entry))) getBthEnumServicePorts(device, service, entry);
      }
    }
  }
}

void getBthEnumServicePorts(std::u16string_view DeviceKey, std::u16string_view ServiceKey,
                            std::u16string_view EntryKey) {
  const BStr serviceKey = subPath(kBthEnum, ServiceKey);
  for (const BStr& instance : subKeysOfExisting(serviceKey)) {
    BStr service;
    BStr portName;
    const InstanceForm form = instanceForm(instance, DeviceKey, EntryKey);
    if (form != InstanceForm::Other) {
      const BStr instanceKey = subPath(serviceKey, instance);
      for (const BStr& name : valueNamesOf(instanceKey)) {
        if (name != u"Service") continue;
        service = readStoredText(instanceKey, name);
        if (form == InstanceForm::Local) service += u",IN";
      }
      const BStr parameters = instanceKey + BStr(kDeviceParameters);
      if (!service.empty() && hasValue(parameters, u"PortName")) portName = readStoredText(parameters, u"PortName");
    }
    if (!service.empty() && !portName.empty())
      markPort(PortNumberFromName(portName), kindOfService(automation::toUpper(service)));
  }
}

}  // namespace tov::discovery
