// Virtual COM ports of USB devices: passive (Qualcomm modems) and active.
#include <tovport/automation/convert.h>
#include "discovery/enumerators.h"
#include "discovery/port_table.h"
#include "discovery/registry_walk.h"

namespace tov::discovery {
namespace {

// The Ports device class of the NT family: one subkey per driver instance.
constexpr std::u16string_view kPortsClassNT =
    u"System\\CurrentControlSet\\Control\\Class\\{4D36E978-E325-11CE-BFC1-08002BE10318}";
constexpr std::u16string_view kEnumNT = u"System\\CurrentControlSet\\Enum";

// Device keys walked whatever the driver class says: the 11f5 data cable and the product 2303
// USB-to-serial bridge whose driver the Prolific test looks for.
constexpr std::u16string_view kFixedDevicesNT[] = {u"System\\CurrentControlSet\\Enum\\USB\\Vid_11f5&Pid_0003",
                                                   u"System\\CurrentControlSet\\Enum\\USB\\Vid_067b&Pid_2303"};
constexpr std::u16string_view kFixedDevices9x[] = {u"Enum\\USB\\VID_11F5&PID_0003", u"Enum\\USB\\VID_067B&PID_2303"};

void acceptDevicePortsNT(std::u16string_view deviceKey, ComPortType kind) {
  acceptInstancePorts(deviceKey, subKeysOfExisting(deviceKey), kDeviceParameters, u"PortName", kind);
}

BStr replaceAllNoCase(std::u16string_view text, std::u16string_view from, std::u16string_view to) {
  BStr out;
  for (auto at = automation::findNoCase(text, from); at != BStr::npos; at = automation::findNoCase(text, from)) {
    out.append(text.substr(0, at)).append(to);
    text.remove_prefix(at + from.size());
  }
  return out.append(text);
}

// On 9x a USB device attaches its port through a child device node; only the first port counts.
void acceptFirstAttachedPort9x(std::u16string_view deviceKey) {
  for (const BStr& instance : subKeysOfExisting(deviceKey)) {
    const BStr instanceKey = subPath(deviceKey, instance);
    if (!hasValue(instanceKey, u"ChildDevNode")) continue;
    const BStr child = subPath(u"Enum", readStoredText(instanceKey, u"ChildDevNode"));
    if (hasValue(child, u"AttachedTo") && acceptPort(readTextValue(child, u"AttachedTo"), cptUSB)) return;
  }
}

}  // namespace

void getUSBPassivePorts() {
  const auto modemId = matchingDeviceId(kPortsClassNT, u"Providername", u"QUALCOMM INCORPORATED");
  constexpr std::size_t kInterfaceSuffix = 6;  // "&mi_01"
  if (!modemId || modemId->size() <= kInterfaceSuffix) return;
  // The COM port lies on interface 00 of the same device.
  const BStr firstInterface = automation::toLower(*modemId).substr(0, modemId->size() - kInterfaceSuffix) + u"&mi_00";
  PortTypeTrace(firstInterface);
  const BStr deviceKey = subPath(kEnumNT, firstInterface);
  for (const BStr& instance : subKeysOfExisting(deviceKey)) {
    const BStr parameters = subPath(deviceKey, instance) + BStr(kDeviceParameters);
    PortTypeTrace(parameters);
    if (!hasValue(parameters, u"PortName")) continue;
    const BStr portName = automation::toText(readTextValue(parameters, u"PortName"));
    PortTypeTrace(portName);
    const int n = PortNumberFromName(portName);
    if (n >= 1 && n <= MaxPorts) PortTypeTrace(u"COM passive detected on port " + automation::numberText(n));
    markPort(n, cptUSBPassive);
  }
}

void getUSBPortsNT() {
  if (const auto deviceId = matchingDeviceId(kPortsClassNT, u"Providername", u"PROLIFIC"))
    acceptDevicePortsNT(subPath(kEnumNT, *deviceId), cptUSB);
  for (std::u16string_view device : kFixedDevicesNT) acceptDevicePortsNT(device, cptUSB);
}

void getusbPorts9x() {
  if (const auto deviceId = matchingDeviceId(u"System\\CurrentControlSet\\Services\\Class\\USB", u"InfSection",
                                             u"COMPORT")) {
    // The port driver's instances live under USBPORTS, not under the USB bus.
    const BStr deviceKey = subPath(u"Enum", replaceAllNoCase(*deviceId, u"USB\\", u"USBPORTS\\"));
    acceptInstancePorts(deviceKey, subKeysOfExisting(deviceKey), u"", u"PortName", cptUSB);
  }
  for (std::u16string_view device : kFixedDevices9x) acceptFirstAttachedPort9x(device);
}

}  // namespace tov::discovery
