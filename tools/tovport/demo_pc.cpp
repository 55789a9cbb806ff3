#include "demo_pc.h"

#include <tovport/platform/os_version.h>
#include <tovport/platform/phone_simulator.h>
#include <tovport/platform/reg_file.h>
#include <tovport/platform/registry.h>
#include <tovport/platform/serial_memory.h>

namespace tovport_cli {
namespace {

using namespace tov::platform;

// COM1 plain serial, COM3 a Prolific USB cable, COM4 infrared, COM5 and COM6 ports of the
// Microsoft Bluetooth stack (outgoing, incoming), COM8 a port no driver key classifies.
constexpr const char* kRegistry = R"(REGEDIT4

[HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\Serial0"="COM1"
"\\Device\\ProlificSerial0"="COM3"
"\\Device\\BthModem0"="COM5"
"\\Device\\BthModem1"="COM6"
"\\Device\\VCP0"="COM8"

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Class\{4D36E978-E325-11CE-BFC1-08002BE10318}\0000]
"Providername"="PROLIFIC"
"MatchingDeviceID"="usb\\vid_067b&pid_2303"

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\USB\Vid_067b&Pid_2303\5&2a8b1c3&0&1\Device Parameters]
"PortName"="COM3"

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\IRENUM\SIE0001\4&1b2c3d4&0\Device Parameters]
"PortName"="COM4"

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Services\BTHPort\Parameters\Devices\0012d2a1b2c3\ServicesFor0001\{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a\C00000000]
"Enabled"=dword:00000001

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Services\BTHPort\Parameters\Devices\0012d2a1b2c3\ServicesFor0001\{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a\C00000001]
"Enabled"=dword:00000001

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\BTHENUM\{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a\8&2f0a7e1&0&0012D2A1B2C3_C00000000]
"Service"="BTHMODEM"

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\BTHENUM\{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a\8&2f0a7e1&0&0012D2A1B2C3_C00000000\Device Parameters]
"PortName"="COM5"

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\BTHENUM\{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a\8&2f0a7e1&0&000000000000_00000001]
"Service"="BTHMODEM"

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\BTHENUM\{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a\8&2f0a7e1&0&000000000000_00000001\Device Parameters]
"PortName"="COM6"
)";

struct PortSetup {
  int port;
  const char* kind;
  const char* attached;
  const char* model;  // nullptr: no phone
  DWORD lines;        // modem lines the device shows
};

const PortSetup kPorts[] = {
    {1, "plain serial", "nothing attached", nullptr, 0},
    {3, "USB active (Prolific cable)", "a BenQ-Siemens S65", "S65", MS_CTS_ON | MS_DSR_ON},
    {4, "infrared", "a BenQ-Siemens SL75", "SL75", 0},
    {5, "Bluetooth outgoing", "a device that stays silent", nullptr, MS_CTS_ON},
    {6, "Bluetooth incoming", "not tested", nullptr, 0},
    {8, "unclassified", "not tested", nullptr, 0},
};

}  // namespace

struct DemoPc::Parts {
  Registry registry;
  MemorySerialBackend serial;
  std::unique_ptr<ScopedRegistry> registryScope;
  std::unique_ptr<ScopedSerialBackend> serialScope;
  OsVersion previousVersion = currentOsVersion();
};

DemoPc::DemoPc() : parts_(std::make_unique<Parts>()) {
  loadRegText(parts_->registry, kRegistry, "demo PC");
  parts_->registryScope = std::make_unique<ScopedRegistry>(parts_->registry);
  parts_->serialScope = std::make_unique<ScopedSerialBackend>(parts_->serial);
  setOsVersion(*parseOsVersion("xp-sp2"));
  for (int n = 1; n <= 32; ++n) parts_->serial.port(n).setPresent(false);
  for (const auto& p : kPorts) {
    SimulatedPort& port = parts_->serial.port(p.port);
    port.setPresent(true);
    port.setModemLines(p.lines);
    if (p.model) {
      PhoneProfile phone;
      phone.model = p.model;
      port.setPeer(phonePeer(phone, 120));
    }
  }
}

DemoPc::~DemoPc() { setOsVersion(parts_->previousVersion); }

void DemoPc::describe(std::ostream& out) {
  out << "Simulated PC: Windows XP Service Pack 2\n";
  for (const auto& p : kPorts)
    out << "  COM" << p.port << "  " << p.kind << ", " << p.attached << "\n";
  out << "  every other COM port: not present\n";
}

}  // namespace tovport_cli
