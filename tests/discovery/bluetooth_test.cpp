// The Bluetooth stacks: Widcomm, 3Com, the extended stack and Microsoft's (before and from XP SP2).
#include "discovery/discovery_test_support.h"
#include "discovery/enumerators.h"
#include "support/runtime_errors.h"

namespace tov::discovery::test {
namespace {

using DiscoveryWidcomm = DiscoveryTest;

// The system's list of serial devices (NT) and the stack's enumerator key (9x) both name COM5.
constexpr std::string_view kFallbacks = R"([HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\BtPort0"="COM5"
"\\Device\\Serial0"="COM1"
[HKEY_LOCAL_MACHINE\Enum\Root\Bluecomm\0000]
"PortName"="COM5"
)";

// On both families the fallback runs when the stack is there but no serial application yielded a
// port. True ends the Bluetooth chain.
TEST_F(DiscoveryWidcomm, TheFallbackRunsWhenNoSerialApplicationYieldedAPort) {
  struct Case {
    const char* name;
    const char* applications;
    bool endsChain;
    Kinds kinds;
  };
  const Case cases[] = {
      {"no stack", "", false, only({})},
      {"no applications", R"([HKEY_LOCAL_MACHINE\Software\Widcomm\BTConfig\Applications])", true,
       only({{5, cptBluetooth}})},
      {"serial application", R"([HKEY_LOCAL_MACHINE\Software\Widcomm\BTConfig\Applications\0001]
"UUID"=dword:00001101
"ComPortNumber"=dword:00000007)", false, only({{7, cptBluetooth}})},
      {"dial-up application", R"([HKEY_LOCAL_MACHINE\Software\Widcomm\BTConfig\Applications\0002]
"RasConnection"="BluetoothConnection"
"ComPortNumber"=dword:00000009)", true, only({{5, cptBluetooth}, {9, cptBluetooth}})},
  };
  load(kFallbacks);
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    reg.deleteKey("HKLM\\Software\\Widcomm");
    load(k.applications);
    for (auto enumerator : {getWidcommBluetoothPortsNT, getWidcommPorts9x})
      EXPECT_EQ(run([&] { EXPECT_EQ(enumerator(), k.endsChain); }), k.kinds);
  }
}

TEST_F(DiscoveryWidcomm, PortNumbersOutsideTheTableAreIgnoredAndOversizedOnesFail) {
  const std::string app = "HKLM\\Software\\Widcomm\\BTConfig\\Applications\\";
  for (auto [name, port] : {std::pair{"0001", 0}, std::pair{"0002", 40}}) {
    reg.setDword(app + name, "UUID", 0x1101);
    reg.setDword(app + name, "ComPortNumber", port);
  }
  EXPECT_EQ(run(getWidcommBluetoothPortsNT), only({}));
  reg.setDword(app + "0002", "ComPortNumber", 70000);
  EXPECT_EQ(testing::errorNumberOf([] { getWidcommBluetoothPortsNT(); }), 6);
}

using DiscoveryBluetooth3ComExtended = DiscoveryTest;

// A 3Com port ends the chain before the extended stack, whose ports are the BTCOMM instances.
TEST_F(DiscoveryBluetooth3ComExtended, OnNTA3ComPortEndsTheChainBeforeTheExtendedStack) {
  set(R"(System\CurrentControlSet\Enum\Root\Ports\0000)", "Service", "btcomm");
  set(R"(System\CurrentControlSet\Enum\Root\Ports\0000\Device Parameters)", "PortName", "COM3");
  set(R"(System\CurrentControlSet\Enum\Root\Ports\0001)", "Service", "Serial");
  set(R"(System\CurrentControlSet\Enum\Root\Ports\0001\Device Parameters)", "PortName", "COM2");
  set(R"(System\CurrentControlSet\Enum\BT3C\BTPORT\0000\Device Parameters)", "PortName", "COM40");
  EXPECT_EQ(run(DiscoverPorts), only({{3, cptBluetooth}}));
  set(R"(System\CurrentControlSet\Enum\BT3C\BTPORT\0000\Device Parameters)", "PortName", "COM8");
  EXPECT_EQ(run(DiscoverPorts), only({{8, cptBluetooth}}));
}

TEST_F(DiscoveryBluetooth3ComExtended, On9xOnlyInstancesOfEachDeviceCount) {
  set(R"(Enum\BT3C\BTPORT)", "AttachedTo", "COM2");
  set(R"(Enum\BT3C\BTPORT\0000)", "AttachedTo", "COM4");
  set(R"(Enum\XTND\BTCOM\0000)", "AttachedTo", "COM6");
  useOs("9x");
  EXPECT_EQ(run(DiscoverPorts), only({{4, cptBluetooth}}));
  reg.deleteKey("HKLM\\Enum\\BT3C");
  EXPECT_EQ(run(DiscoverPorts), only({{6, cptBluetooth}}));
}

class DiscoveryMicrosoftBluetooth : public DiscoveryTest {
 protected:
  // A value of an instance of the serial service, and the instance's port unless empty.
  void instance(std::string_view name, const char* valueName, std::string_view value, std::string_view port = "") {
    const std::string key =
        R"(System\CurrentControlSet\Enum\BTHENUM\{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a\)" +
        std::string(name);
    set(key, valueName, value);
    if (!port.empty()) set(key + "\\Device Parameters", "PortName", port);
  }
  // A serial-service entry of a paired device, enabled by the text "1".
  void entry(std::string_view name, const char* valueName = "Enabled", std::string_view device = "0016b8ab12cd") {
    const std::string d(device);
    set(R"(System\CurrentControlSet\Services\BTHPort\Parameters\Devices\)" + d + "\\ServicesFor" + d +
            R"(\{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a\)" + std::string(name),
        valueName, "1");
  }
  void installStack() { reg.createKey("HKLM\\System\\CurrentControlSet\\Enum\\BTH\\MS_RFCOMM\\7&1"); }
};

