// The discovery driver's order, the per-thread port table and the component's GetComPortType.
#include <array>
#include <thread>

#include <tovport/component/tovcomprtv3.h>
#include "discovery/discovery_test_support.h"
#include "support/runtime_errors.h"

namespace tov::discovery::test {
namespace {

TEST(DiscoveryPortNumberFromName, NamesToNumbers) {
  EXPECT_EQ(PortNumberFromName(u"com3"), 3);
  EXPECT_EQ(PortNumberFromName(u"COM 5 "), 5);
  EXPECT_EQ(PortNumberFromName(u"LPT1"), 0);
  EXPECT_EQ(testing::errorNumberOf([] { PortNumberFromName(u"xCOM4"); }), 13);  // "M4" remains
  EXPECT_EQ(testing::errorNumberOf([] { PortNumberFromName(u"COM40000"); }), 6);
}

// One source of each enumerator of a family in the family's order, each naming COM4: as each
// source is added, COM4 takes its kind, since a later enumerator overwrites an earlier one.
struct Source {
  std::vector<std::array<const char*, 3>> values;  // key below HKLM, value name, text
  ComPortType kind;
};

class DiscoveryPrecedence : public DiscoveryTest {
 protected:
  // Each source added, discovery runs on each OS preset ("unreadable": XP whose version query fails).
  void expectEachSourceWins(const std::vector<Source>& sources, std::initializer_list<std::string_view> systems) {
    for (const Source& source : sources) {
      for (const auto& [key, name, text] : source.values) set(key, name, text);
      for (std::string_view system : systems) {
        useOs(system == "unreadable" ? "xp-sp2" : system);
        platform::setOsVersionUnavailable(system == "unreadable");
        DiscoverPorts();
        platform::setOsVersionUnavailable(false);
        EXPECT_EQ(kinds(), only({{4, source.kind}})) << system << ": " << source.values.front()[0];
      }
    }
  }
};

TEST_F(DiscoveryPrecedence, OnNTTheLastOfRegisteredSerialBluetoothSP2IrDaPassiveAndUsbWins) {
  expectEachSourceWins(
      {{{{R"(Hardware\DeviceMap\SerialComm)", R"(\Device\Modem0)", "COM4"}}, cptUnknown},
       {{{R"(Hardware\DeviceMap\SerialComm)", R"(\Device\Serial0)", "COM4"}}, cptSerial},
       {{{R"(System\CurrentControlSet\Enum\BT3C\BTPORT\0\Device Parameters)", "PortName", "COM4"}}, cptBluetooth},
       {{{R"(System\CurrentControlSet\Enum\BTHENUM\S\8&1&0&0016B8AB12CD_C1)", "Service", "Modem"},
         {R"(System\CurrentControlSet\Enum\BTHENUM\S\8&1&0&0016B8AB12CD_C1\Device Parameters)", "PortName", "COM4"},
         {R"(System\CurrentControlSet\Services\BTHPort\Parameters\Devices\0016b8ab12cd\ServicesFor0016b8ab12cd\S\C1)",
          "Enabled", "1"}},
        cptBTDialUp},
       {{{R"(System\CurrentControlSet\Enum\IRENUM\SIE0001\1\Device Parameters)", "PortName", "COM4"}}, cptIrDa},
       {{{R"(System\CurrentControlSet\Control\Class\{4D36E978-E325-11CE-BFC1-08002BE10318}\0)", "ProviderName",
          "Qualcomm Incorporated"},
         {R"(System\CurrentControlSet\Control\Class\{4D36E978-E325-11CE-BFC1-08002BE10318}\0)", "MatchingDeviceID",
          R"(USB\VID_05C6&PID_3197&MI_01)"},
         {R"(System\CurrentControlSet\Enum\USB\Vid_05c6&Pid_3197&MI_00\1\Device Parameters)", "PortName", "COM4"}},
        cptUSBPassive},
       {{{R"(System\CurrentControlSet\Enum\USB\Vid_11f5&Pid_0003\1\Device Parameters)", "PortName", "COM4"}}, cptUSB}},
      {"xp-sp2"});
}

// Serial ports come last on 9x; a version that cannot be read runs the 9x order too.
TEST_F(DiscoveryPrecedence, On9xTheLastOfRegisteredBluetoothIrDaUsbAndSerialWins) {
  expectEachSourceWins(
      {{{{R"(Hardware\DeviceMap\SerialComm)", "COM4", "COM4"}}, cptUnknown},
       {{{R"(Enum\BT3C\BTPORT\0000)", "AttachedTo", "COM4"}}, cptBluetooth},
       {{{R"(Enum\Infrared\VirtualPorts)", "VirtualComPortName", "COM4"}}, cptIrDa},
       {{{R"(Enum\USB\VID_11F5&PID_0003\0000)", "ChildDevNode", R"(SIEMENS\MODEM\0000)"},
         {R"(Enum\SIEMENS\MODEM\0000)", "AttachedTo", "COM4"}},
        cptUSB},
       {{{R"(Enum\Root\Ports\0000)", "PortName", "COM4"}}, cptSerial}},
      {"9x", "unreadable"});
}

using DiscoveryGetComPortType = DiscoveryTest;

TEST_F(DiscoveryGetComPortType, DiscoveryRunsOncePerThreadUntilARefreshStartsAfresh) {
  load(R"([HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\Serial0"="COM5"
)");
  auto component = tovComPrtv3::create();
  EXPECT_EQ(component->GetComPortType(5), cptSerial);
  reg.deleteKey("HKLM\\Hardware");
  EXPECT_EQ(component->GetComPortType(5), cptSerial);
  EXPECT_EQ(discoveryRuns(), 1);
  EXPECT_EQ(traces.back(), u"GetComPorttype for Port 5returns: seriell");

  // Another thread has a table of its own and runs its own discovery.
  bool otherFilledBefore = true;
  ComPortType otherKind = cptSerial;
  std::thread([&] {
    otherFilledBefore = PortTableFilled();
    otherKind = GetPortType(5, false);
  }).join();
  EXPECT_FALSE(otherFilledBefore);
  EXPECT_EQ(otherKind, cptNone);

  EXPECT_EQ(GetPortType(5, true), cptNone);  // the refresh clears the table before it runs
  EXPECT_EQ(discoveryRuns(), 2);
}

TEST_F(DiscoveryGetComPortType, PortsOutsideTheTableFailWithError9AfterDiscovery) {
  auto component = tovComPrtv3::create();
  EXPECT_EQ(testing::errorNumberOf([&] { component->GetComPortType(0); }), 9);
  EXPECT_EQ(discoveryRuns(), 1);
  EXPECT_TRUE(PortTableFilled());
  EXPECT_EQ(testing::errorNumberOf([&] { component->GetComPortType(33); }), 9);
  EXPECT_EQ(discoveryRuns(), 1);
}

}  // namespace
}  // namespace tov::discovery::test
