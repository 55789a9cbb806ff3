#include <gtest/gtest.h>

#include "serial/simulated_ports.h"

namespace tov::serial_test {
namespace {

using SerialApiErrorText = SimulatedPorts;

TEST_F(SerialApiErrorText, BeforeAnyFailureTheLineIsEmptyAroundTheSeparators) {
  BStr text = u"stale";
  EXPECT_EQ(c->VBCommGetError(text), 0);
  EXPECT_EQ(text, u"Error (0):  - ");
}

TEST_F(SerialApiErrorText, TheLastFailureReadsTheSameEveryTime) {
  backend.port(7).setPresent(false);
  EXPECT_EQ(open(7), 2);
  const std::u16string expected = u"Error (2): VBCommOpen (CreateFile) - The system cannot find the file specified.\r\n";
  BStr first;
  BStr second;
  EXPECT_EQ(c->VBCommGetError(first), 2);
  EXPECT_EQ(c->VBCommGetError(second), 2);
  EXPECT_EQ(first, expected);
  EXPECT_EQ(second, expected);
}

TEST_F(SerialApiErrorText, SystemMessagesKeepTheirLineBreak) {
  struct Case {
    std::int32_t code;
    const char16_t* text;
  };
  const Case cases[] = {{5, u"Access is denied.\r\n"}, {0, u"The operation completed successfully.\r\n"}, {12345, u""},
                        {-1, u""}};
  for (const Case& k : cases) {
    SCOPED_TRACE(k.code);
    std::int32_t code = k.code;
    EXPECT_EQ(c->VBGetSystemMessage(code), k.text);
    EXPECT_EQ(code, k.code);
  }
}

// A run-time failure (here a port number outside 1 to 32) is caught and recorded under the
// operation's bare name; each operation answers with its own failure result.
TEST_F(SerialApiErrorText, PortNumbersOutsideTheTableAreCaughtAsError9) {
  struct Case {
    const char16_t* source;
    std::function<std::int32_t(tovComPrtv3&, std::int16_t)> call;
    std::int32_t result;
  };
  const Case cases[] = {
      {u"VBCommOpen", [](tovComPrtv3& c, std::int16_t p) { return c.VBCommOpen(p, u"COM1", kSettings); }, 9},
      {u"VBCommSet", [](tovComPrtv3& c, std::int16_t p) { return c.VBCommSet(p, kSettings); }, 9},
      {u"VBCommFlush", [](tovComPrtv3& c, std::int16_t p) { return c.VBCommFlush(p); }, 9},
      {u"VBCommClose", [](tovComPrtv3& c, std::int16_t p) { return c.VBCommClose(p); }, 9},
      {u"VBCommRead",
       [](tovComPrtv3& c, std::int16_t p) {
         BStr data = u"stale";
         const std::int32_t n = c.VBCommRead(p, data, 64);
         EXPECT_EQ(data, u"");
         return n;
       },
       -1},
      {u"VBCommWrite",
       [](tovComPrtv3& c, std::int16_t p) {
         BStr data = u"AT\r";
         return c.VBCommWrite(p, data);
       },
       0},
      {u"VBCommReadCD",
       [](tovComPrtv3& c, std::int16_t p) {
         return static_cast<std::int32_t>(c.VBCommGetLine(p, 0x10, VariantBool::True));
       },
       -1},
      {u"VBCommSetLine", [](tovComPrtv3& c, std::int16_t p) { return c.VBCommSetLine(p, 2, VariantBool::True); }, 9},
  };
  for (const std::int16_t portNr : {0, 33}) {
    for (const Case& k : cases) {
      SCOPED_TRACE(automation::toUtf8(k.source) + " on port " + std::to_string(portNr));
      c->LastError = CommErrorInfo{};
      EXPECT_EQ(k.call(*c, portNr), k.result);
      expectLastError(9, k.source, u"Subscript out of range");
    }
  }
  EXPECT_TRUE(logged.empty()) << "nothing is opened, so nothing is logged";
}

}  // namespace
}  // namespace tov::serial_test