// Before SP2 the instances named "GPRS via Bluetooth(TM)" are the ports, once the stack is installed.
TEST_F(DiscoveryMicrosoftBluetooth, BeforeSP2GprsInstancesAreBluetoothPortsOfAnInstalledStack) {
  instance("8&1&0&0016B8AB12CD_C00000000", "FriendlyName", "Gprs via Bluetooth(TM)", "COM5");
  instance("8&1&0&0016B8AB12CD_C00000002", "FriendlyName", "GPRS VIA BLUETOOTH(TM)", "COM40");
  EXPECT_EQ(run([] { EXPECT_FALSE(getMicrosoftBluetoothPortsXP()); }), only({}));
  EXPECT_FALSE(isMicrosoftBluetoothPortXP(5));
  installStack();
  EXPECT_TRUE(isMicrosoftBluetoothPortXP(40));  // the registry is asked, with no range test
  EXPECT_EQ(run([] { EXPECT_TRUE(getMicrosoftBluetoothPortsXP()); }), only({{5, cptBluetooth}}));
}

// An enabled entry M of device D leads to the instances ending in D_M (remote) or in twelve zeros,
// "_" and M without its first character (local); their "Service" and port give the kind.
TEST_F(DiscoveryMicrosoftBluetooth, FromSP2EnabledEntriesLeadToRemoteAndLocalInstances) {
  instance("8&1&0&0016B8AB12CD_C00000001", "Service", "BthModem", "COM1");
  instance("8&1&0&000000000000_00000001", "Service", "BTHMODEM", "COM2");
  instance("8&1&0&0016B8AB12CD_C00000003", "Service", "Modem", "COM3");
  instance("8&1&0&000000000000_00000003", "Service", "Modem", "COM4");
  instance("8&1&0&0016B8AB12CD_C00000005", "Service", "BthPan", "COM5");
  instance("8&1&0&0016B8AB12CD_C00000007", "Service", "BthModem", "COM7");
  instance("8&1&0&0016B8AB12CD_C00000008", "Other", "BthModem", "COM8");
  instance("8&1&0&0016B8AB12CD_C00000009", "Service", "BthModem");
  instance("12CD_C1", "Service", "BthModem", "COM10");  // too short for either form
  for (auto e : {"C00000001", "C00000003", "C00000005", "C00000008", "C00000009", "C1"}) entry(e);
  entry("C00000007", "Other");
  PortTable()(5) = cptBluetooth;
  getMicrossoftBluetoothPortsXPSP2();
  EXPECT_EQ(kinds(), only({{1, cptBluetooth}, {2, cptBTSerialIn}, {3, cptBTDialUp}}));
}

// Entries of several paired devices lead to one service key: each reaches its own remote instances
// (names compared without regard to case) and every local one; marks land in the order of the walk.
TEST_F(DiscoveryMicrosoftBluetooth, FromSP2EntriesOfSeveralDevicesShareOneServiceKey) {
  instance("8&1&0&0016B8AB12CD_C00000001", "Service", "BthModem", "COM1");
  instance("8&1&0&00AABBCCDDEE_C00000001", "Service", "Modem", "COM1");
  instance("8&1&0&000000000000_00000002", "Service", "BthModem", "COM2");
  instance("8&1&0&AB_C_X", "Service", "BthModem", "COM3");  // device AB, entry C_X
  instance("8&1&0&00AABBCCDDEE_C00000004", "Service", "BthModem", "COM4");
  for (auto device : {"0016b8ab12cd", "00aabbccddee"})
    for (auto e : {"C00000001", "C00000002"}) entry(e, "Enabled", device);
  entry("C_X", "Enabled", "AB");
  getMicrossoftBluetoothPortsXPSP2();
  EXPECT_EQ(kinds(), only({{1, cptBTDialUp}, {2, cptBTSerialIn}, {3, cptBluetooth}}));
  instance("8&1&0&00AABBCCDDEE_C00000004", "Service", "BthModem", "COMx");
  entry("C00000004", "Enabled", "00aabbccddee");
  EXPECT_EQ(testing::errorNumberOf(getMicrossoftBluetoothPortsXPSP2), 13);
}

// Widcomm's port ends the chain, so the pre-SP2 walk never runs; the SP2 walk still does, and its
// mark (none, for a network service) replaces Widcomm's.
TEST_F(DiscoveryMicrosoftBluetooth, AfterWidcommEndedTheChainOnlyTheSP2WalkRuns) {
  installStack();
  instance("8&1&0&0016B8AB12CD_C00000001", "FriendlyName", "GPRS via Bluetooth(TM)", "COM5");
  instance("8&1&0&0016B8AB12CD_C00000001", "Service", "BthPan");
  instance("8&1&0&0016B8AB12CD_C00000002", "FriendlyName", "GPRS via Bluetooth(TM)", "COM6");
  entry("C00000001");
  reg.createKey("HKLM\\Software\\Widcomm\\BTConfig\\Applications");
  set(R"(Hardware\DeviceMap\SerialComm)", R"(\Device\BtPort0)", "COM5");
  EXPECT_EQ(run(DiscoverPorts), only({}));
  useOs("xp");
  EXPECT_EQ(run(DiscoverPorts), only({{5, cptBluetooth}}));
}

}  // namespace
}  // namespace tov::discovery::test
