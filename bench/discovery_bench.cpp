// One discovery run over (a) the largest registry fixture, (b) a generated registry of 20,000
// keys in which every stack is present with 32 ports, among keys that no enumerator visits, and
// (c) XP SP2 registries with 1,000 and 10,000 paired Bluetooth devices that share one service.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <filesystem>
#include <string>

#include "discovery/port_table.h"
#include <tovport/platform/os_version.h>
#include <tovport/platform/reg_file.h>
#include <tovport/platform/registry.h>

namespace {

using tov::platform::Registry;

constexpr std::size_t kGeneratedKeys = 20000;

std::string fixturePath(const char* name) {
  return (std::filesystem::path(TOVPORT_FIXTURES) / name).string();
}

std::string com(int port) { return "COM" + std::to_string(port); }
std::string numbered(const char* prefix, int i) {
  char digits[16];
  std::snprintf(digits, sizeof digits, "%04d", i);
  return prefix + std::string(digits);
}
// A Bluetooth device address of 12 hex digits, one per port or device.
std::string address(int device) {
  char text[16];
  std::snprintf(text, sizeof text, "0016b8%06x", device);
  return text;
}

void addNTStacks(Registry& reg) {
  const std::string lm = "HKLM\\System\\CurrentControlSet\\";
  const std::string portsClass = lm + "Control\\Class\\{4D36E978-E325-11CE-BFC1-08002BE10318}\\";
  reg.setString(portsClass + "0000", "ProviderName", "Prolific");
  reg.setString(portsClass + "0000", "MatchingDeviceID", "USB\\VID_067B&PID_2303");
  reg.setString(portsClass + "0001", "ProviderName", "QUALCOMM Incorporated");
  reg.setString(portsClass + "0001", "MatchingDeviceID", "USB\\VID_05C6&PID_3197&MI_01");
  reg.createKey(lm + "Enum\\BTH\\MS_RFCOMM\\7&1");
  const std::string serialService = "{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a";
  const char* instanceKeys[] = {"Enum\\USB\\Vid_067b&Pid_2303", "Enum\\USB\\Vid_11f5&Pid_0003",
                                "Enum\\USB\\Vid_05c6&Pid_3197&MI_00", "Enum\\IRENUM\\SIA0002",
                                "Enum\\IRENUM\\SIE0001", "Enum\\Root\\IRCOMM2K", "Enum\\IRENUM\\SIE-SX1",
                                "Enum\\BT3C\\BTPORT"};
  for (int p = 1; p <= 32; ++p) {
    reg.setString("HKLM\\Hardware\\DeviceMap\\SerialComm", "\\Device\\Serial" + std::to_string(p), com(p));
    reg.setString("HKLM\\Hardware\\DeviceMap\\SerialComm", "\\Device\\BtPort" + std::to_string(p), com(p));
    for (const char* key : instanceKeys)
      reg.setString(lm + key + "\\" + numbered("5&1&0&", p) + "\\Device Parameters", "PortName", com(p));
    const std::string app = "HKLM\\Software\\Widcomm\\BTConfig\\Applications\\" + numbered("", p);
    reg.setDword(app, "UUID", 0x1101);
    reg.setDword(app, "ComPortNumber", static_cast<std::uint32_t>(p));
    const std::string rootPort = lm + "Enum\\Root\\Ports\\" + numbered("", p);
    reg.setString(rootPort, "Service", "BTCOMM");
    reg.setString(rootPort + "\\Device Parameters", "PortName", com(p));
    const std::string instance = lm + "Enum\\BTHENUM\\" + serialService + "\\8&1&0&" + address(p) + "_C00000000";
    reg.setString(instance, "FriendlyName", "GPRS via Bluetooth(TM)");
    reg.setString(instance, "Service", p % 2 ? "BTHMODEM" : "Modem");
    reg.setString(instance + "\\Device Parameters", "PortName", com(p));
    reg.setDword(lm + "Services\\BTHPort\\Parameters\\Devices\\" + address(p) + "\\ServicesFor" + address(p) + "\\" +
                     serialService + "\\C00000000",
                 "Enabled", 1);
  }
}

void add9xStacks(Registry& reg) {
  reg.setString("HKLM\\System\\CurrentControlSet\\Services\\Class\\Ports\\0000", "InfSection", "ComPort");
  reg.setString("HKLM\\System\\CurrentControlSet\\Services\\Class\\Ports\\0000", "MatchingDeviceID", "*PNP0501");
  reg.setString("HKLM\\System\\CurrentControlSet\\Services\\Class\\USB\\0000", "InfSection", "ComPort");
  reg.setString("HKLM\\System\\CurrentControlSet\\Services\\Class\\USB\\0000", "MatchingDeviceID",
                "USB\\VID_067B&PID_2303");
  for (int p = 1; p <= 32; ++p) {
    for (const char* key : {"Enum\\BIOS\\*PNP0501", "Enum\\USBPORTS\\VID_067B&PID_2303", "Enum\\Root\\Bluecomm",
                            "Enum\\VSCOMBUS\\VSCOM8", "Enum\\Infrared\\COM"})
      reg.setString(std::string("HKLM\\") + key + "\\" + numbered("", p), "PortName", com(p));
    for (const char* key : {"Enum\\BT3C\\BTPORT", "Enum\\XTND\\BTCOMM", "Enum\\SIEMENS\\DATACABLE"})
      reg.setString(std::string("HKLM\\") + key + "\\" + numbered("", p), "AttachedTo", com(p));
    reg.setString("HKLM\\Enum\\USB\\VID_11F5&PID_0003\\" + numbered("", p), "ChildDevNode",
                  "SIEMENS\\DATACABLE\\" + numbered("", p));
  }
}

// Keys of other device classes, services and software, up to the size of a real SYSTEM hive.
void addFiller(Registry& reg) {
  for (int i = 0; reg.keyCount() < kGeneratedKeys; ++i) {
    const std::string device = "HKLM\\System\\CurrentControlSet\\Enum\\PCI\\" + numbered("VEN_8086&DEV_", i % 400) +
                               "\\" + numbered("3&61aaa01&0&", i);
    reg.setString(device, "DeviceDesc", "PCI device");
    reg.setString(device + "\\Device Parameters", "InterruptManagement", "x");
    reg.setString("HKLM\\Software\\Classes\\CLSID\\" + numbered("{00000000-0000-0000-C000-00000000", i) + "}",
                  "", "Class");
  }
}

const Registry& generatedRegistry() {
  static Registry* reg = [] {
    auto* r = new Registry;
    addNTStacks(*r);
    add9xStacks(*r);
    addFiller(*r);
    return r;
  }();
  return *reg;
}

// Paired devices of the Microsoft stack, each with an enabled serial-port entry that leads to the
// one BTHENUM service key holding every device's instance (some of them ports 1 to 32).
const Registry& bluetoothRegistry(int devices) {
  static std::map<int, std::unique_ptr<Registry>> built;
  auto& reg = built[devices];
  if (reg) return *reg;
  reg = std::make_unique<Registry>();
  const std::string lm = "HKLM\\System\\CurrentControlSet\\";
  const std::string service = "{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000f";
  for (int d = 0; d < devices; ++d) {
    const std::string instance = lm + "Enum\\BTHENUM\\" + service + "\\8&1&0&" + address(d) + "_C00000000";
    reg->setString(instance, "Service", d % 2 ? "BTHMODEM" : "Modem");
    reg->setString(instance + "\\Device Parameters", "PortName", com(d % 40 + 1));
    reg->setDword(lm + "Services\\BTHPort\\Parameters\\Devices\\" + address(d) + "\\ServicesFor" + address(d) + "\\" +
                      service + "\\C00000000",
                  "Enabled", 1);
  }
  return *reg;
}

void runDiscovery(benchmark::State& state, Registry& reg, const char* os) {
  tov::platform::ScopedRegistry installed(reg);
  tov::platform::ScopedOsVersion version(*tov::platform::parseOsVersion(os));
  for (auto _ : state) {
    tov::discovery::DiscoverPorts();
    benchmark::DoNotOptimize(tov::discovery::PortTable()(1));
  }
  state.counters["keys"] = static_cast<double>(reg.keyCount());
  // The machine is shared: the load average tells how quiet it was during the run.
  double load[1] = {0};
  if (getloadavg(load, 1) == 1) state.counters["load1"] = load[0];
}

void BM_DiscoverPortsLargestFixture(benchmark::State& state) {
  Registry reg;
  tov::platform::loadRegFile(reg, fixturePath("xp_sp2_microsoft.reg"));
  runDiscovery(state, reg, "xp-sp2");
}
BENCHMARK(BM_DiscoverPortsLargestFixture)->Unit(benchmark::kMicrosecond);

void BM_DiscoverPortsGeneratedNT(benchmark::State& state) {
  runDiscovery(state, const_cast<Registry&>(generatedRegistry()), "xp-sp2");
}
BENCHMARK(BM_DiscoverPortsGeneratedNT)->Unit(benchmark::kMicrosecond);

void BM_DiscoverPortsGenerated9x(benchmark::State& state) {
  runDiscovery(state, const_cast<Registry&>(generatedRegistry()), "9x");
}
BENCHMARK(BM_DiscoverPortsGenerated9x)->Unit(benchmark::kMicrosecond);

void BM_DiscoverPortsBluetoothDevices(benchmark::State& state) {
  runDiscovery(state, const_cast<Registry&>(bluetoothRegistry(static_cast<int>(state.range(0)))), "xp-sp2");
}
BENCHMARK(BM_DiscoverPortsBluetoothDevices)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

}  // namespace
