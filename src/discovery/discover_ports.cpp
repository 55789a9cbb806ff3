// The discovery driver: the enumerators of each OS family in their fixed order, which is also
// their precedence, lowest first.
#include <span>

#include "discovery/enumerators.h"
#include "discovery/os_info.h"
#include "discovery/port_table.h"

namespace tov::discovery {
namespace {

struct Step {
  std::u16string_view name;
  void (*run)();
};

// A Bluetooth chain link; True ends the chain.
struct Link {
  std::u16string_view name;
  bool (*run)();
};

void runSteps(std::span<const Step> steps) {
  for (const Step& step : steps) {
    PortTypeTrace(BStr(step.name));
    step.run();
  }
}

void runChain(std::span<const Link> chain) {
  for (const Link& link : chain) {
    PortTypeTrace(BStr(link.name));
    if (link.run()) return;
  }
}

void discoverPortsNT() {
  static constexpr Step kBefore[] = {{u"getRegisteredPortsNT", getRegisteredPortsNT},
                                     {u"getSerialPortsNT", getSerialPortsNT}};
  static constexpr Link kBluetooth[] = {{u"getWidcommBluetoothPortsNT", getWidcommBluetoothPortsNT},
                                        {u"get3ComBluetoothPortsNT", get3ComBluetoothPortsNT},
                                        {u"getExtendedBluetoothPortsNT", getExtendedBluetoothPortsNT},
                                        {u"getMicrosoftBluetoothPortsXP", getMicrosoftBluetoothPortsXP}};
  static constexpr Step kXPServicePack2[] = {{u"getMicrossoftBluetoothPortsXPSP2", getMicrossoftBluetoothPortsXPSP2}};
  static constexpr Step kAfter[] = {{u"getIrDaPortsNT", getIrDaPortsNT},
                                    {u"getUSBPassivePorts", getUSBPassivePorts},
                                    {u"getUSBPortsNT", getUSBPortsNT}};
  runSteps(kBefore);
  runChain(kBluetooth);
  // Runs whatever the chain found, so its marks replace the chain's for the same ports.
  if (IsXPServicePack2()) runSteps(kXPServicePack2);
  runSteps(kAfter);
}

void discoverPorts9x() {
  static constexpr Step kBefore[] = {{u"getregisteredPorts9x", getregisteredPorts9x}};
  static constexpr Link kBluetooth[] = {{u"getWidcommPorts9x", getWidcommPorts9x},
                                        {u"get3comBluetoothPorts9x", get3comBluetoothPorts9x},
                                        {u"getExtendedPorts9x", getExtendedPorts9x}};
  // Serial ports come last on 9x: their mark stands over every other.
  static constexpr Step kAfter[] = {{u"getirdaPorts9x", getirdaPorts9x},
                                    {u"getusbPorts9x", getusbPorts9x},
                                    {u"getserialPorts9x", getserialPorts9x}};
  runSteps(kBefore);
  runChain(kBluetooth);
  runSteps(kAfter);
}

}  // namespace

void DiscoverPorts() {
  for (ComPortType& kind : PortTable()) kind = cptNone;
  if (OSPlatform() == 2)
    discoverPortsNT();
  else
    discoverPorts9x();  // also when the platform cannot be read
  PortTypeTrace(u"finished loop");
  PortTableFilled() = true;
}

}  // namespace tov::discovery
