#include <gtest/gtest.h>

#include "platform/serial.h"
#include "serial/simulated_ports.h"

namespace tov::serial_test {
namespace {

using namespace platform;
constexpr VariantBool True = VariantBool::True;
constexpr VariantBool False = VariantBool::False;

class SerialApiModemLines : public SimulatedPorts {
 protected:
  void SetUp() override {
    SimulatedPorts::SetUp();
    ASSERT_EQ(open(2), 0);
  }
  SimulatedPort& port = backend.port(2);
};

TEST_F(SerialApiModemLines, TheLineNumberIsAMaskOfModemStatusBits) {
  struct Case {
    DWORD lines;
    std::int16_t mask;
    VariantBool on;
  };
  const Case cases[] = {
      {MS_CTS_ON, 0x10, True},          {MS_DSR_ON, 0x30, True},   {MS_CTS_ON | MS_DSR_ON, 0x80, False},
      {MS_RLSD_ON | MS_RING_ON, 0x40, True}, {0, 0xF0, False},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.mask);
    port.setModemLines(k.lines);
    EXPECT_EQ(c->VBCommGetLine(2, k.mask, k.on == True ? False : True), k.on);
  }
}

// The caller's guess comes back when the status can't be read.
TEST_F(SerialApiModemLines, AnUnreadableStatusAnswersWithTheCallersState) {
  port.setModemLines(MS_CTS_ON);
  for (const VariantBool state : {True, False}) {
    port.failNext(SerialOp::ModemStatus, 31);
    EXPECT_EQ(c->VBCommGetLine(2, 0x10, state), state);
    expectLastError(31, u"VBCommReadCD (GetCommModemStatus)", u"A device attached to the system is not functioning.\r\n");
    EXPECT_EQ(c->VBCommGetLine(5, 0x10, state), state) << "a port never opened";
    EXPECT_EQ(c->LastError.ErrorCode, 6);
  }
}

TEST_F(SerialApiModemLines, SetLineRaisesAndClearsBreakDtrAndRts) {
  struct Case {
    std::int16_t line;
    VariantBool state;
    DWORD function;
    std::function<bool(const SimulatedPort&)> level;
  };
  const auto dtr = [](const SimulatedPort& p) { return p.dtr(); };
  const auto rts = [](const SimulatedPort& p) { return p.rts(); };
  const auto brk = [](const SimulatedPort& p) { return p.breakOn(); };
  const Case cases[] = {
      {2, False, CLRDTR, dtr}, {2, True, SETDTR, dtr}, {3, False, CLRRTS, rts},
      {3, True, SETRTS, rts},  {1, True, SETBREAK, brk}, {1, False, CLRBREAK, brk},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.function);
    EXPECT_EQ(c->VBCommSetLine(2, k.line, k.state), 0);
    EXPECT_EQ(port.escapes().back(), k.function);
    EXPECT_EQ(k.level(port), k.state == True);
  }
}

TEST_F(SerialApiModemLines, AnUnknownLineIsRefusedByThePlatform) {
  EXPECT_EQ(c->VBCommSetLine(2, 4, True), 87);
  expectLastError(87, u"VBCommSetLine (EscapeCommFunction)", u"The parameter is incorrect.\r\n");
  EXPECT_TRUE(port.escapes().empty());

  port.failNext(SerialOp::Escape, 1167);
  EXPECT_EQ(c->VBCommSetLine(2, 2, True), 1167);
  EXPECT_EQ(c->LastError.ErrorSource, u"VBCommSetLine (EscapeCommFunction)");
}

}  // namespace
}  // namespace tov::serial_test
