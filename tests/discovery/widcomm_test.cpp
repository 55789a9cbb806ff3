#include "automation/runtime_error.h"
#include "discovery/discovery_test_support.h"
#include "discovery/enumerators.h"

namespace tov::discovery::test {
namespace {

using DiscoveryWidcomm = DiscoveryTest;

constexpr std::string_view kFallbacks = R"([HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\BtPort0"="COM5"
"\\Device\\Serial0"="COM1"
[HKEY_LOCAL_MACHINE\Enum\Root\Bluecomm\0000]
"PortName"="COM5"
)";

TEST_F(DiscoveryWidcomm, ASerialApplicationSkipsTheFallback) {
  load(std::string(kFallbacks) + R"([HKEY_LOCAL_MACHINE\Software\Widcomm\BTConfig\Applications\0001]
"UUID"=dword:00001101
"ComPortNumber"=dword:00000007
)");
  EXPECT_FALSE(getWidcommBluetoothPortsNT());
  EXPECT_FALSE(getWidcommPorts9x());
  EXPECT_EQ(kinds(), only({{7, cptBluetooth}}));
}

TEST_F(DiscoveryWidcomm, ADialUpApplicationLeavesTheFallbackToRun) {
  load(std::string(kFallbacks) + R"([HKEY_LOCAL_MACHINE\Software\Widcomm\BTConfig\Applications\0002]
"RasConnection"="BluetoothConnection"
"ComPortNumber"=dword:00000009
)");
  EXPECT_TRUE(getWidcommBluetoothPortsNT());
  EXPECT_EQ(kinds(), only({{5, cptBluetooth}, {9, cptBluetooth}}));
  resetTable();
  EXPECT_TRUE(getWidcommPorts9x());
  EXPECT_EQ(kinds(), only({{5, cptBluetooth}, {9, cptBluetooth}}));
}

TEST_F(DiscoveryWidcomm, WithoutTheStackNothingIsReadAndAnEmptyStackFallsBack) {
  load(kFallbacks);
  EXPECT_FALSE(getWidcommBluetoothPortsNT());
  EXPECT_FALSE(getWidcommPorts9x());
  EXPECT_EQ(kinds(), only({}));
  reg.createKey("HKLM\\Software\\Widcomm\\BTConfig\\Applications");
  EXPECT_TRUE(getWidcommBluetoothPortsNT());
  EXPECT_EQ(kinds(), only({{5, cptBluetooth}}));
}

TEST_F(DiscoveryWidcomm, TheFamiliesTestTheTwoKindsOfApplicationInOppositeOrder) {
  load(std::string(kFallbacks) + R"([HKEY_LOCAL_MACHINE\Software\Widcomm\BTConfig\Applications\0001]
"UUID"=dword:00001101
"RasConnection"="bluetoothconnection"
"ComPortNumber"=dword:00000008
[HKEY_LOCAL_MACHINE\Software\Widcomm\BTConfig\Applications\0002]
"UUID"=dword:00001103
"RasConnection"="BluetoothConnection"
"ComPortNumber"=dword:0000000a
)");
  EXPECT_FALSE(getWidcommBluetoothPortsNT());  // 0001 is a serial application; 0002 is not looked at further
  EXPECT_EQ(kinds(), only({{8, cptBluetooth}}));
  resetTable();
  EXPECT_TRUE(getWidcommPorts9x());  // both are dial-up applications on 9x
  EXPECT_EQ(kinds(), only({{5, cptBluetooth}, {8, cptBluetooth}, {10, cptBluetooth}}));
}

TEST_F(DiscoveryWidcomm, PortNumbersOutsideTheTableAreIgnoredAndOversizedOnesFail) {
  load(R"([HKEY_LOCAL_MACHINE\Software\Widcomm\BTConfig\Applications\0001]
"UUID"=dword:00001101
"ComPortNumber"=dword:00000000
[HKEY_LOCAL_MACHINE\Software\Widcomm\BTConfig\Applications\0002]
"UUID"=dword:00001101
"ComPortNumber"=dword:00000028
)");
  EXPECT_FALSE(getWidcommBluetoothPortsNT());
  EXPECT_EQ(kinds(), only({}));
  reg.setDword("HKLM\\Software\\Widcomm\\BTConfig\\Applications\\0002", "ComPortNumber", 70000);
  try {
    getWidcommBluetoothPortsNT();
    ADD_FAILURE() << "no overflow";
  } catch (const automation::RuntimeError& e) {
    EXPECT_EQ(e.number(), 6);
  }
}

}  // namespace
}  // namespace tov::discovery::test
