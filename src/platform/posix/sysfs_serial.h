// The serial devices of a Linux machine, read from sysfs: 8250/16550 ports with a UART, USB
// serial adapters and CDC-ACM devices, Bluetooth RFCOMM and IrCOMM ports, and any other tty that a
// device stands behind. Virtual consoles and pseudo-terminals have no device and are left out; the
// ttys that class/tty/console/active names are kept and marked as the console.
#pragma once

#include <filesystem>
#include <vector>

#include "platform/machine_ports.h"

namespace tov::platform {

// The ports under sysfsRoot/class/tty, numbered (numberComPorts); each one's device node is
// devDir/NAME, its by-id name a link to that node in devDir/serial/by-id. A missing class/tty
// gives no ports.
std::vector<SerialPortDevice> findSerialPorts(const std::filesystem::path& sysfsRoot,
                                              const std::filesystem::path& devDir);

}  // namespace tov::platform
