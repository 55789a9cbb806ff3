#include "discovery/discovery_test_support.h"
#include "discovery/enumerators.h"

namespace tov::discovery::test {
namespace {

constexpr std::string_view kEnum = R"(HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\BTHENUM\)";
constexpr std::string_view kDevices = R"(HKEY_LOCAL_MACHINE\System\CurrentControlSet\Services\BTHPort\Parameters\Devices\)";
constexpr std::string_view kSerialService = "{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a";

class DiscoveryMicrosoftBluetooth : public DiscoveryTest {
 protected:
  // A BTHENUM instance of the serial service with the given values and port.
  void instance(std::string_view name, std::string_view values, std::string_view port) {
    const std::string key = std::string(kEnum) + std::string(kSerialService) + "\\" + std::string(name);
    load("[" + key + "]\n" + std::string(values) + "\n[" + key + "\\Device Parameters]\n\"PortName\"=\"" +
         std::string(port) + "\"\n");
  }
  // A service entry of device D under a ServicesFor key, with its "Enabled" line (or none).
  void entry(std::string_view device, std::string_view entryName, std::string_view enabled,
             std::string_view group = "ServicesFor") {
    load("[" + std::string(kDevices) + std::string(device) + "\\" + std::string(group) + std::string(device) + "\\" +
         std::string(kSerialService) + "\\" + std::string(entryName) + "]\n" + std::string(enabled) + "\n");
  }
  void installStack() { reg.createKey("HKLM\\System\\CurrentControlSet\\Enum\\BTH\\MS_RFCOMM\\7&1"); }
};

TEST_F(DiscoveryMicrosoftBluetooth, PreSP2MarksGprsInstancesOnlyWhenTheStackIsInstalled) {
  instance("8&1&0&0016B8AB12CD_C00000000", R"v("FriendlyName"="Gprs via Bluetooth(TM)")v", "COM5");
  instance("8&1&0&0016B8AB12CD_C00000001", R"("FriendlyName"="Standard Modem over Bluetooth link")", "COM6");
  instance("8&1&0&0016B8AB12CD_C00000002", R"v("FriendlyName"="GPRS VIA BLUETOOTH(TM)")v", "COM40");
  EXPECT_FALSE(getMicrosoftBluetoothPortsXP());
  EXPECT_FALSE(isMicrosoftBluetoothPortXP(5));
  installStack();
  EXPECT_TRUE(getMicrosoftBluetoothPortsXP());
  EXPECT_EQ(kinds(), only({{5, cptBluetooth}}));
}

TEST_F(DiscoveryMicrosoftBluetooth, IsMicrosoftPortAsksTheRegistryNotTheTable) {
  installStack();
  instance("8&1&0&0016B8AB12CD_C00000000", R"v("FriendlyName"="GPRS via Bluetooth(TM)")v", "COM5");
  instance("8&1&0&0016B8AB12CD_C00000001", R"("FriendlyName"="Other")", "COM7");
  instance("8&1&0&0016B8AB12CD_C00000002", R"v("FriendlyName"="GPRS via Bluetooth(TM)")v", "COM40");
  EXPECT_TRUE(isMicrosoftBluetoothPortXP(5));
  EXPECT_TRUE(isMicrosoftBluetoothPortXP(40));  // no range test
  EXPECT_FALSE(isMicrosoftBluetoothPortXP(7));
  EXPECT_EQ(kinds(), only({}));
}

TEST_F(DiscoveryMicrosoftBluetooth, SP2ClassifiesRemoteAndLocalInstancesByService) {
  instance("8&1&0&0016B8AB12CD_C00000005", R"("Service"="BthModem")", "COM4");
  instance("8&1&0&000000000000_00000005", R"("Service"="BTHMODEM")", "COM5");
  instance("8&1&0&0016B8AB12CD_C00000006", R"("Service"="Modem")", "COM6");
  instance("8&1&0&000000000000_00000006", R"("Service"="Modem")", "COM7");
  instance("8&1&0&0016B8AB12CD_C00000007", R"("Service"="BthPan")", "COM8");
  instance("8&1&0&0016B8AB12CD_C00000009", R"("Service"="BthModem")", "COM9");  // no enabled entry
  for (auto e : {"C00000005", "C00000006", "C00000007"}) entry("0016b8ab12cd", e, R"("Enabled"=dword:00000001)");
  PortTable()(8) = cptBluetooth;
  getMicrossoftBluetoothPortsXPSP2();
  EXPECT_EQ(kinds(), only({{4, cptBluetooth}, {5, cptBTSerialIn}, {6, cptBTDialUp}}));
}

TEST_F(DiscoveryMicrosoftBluetooth, SP2ScansOnlyEnabledEntriesOfServicesForKeys) {
  instance("8&1&0&0016B8AB12CD_C00000001", R"("Service"="BthModem")", "COM1");
  instance("8&1&0&0016B8AB12CD_C00000002", R"("Service"="BthModem")", "COM2");
  instance("8&1&0&00AABBCCDDEE_C00000003", R"("Service"="BthModem")", "COM3");
  instance("8&1&0&0016B8AB12CD_C00000004", R"("Service"="BthModem")", "COM4");
  entry("0016b8ab12cd", "C00000001", R"("Enabled"=dword:00000000)");
  entry("0016b8ab12cd", "C00000002", R"("Other"=dword:00000001)");
  entry("00aabbccddee", "C00000003", R"("Enabled"=dword:00000001)", "servicesfor");
  entry("0016b8ab12cd", "C00000004", R"("Enabled"="1")");
  getMicrossoftBluetoothPortsXPSP2();
  EXPECT_EQ(kinds(), only({{4, cptBluetooth}}));  // an "Enabled" text of 1 equals the number 1
}

TEST_F(DiscoveryMicrosoftBluetooth, SP2NeedsBothServiceAndPortAndANameLongEnough) {
  instance("8&1&0&0016B8AB12CD_C00000001", R"("Other"="x")", "COM1");
  load(std::string("[") + std::string(kEnum) + std::string(kSerialService) +
       "\\8&1&0&0016B8AB12CD_C00000002]\n\"Service\"=\"BthModem\"\n");
  getBthEnumServicePorts(u"0016b8ab12cd", u"{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a", u"C00000001");
  getBthEnumServicePorts(u"0016b8ab12cd", u"{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a", u"C00000002");
  EXPECT_EQ(kinds(), only({}));
  instance("12CD_C1", R"("Service"="BthModem")", "COM3");
  getBthEnumServicePorts(u"0016b8ab12cd", u"{00001101-0000-1000-8000-00805f9b34fb}_LOCALMFG&000a", u"C1");
  EXPECT_EQ(kinds(), only({}));
}

TEST_F(DiscoveryMicrosoftBluetooth, SP2RemarksPortsAfterAnotherStackEndedTheChain) {
  installStack();
  instance("8&1&0&0016B8AB12CD_C00000001", R"v("FriendlyName"="GPRS via Bluetooth(TM)"
"Service"="BthPan")v", "COM5");
  entry("0016b8ab12cd", "C00000001", R"("Enabled"=dword:00000001)");
  load(R"([HKEY_LOCAL_MACHINE\Software\Widcomm\BTConfig\Applications]
[HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\BtPort0"="COM5"
)");
  DiscoverPorts();
  EXPECT_FALSE(traced(u"getMicrosoftBluetoothPortsXP"));
  EXPECT_EQ(kinds(), only({}));  // Widcomm's Bluetooth mark replaced by the SP2 walk
  useOs("xp");
  DiscoverPorts();
  EXPECT_EQ(kinds(), only({{5, cptBluetooth}}));
}

}  // namespace
}  // namespace tov::discovery::test
