// Opening, configuring, flushing and closing ports, and their modem lines (failures: errors test).
#include <gtest/gtest.h>

#include <tuple>

#include "platform/codepage.h"
#include <tovport/platform/serial.h>
#include "serial/simulated_ports.h"

namespace tov::serial_test {
namespace {

using namespace platform;
using SerialApiPortControl = SimulatedPorts;
constexpr VariantBool True = VariantBool::True;
constexpr VariantBool False = VariantBool::False;

TEST_F(SerialApiPortControl, OpenAppliesQueuesPurgeAndSettingsAndCloseReleasesTheDevice) {
  ASSERT_EQ(open(3), 0);
  const SimulatedPort& port = backend.port(3);
  EXPECT_GT(c->CommPorts(3).hCom, 0);
  EXPECT_EQ(port.inQueueSize() + port.outQueueSize(), 2048u);
  EXPECT_EQ(port.purges(), std::vector<DWORD>{15});
  EXPECT_EQ(port.state().BaudRate, 57600u);
  EXPECT_EQ(logged, std::vector<std::u16string>{u"Now opening Port: COM3"});

  EXPECT_EQ(c->VBCommClose(3), 0);
  EXPECT_EQ(c->CommPorts(3).IsOpen, False);
  EXPECT_EQ(c->CommPorts(3).hCom, 0);
  EXPECT_FALSE(port.isOpen());
  EXPECT_EQ(c->VBCommClose(3), 0) << "closing a closed port does nothing";
  EXPECT_EQ(errorText(), u"Error (0):  - ");
  EXPECT_EQ(open(3), 0) << "the port opens again";
}

TEST_F(SerialApiPortControl, PortOneWaitsByteByByteAndTheOthersReturnWithinASecond) {
  for (const std::int16_t portNr : {1, 2, 10, 32}) {
    SCOPED_TRACE(portNr);
    ASSERT_EQ(open(portNr), 0);
    const COMMTIMEOUTS t = backend.port(portNr).timeouts();
    const std::vector<DWORD> set{t.ReadIntervalTimeout, t.ReadTotalTimeoutMultiplier, t.ReadTotalTimeoutConstant,
                                 t.WriteTotalTimeoutMultiplier, t.WriteTotalTimeoutConstant};
    EXPECT_EQ(set, (portNr == 1 ? std::vector<DWORD>{1000, 1000, 1000, 1000, 1000}
                                : std::vector<DWORD>{MAXDWORD, 0, 1000, 0, 1000}));
  }
}

// Ports above 9 are opened through the device namespace; the test is on the number alone.
TEST_F(SerialApiPortControl, NamesOfPortsAboveNineGetTheDevicePrefix) {
  const std::tuple<std::int16_t, const char16_t*, std::int32_t, const char16_t*> cases[] = {
      {9, u"COM9", 0, u"COM9"},
      {10, u"COM10", 0, u"\\\\.\\COM10"},
      {5, u"COM11", 0, u"COM11"},
      {13, u"\\\\.\\COM13", 2, u"\\\\.\\\\\\.\\COM13"}};
  for (const auto& [portNr, name, result, opened] : cases) {
    logged.clear();
    EXPECT_EQ(c->VBCommOpen(portNr, name, kSettings), result) << portNr;
    EXPECT_EQ(logged.at(0), u"Now opening Port: " + std::u16string(opened));
  }
}

TEST_F(SerialApiPortControl, SetAppliesSettingsSilentlyAndFlushEmptiesBothQueues) {
  ASSERT_EQ(open(3), 0);
  logged.clear();
  EXPECT_EQ(c->VBCommSet(3, u"baud=9600 parity=E data=7 stop=2"), 0);
  const DCB state = backend.port(3).state();
  EXPECT_EQ(state.BaudRate, 9600u);
  EXPECT_EQ(state.Parity, EVENPARITY);
  EXPECT_TRUE(logged.empty());

  backend.port(3).deliver("stale answer");
  EXPECT_EQ(c->VBCommFlush(3), 0);
  EXPECT_EQ(backend.port(3).purges(), (std::vector<DWORD>{15, 15}));
  EXPECT_EQ(backend.port(3).inputWaiting(), 0u);
}

// GetLine's line is a mask of modem-status bits (0x10 CTS, 0x20 DSR, 0x40 ring, 0x80 carrier);
// SetLine's line is 1 break, 2 DTR or 3 RTS, and any other the platform refuses.
TEST_F(SerialApiPortControl, ModemLines) {
  ASSERT_EQ(open(2), 0);
  SimulatedPort& port = backend.port(2);
  const std::tuple<DWORD, std::int16_t, VariantBool> status[] = {
      {MS_CTS_ON, 0x10, True}, {MS_DSR_ON, 0x30, True}, {MS_CTS_ON | MS_DSR_ON, 0x80, False},
      {MS_RLSD_ON | MS_RING_ON, 0x40, True}, {0, 0xF0, False}};
  for (const auto& [lines, mask, on] : status) {
    port.setModemLines(lines);
    EXPECT_EQ(c->VBCommGetLine(2, mask, on == True ? False : True), on) << mask;
  }
  const std::tuple<std::int16_t, VariantBool, DWORD> escapes[] = {
      {2, False, CLRDTR}, {2, True, SETDTR},     {3, False, CLRRTS},
      {3, True, SETRTS},  {1, True, SETBREAK},   {1, False, CLRBREAK}};
  for (const auto& [line, state, function] : escapes) {
    EXPECT_EQ(c->VBCommSetLine(2, line, state), 0);
    EXPECT_EQ(port.escapes().back(), function);
  }
  EXPECT_EQ(c->VBCommSetLine(2, 4, True), 87);
  EXPECT_EQ(errorText(), u"Error (87): VBCommSetLine (EscapeCommFunction) - " + ansiToUtf16(systemMessage(87)));
  EXPECT_EQ(port.escapes().size(), 6u);
}

}  // namespace
}  // namespace tov::serial_test
