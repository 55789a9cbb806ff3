// Every failure of the serial API is left in LastError, shared by all ports, and read back through
// VBCommGetError as "Error (code): source - message".
#include <gtest/gtest.h>

#include <optional>
#include <tuple>

#include "platform/codepage.h"
#include <tovport/platform/serial.h>
#include "serial/simulated_ports.h"

namespace tov::serial_test {
namespace {

using namespace platform;

enum class Op { Open, Set, Flush, Close, Read, Write, GetLine, SetLine };

class SerialApiErrors : public SimulatedPorts {
 protected:
  // `op` on the port with ordinary arguments; GetLine asks for CTS, guessing True (-1).
  std::int32_t call(Op op, std::int16_t portNr, const char16_t* settings = kSettings) {
    BStr data = u"AT\r";
    switch (op) {
      case Op::Open: return open(portNr, settings);
      case Op::Set: return c->VBCommSet(portNr, settings);
      case Op::Flush: return c->VBCommFlush(portNr);
      case Op::Close: return c->VBCommClose(portNr);
      case Op::Read: return c->VBCommRead(portNr, data, 64);
      case Op::Write: return c->VBCommWrite(portNr, data);
      case Op::GetLine: return static_cast<std::int32_t>(c->VBCommGetLine(portNr, 0x10, VariantBool::True));
      case Op::SetLine: return c->VBCommSetLine(portNr, 2, VariantBool::True);
    }
    return 0;
  }
};

TEST_F(SerialApiErrors, GetErrorReadsTheLastFailureAsOften) {
  BStr text = u"stale";
  EXPECT_EQ(c->VBCommGetError(text), 0);
  EXPECT_EQ(text, u"Error (0):  - ");

  ASSERT_EQ(open(3), 0);
  EXPECT_EQ(open(3), -1);
  EXPECT_EQ(errorText(), u"Error (-1): VBCommOpen - Port in use.");
  EXPECT_EQ(backend.port(3).openCount(), 1);

  backend.port(3).deliver("OK");
  backend.port(3).failNext(SerialOp::Read, 1117);
  BStr data;
  EXPECT_EQ(c->VBCommRead(3, data, 64), -1);
  const std::u16string readFailure =
      u"Error (1117): VBCommRead (ReadFile) - " + ansiToUtf16(systemMessage(1117)) + u"  COMM Error Flags = 0";
  EXPECT_EQ(c->VBCommGetError(text), 1117);
  EXPECT_EQ(text, readFailure);
  EXPECT_EQ(errorText(), readFailure);
}

// A run-time failure (here a port number outside 1 to 32) is caught and recorded under the
// operation's bare name; each operation answers with its own failure result.
TEST_F(SerialApiErrors, PortNumbersOutsideTheTableAreCaughtAsError9) {
  const std::tuple<Op, const char16_t*, std::int32_t> cases[] = {
      {Op::Open, u"VBCommOpen", 9},   {Op::Set, u"VBCommSet", 9},       {Op::Flush, u"VBCommFlush", 9},
      {Op::Close, u"VBCommClose", 9}, {Op::Read, u"VBCommRead", -1},    {Op::Write, u"VBCommWrite", 0},
      {Op::GetLine, u"VBCommReadCD", -1}, {Op::SetLine, u"VBCommSetLine", 9}};
  for (const std::int16_t portNr : {0, 33}) {
    for (const auto& [op, name, result] : cases) {
      SCOPED_TRACE(automation::toUtf8(name) + " on port " + std::to_string(portNr));
      c->LastError = CommErrorInfo{};
      EXPECT_EQ(call(op, portNr), result);
      EXPECT_EQ(errorText(), u"Error (9): " + std::u16string(name) + u" - Subscript out of range");
    }
  }
  EXPECT_TRUE(logged.empty()) << "nothing is opened, so nothing is logged";
}

// The first failing platform call ends the operation with its result and is recorded with its
// source; transfers add the line error flags that the port reports then. A port whose device
// opened stays open until VBCommClose, even when configuring it failed. Operations other than
// open and close use whatever handle the port holds: 0 when it never opened.
TEST_F(SerialApiErrors, EachFailingPlatformCallIsRecordedWithItsSource) {
  struct Case {
    Op op;
    bool openBefore;
    std::optional<SerialOp> fails;  // none: the call fails on its own
    std::vector<DWORD> outcomes;    // {code}: fails at once; more: pends, then these in turn
    const char16_t* source;
    std::int32_t result;
    const char16_t* flags;  // appended line error flags, if any
    bool openAfter;
    const char16_t* settings = kSettings;
  };
  const char16_t* const malformed = u"baud=57600 parity=Q";
  const Case cases[] = {
      {Op::Open, false, SerialOp::Open, {21}, u"VBCommOpen (CreateFile)", 21, nullptr, false},
      {Op::Open, false, SerialOp::SetupComm, {31}, u"VBCommOpen (SetupComm)", 31, nullptr, true},
      {Op::Open, false, SerialOp::Purge, {1117}, u"VBCommOpen (PurgeComm)", 1117, nullptr, true},
      {Op::Open, false, SerialOp::SetTimeouts, {121}, u"VBCommOpen (SetCommTimeouts)", 121, nullptr, true},
      {Op::Open, false, SerialOp::GetState, {6}, u"VBCommOpen (GetCommState)", 6, nullptr, true},
      {Op::Open, false, std::nullopt, {87}, u"VBCommOpen (BuildCommDCB)", 87, nullptr, true, malformed},
      {Op::Open, false, SerialOp::SetState, {1167}, u"VBCommOpen (SetCommState)", 1167, nullptr, true},
      {Op::Set, true, SerialOp::GetState, {6}, u"VBCommSet (GetCommState)", 6, nullptr, true},
      {Op::Set, true, std::nullopt, {87}, u"VBCommSet (BuildCommDCB)", 87, nullptr, true, u"baud=9600 bogus"},
      {Op::Set, true, SerialOp::SetState, {31}, u"VBCommSet (SetCommState)", 31, nullptr, true},
      {Op::Set, false, std::nullopt, {6}, u"VBCommSet (GetCommState)", 6, nullptr, false},
      {Op::Flush, true, SerialOp::Purge, {1117}, u"VBCommFlush (PurgeComm)", 1117, nullptr, true},
      {Op::Flush, false, std::nullopt, {6}, u"VBCommFlush (PurgeComm)", 6, nullptr, false},
      {Op::Close, true, SerialOp::Close, {31}, u"VBCommClose (CloseHandle)", 31, nullptr, true},
      {Op::Read, true, SerialOp::ClearError, {6}, u"VBCommRead (ClearCommError)", -1, nullptr, true},
      // The read's own status query has taken the flags by the time its transfer fails.
      {Op::Read, true, SerialOp::Read, {1117}, u"VBCommRead (ReadFile)", -1, u"0", true},
      {Op::Read, true, SerialOp::Read, {ERROR_IO_INCOMPLETE, 1117}, u"VBCommRead (GetOverlappedResult)", -1, u"0",
       true},
      {Op::Write, true, SerialOp::Write, {1117}, u"VBCommWrite (WriteFile)", -1, u"1A", true},
      // A failed pending write returns what the transfer reported so far.
      {Op::Write, true, SerialOp::Write, {ERROR_IO_INCOMPLETE, 31}, u"VBCommWrite (GetOverlappedResult)", 0, u"1A",
       true},
      {Op::Write, false, std::nullopt, {6}, u"VBCommWrite (WriteFile)", -1, u"0", false},
      // GetLine answers with the caller's guess.
      {Op::GetLine, true, SerialOp::ModemStatus, {31}, u"VBCommReadCD (GetCommModemStatus)", -1, nullptr, true},
      {Op::GetLine, false, std::nullopt, {6}, u"VBCommReadCD (GetCommModemStatus)", -1, nullptr, false},
      {Op::SetLine, true, SerialOp::Escape, {1167}, u"VBCommSetLine (EscapeCommFunction)", 1167, nullptr, true},
  };
  SimulatedPort& port = backend.port(3);
  for (const Case& k : cases) {
    SCOPED_TRACE(automation::toUtf8(k.source) + (k.openBefore ? "" : " before any open"));
    if (k.openBefore) {
      ASSERT_EQ(open(3), 0);
    }
    port.deliver("OK");
    port.raiseErrors(CE_FRAME | CE_BREAK | CE_OVERRUN);
    if (k.fails && k.outcomes.size() == 1) port.failNext(*k.fails, k.outcomes[0]);
    if (k.fails && k.outcomes.size() > 1) port.pendNext(*k.fails, k.outcomes);

    EXPECT_EQ(call(k.op, 3, k.settings), k.result);
    const DWORD code = k.outcomes.back();
    EXPECT_EQ(errorText(), u"Error (" + automation::numberText(code) + u"): " + k.source + u" - " +
                               automation::fromUtf8(systemMessage(code)) +
                               (k.flags ? u"  COMM Error Flags = " + std::u16string(k.flags) : u""));
    EXPECT_EQ(isTrue(c->CommPorts(3).IsOpen), k.openAfter);
    EXPECT_EQ(port.isOpen(), k.openAfter);
    EXPECT_EQ(c->VBCommClose(3), 0);
    port.clearFailures();
  }
}

}  // namespace
}  // namespace tov::serial_test
