#include <gtest/gtest.h>

#include <optional>

#include "platform/serial.h"
#include "serial/simulated_ports.h"

namespace tov::serial_test {
namespace {

using namespace platform;

constexpr COMMTIMEOUTS kPort1Timeouts{1000, 1000, 1000, 1000, 1000};
constexpr COMMTIMEOUTS kOtherTimeouts{MAXDWORD, 0, 1000, 0, 1000};

bool operator==(const COMMTIMEOUTS& a, const COMMTIMEOUTS& b) {
  return a.ReadIntervalTimeout == b.ReadIntervalTimeout && a.ReadTotalTimeoutMultiplier == b.ReadTotalTimeoutMultiplier &&
         a.ReadTotalTimeoutConstant == b.ReadTotalTimeoutConstant &&
         a.WriteTotalTimeoutMultiplier == b.WriteTotalTimeoutMultiplier &&
         a.WriteTotalTimeoutConstant == b.WriteTotalTimeoutConstant;
}

using SerialApiOpen = SimulatedPorts;

TEST_F(SerialApiOpen, OpensTheDeviceAndAppliesQueuesPurgeAndSettings) {
  ASSERT_EQ(open(3), 0);
  const SimulatedPort& port = backend.port(3);
  EXPECT_TRUE(port.isOpen());
  EXPECT_EQ(c->CommPorts(3).IsOpen, VariantBool::True);
  EXPECT_GT(c->CommPorts(3).hCom, 0);
  EXPECT_EQ(port.inQueueSize(), 1024u);
  EXPECT_EQ(port.outQueueSize(), 1024u);
  EXPECT_EQ(port.purges(), std::vector<DWORD>{15});
  EXPECT_EQ(port.state().BaudRate, 57600u);
  EXPECT_EQ(c->CommPorts(3).PortDCB.BaudRate, 57600u);
  EXPECT_EQ(logged, std::vector<std::u16string>{u"Now opening Port: COM3"});
  EXPECT_EQ(c->LastError.ErrorCode, 0);
}

TEST_F(SerialApiOpen, PortOneWaitsByteByByteAndTheOthersReturnWithinASecond) {
  for (const std::int16_t portNr : {1, 2, 10, 32}) {
    SCOPED_TRACE(portNr);
    ASSERT_EQ(open(portNr), 0);
    EXPECT_TRUE(backend.port(portNr).timeouts() == (portNr == 1 ? kPort1Timeouts : kOtherTimeouts));
  }
}

// Ports above 9 are opened through the device namespace; the test is on the number alone.
TEST_F(SerialApiOpen, NamesOfPortsAboveNineGetTheDevicePrefix) {
  struct Case {
    std::int16_t portNr;
    const char16_t* name;
    std::int32_t result;
    const char16_t* opened;
  };
  const Case cases[] = {
      {9, u"COM9", 0, u"COM9"},
      {10, u"COM10", 0, u"\\\\.\\COM10"},
      {12, u"COM12", 0, u"\\\\.\\COM12"},
      {5, u"COM11", 0, u"COM11"},
      {13, u"\\\\.\\COM13", 2, u"\\\\.\\\\\\.\\COM13"},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(automation::toUtf8(k.name));
    logged.clear();
    EXPECT_EQ(c->VBCommOpen(k.portNr, k.name, kSettings), k.result);
    ASSERT_FALSE(logged.empty());
    EXPECT_EQ(logged.front(), u"Now opening Port: " + std::u16string(k.opened));
  }
  EXPECT_TRUE(backend.port(11).isOpen());
  EXPECT_EQ(c->CommPorts(13).hCom, -1);
}

TEST_F(SerialApiOpen, ASecondOpenOfAnOpenPortIsPortInUse) {
  ASSERT_EQ(open(4), 0);
  const std::int32_t handle = c->CommPorts(4).hCom;
  logged.clear();
  EXPECT_EQ(open(4), -1);
  expectLastError(-1, u"VBCommOpen", u"Port in use.");
  EXPECT_EQ(errorText(), u"Error (-1): VBCommOpen - Port in use.");
  EXPECT_EQ(c->CommPorts(4).hCom, handle);
  EXPECT_EQ(backend.port(4).openCount(), 1);
  EXPECT_TRUE(logged.empty());
}

// Each platform call of the open can fail; the first failure ends the open with its code. Once
// the device is open the port stays reserved until VBCommClose.
TEST_F(SerialApiOpen, EachFailingStepIsRecordedWithItsSourceAndLogLine) {
  struct Case {
    std::optional<SerialOp> op;
    DWORD code;
    const char16_t* settings;
    const char16_t* source;
    const char16_t* logLine;
    bool opened;
    bool purged;
  };
  const char16_t* const malformed = u"baud=57600 parity=Q";
  const Case cases[] = {
      {SerialOp::Open, 21, kSettings, u"VBCommOpen (CreateFile)", u"Failed opening Port: COM3", false, false},
      {SerialOp::SetupComm, 31, kSettings, u"VBCommOpen (SetupComm)", u"Failed SetupComm: 0", true, false},
      {SerialOp::Purge, 1117, kSettings, u"VBCommOpen (PurgeComm)", u"Failed PurgeComm: 0", true, false},
      {SerialOp::SetTimeouts, 121, kSettings, u"VBCommOpen (SetCommTimeouts)", u"setCommTimeouts: 0", true, true},
      {SerialOp::GetState, 6, kSettings, u"VBCommOpen (GetCommState)", u"Failed GetCommState: 0", true, true},
      {std::nullopt, 87, malformed, u"VBCommOpen (BuildCommDCB)", u"Failed BuildCommDCB: 0", true, true},
      {SerialOp::SetState, 1167, kSettings, u"VBCommOpen (SetCommState)", u"Failed SetCommState: 0", true, true},
  };
  SimulatedPort& port = backend.port(3);
  for (const Case& k : cases) {
    SCOPED_TRACE(automation::toUtf8(k.source));
    logged.clear();
    const std::size_t purgesBefore = port.purges().size();
    if (k.op) port.failNext(*k.op, k.code);

    EXPECT_EQ(c->VBCommOpen(3, u"COM3", k.settings), static_cast<std::int32_t>(k.code));
    expectLastError(static_cast<std::int32_t>(k.code), k.source, automation::fromUtf8(systemMessage(k.code)));
    EXPECT_EQ(logged, (std::vector<std::u16string>{u"Now opening Port: COM3", k.logLine}));
    EXPECT_EQ(c->CommPorts(3).IsOpen, automation::vb(k.opened));
    EXPECT_EQ(port.isOpen(), k.opened);
    EXPECT_EQ(port.purges().size(), purgesBefore + (k.purged ? 1 : 0));
    EXPECT_NE(port.state().BaudRate, 57600u);  // the settings were never applied
    if (!k.opened) {
      EXPECT_EQ(c->CommPorts(3).hCom, -1);
    }

    EXPECT_EQ(open(3, u"baud=9600"), k.opened ? -1 : 0) << "reserved until closed";
    EXPECT_EQ(c->VBCommClose(3), 0);
  }
}

using SerialApiClose = SimulatedPorts;

TEST_F(SerialApiClose, ClosingReleasesTheHandleAndTheDevice) {
  ASSERT_EQ(open(6), 0);
  EXPECT_EQ(c->VBCommClose(6), 0);
  EXPECT_EQ(c->CommPorts(6).IsOpen, VariantBool::False);
  EXPECT_EQ(c->CommPorts(6).hCom, 0);
  EXPECT_FALSE(backend.port(6).isOpen());
  EXPECT_EQ(open(6), 0) << "the port opens again";
}

TEST_F(SerialApiClose, ClosingAPortThatIsNotOpenDoesNothing) {
  EXPECT_EQ(c->VBCommClose(7), 0);
  expectLastError(0, u"", u"");
}

TEST_F(SerialApiClose, AHandleThatRefusesToCloseKeepsThePortOpen) {
  ASSERT_EQ(open(6), 0);
  const std::int32_t handle = c->CommPorts(6).hCom;
  backend.port(6).failNext(SerialOp::Close, 31);
  EXPECT_EQ(c->VBCommClose(6), 31);
  expectLastError(31, u"VBCommClose (CloseHandle)", u"A device attached to the system is not functioning.\r\n");
  EXPECT_EQ(c->CommPorts(6).IsOpen, VariantBool::True);
  EXPECT_EQ(c->CommPorts(6).hCom, handle);
  EXPECT_EQ(c->VBCommClose(6), 0);
  EXPECT_FALSE(backend.port(6).isOpen());
}

using SerialApiSettings = SimulatedPorts;

TEST_F(SerialApiSettings, SetAppliesNewSettingsWithoutLogging) {
  ASSERT_EQ(open(3), 0);
  logged.clear();
  EXPECT_EQ(c->VBCommSet(3, u"baud=9600 parity=E data=7 stop=2"), 0);
  const DCB state = backend.port(3).state();
  EXPECT_EQ(state.BaudRate, 9600u);
  EXPECT_EQ(state.ByteSize, 7);
  EXPECT_EQ(state.Parity, EVENPARITY);
  EXPECT_EQ(state.StopBits, TWOSTOPBITS);
  EXPECT_TRUE(logged.empty());
}

TEST_F(SerialApiSettings, FailuresOfSetAndFlushAreRecordedWithTheirSource) {
  struct Case {
    std::optional<SerialOp> op;
    DWORD code;
    const char16_t* source;
    std::function<std::int32_t(tovComPrtv3&)> call;
  };
  const auto set = [](const char16_t* settings) {
    return [settings](tovComPrtv3& c) { return c.VBCommSet(3, settings); };
  };
  const Case cases[] = {
      {SerialOp::GetState, 6, u"VBCommSet (GetCommState)", set(u"baud=9600")},
      {std::nullopt, 87, u"VBCommSet (BuildCommDCB)", set(u"baud=9600 bogus")},
      {SerialOp::SetState, 31, u"VBCommSet (SetCommState)", set(u"baud=9600")},
      {SerialOp::Purge, 1117, u"VBCommFlush (PurgeComm)", [](tovComPrtv3& c) { return c.VBCommFlush(3); }},
  };
  ASSERT_EQ(open(3), 0);
  for (const Case& k : cases) {
    SCOPED_TRACE(automation::toUtf8(k.source));
    if (k.op) backend.port(3).failNext(*k.op, k.code);
    EXPECT_EQ(k.call(*c), static_cast<std::int32_t>(k.code));
    expectLastError(static_cast<std::int32_t>(k.code), k.source, automation::fromUtf8(systemMessage(k.code)));
    EXPECT_EQ(backend.port(3).state().BaudRate, 57600u);
  }
}

TEST_F(SerialApiSettings, FlushPurgesBothQueues) {
  ASSERT_EQ(open(3), 0);
  backend.port(3).deliver("stale answer");
  EXPECT_EQ(c->VBCommFlush(3), 0);
  EXPECT_EQ(backend.port(3).purges(), (std::vector<DWORD>{15, 15}));
  EXPECT_EQ(backend.port(3).inputWaiting(), 0u);
}

// Set and flush do not look at IsOpen: on a port never opened they use handle 0.
TEST_F(SerialApiSettings, SetAndFlushOfAClosedPortFailWithAnInvalidHandle) {
  EXPECT_EQ(c->VBCommSet(8, kSettings), 6);
  EXPECT_EQ(c->LastError.ErrorSource, u"VBCommSet (GetCommState)");
  EXPECT_EQ(c->VBCommFlush(8), 6);
  EXPECT_EQ(c->LastError.ErrorSource, u"VBCommFlush (PurgeComm)");
}

}  // namespace
}  // namespace tov::serial_test
