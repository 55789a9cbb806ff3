// The enumerators of the discovery run: each reads one driver's or stack's registry layout and
// writes the kind of every port it recognises into the thread's PortTable, by plain assignment.
// The Bluetooth links of the driver's chain answer whether they ended the chain.
#pragma once

#include <cstdint>
#include <string_view>

namespace tov::discovery {

// Ports the system lists (cptUnknown) and plain serial ports (cptSerial).
void getRegisteredPortsNT();
void getSerialPortsNT();
void getregisteredPorts9x();
void getserialPorts9x();

// USB ports: passive (Qualcomm modem interface 00) and active.
void getUSBPassivePorts();
void getUSBPortsNT();
void getusbPorts9x();

// Infrared virtual ports.
void getIrDaPortsNT();
void getirdaPorts9x();

// Widcomm: True when the stack's fallback list yielded a port.
bool getWidcommBluetoothPortsNT();
bool getWidcommPorts9x();

// 3Com and the extended (BTCOMM / XTND) stack: True when a port was marked.
bool get3ComBluetoothPortsNT();
bool get3comBluetoothPorts9x();
bool getExtendedBluetoothPortsNT();
bool getExtendedPorts9x();

// Microsoft stack before XP SP2: ports of "GPRS VIA BLUETOOTH(TM)" instances.
bool getMicrosoftBluetoothPortsXP();
// Whether such an instance names port PortNr; reads the registry only, not the table.
bool isMicrosoftBluetoothPortXP(std::int16_t PortNr);

// Microsoft stack from XP SP2 on: the enabled service entries of every paired device.
void getMicrossoftBluetoothPortsXPSP2();
// Classifies the BTHENUM instances of service key ServiceKey that belong to DeviceKey's entry.
void getBthEnumServicePorts(std::u16string_view DeviceKey, std::u16string_view ServiceKey,
                            std::u16string_view EntryKey);

}  // namespace tov::discovery
