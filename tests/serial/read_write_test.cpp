#include <gtest/gtest.h>

#include "platform/serial.h"
#include "serial/simulated_ports.h"

namespace tov::serial_test {
namespace {

using namespace platform;

class SerialApiRead : public SimulatedPorts {
 protected:
  void SetUp() override {
    SimulatedPorts::SetUp();
    ASSERT_EQ(open(3), 0);
  }
  SimulatedPort& port = backend.port(3);
};

TEST_F(SerialApiRead, NothingWaitingReturnsAtOnceWithoutReading) {
  port.failAlways(SerialOp::Read, 31);  // a read would fail
  BStr data = u"stale";
  const std::int64_t start = manual.monotonicMs();
  EXPECT_EQ(c->VBCommRead(3, data, 64), 0);
  EXPECT_EQ(data, u"");
  EXPECT_EQ(manual.monotonicMs(), start);
  EXPECT_EQ(c->LastError.ErrorCode, 0);
  port.clearFailures();
}

// A read asks for the larger of what is waiting and lngSize, at most the 1024-byte buffer, and
// the port's timeouts (1000 ms in all on port 3) collect the rest of an answer still arriving.
TEST_F(SerialApiRead, AReadAsksForTheLargerOfWaitingAndRequestedUpToTheBuffer) {
  struct Case {
    const char* name;
    std::size_t waiting;
    std::size_t arrivingAt500Ms;
    std::int32_t lngSize;
    std::int32_t result;
    std::int64_t tookMs;
  };
  const Case cases[] = {
      {"5 waiting, 64 asked: waits for 64", 5, 70, 64, 64, 500},
      {"5 waiting, 64 asked, no more comes", 5, 0, 64, 5, 1000},
      {"100 waiting, 64 asked: takes 100", 100, 0, 64, 100, 0},
      {"negative size: takes what waits", 3, 0, -1, 3, 0},
      {"more waiting than the buffer", 2000, 0, 64, 1024, 0},
      {"more asked than the buffer", 5, 2000, 4096, 1024, 500},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.name);
    ASSERT_EQ(c->VBCommFlush(3), 0);
    port.deliver(std::string(k.waiting, 'a'));
    if (k.arrivingAt500Ms > 0) port.deliver(std::string(k.arrivingAt500Ms, 'b'), 500);
    BStr data;
    const std::int64_t start = manual.monotonicMs();
    EXPECT_EQ(c->VBCommRead(3, data, k.lngSize), k.result);
    EXPECT_EQ(data.size(), static_cast<std::size_t>(k.result));
    EXPECT_EQ(manual.monotonicMs() - start, k.tookMs);
    EXPECT_EQ(port.inputWaiting(), k.waiting + k.arrivingAt500Ms - static_cast<std::size_t>(k.result));
  }
}

TEST_F(SerialApiRead, TextCrossesThePortAsAnsiBytes) {
  BStr command = u"\u20AC\r";
  EXPECT_EQ(c->VBCommWrite(3, command), 2);
  EXPECT_EQ(port.output(), "\x80\r");
  port.deliver("\x80OK\r\n");
  BStr data;
  EXPECT_EQ(c->VBCommRead(3, data, 5), 5);
  EXPECT_EQ(data, u"\u20ACOK\r\n");
}

TEST_F(SerialApiRead, FailuresOfTheReadAreRecordedWithTheLineErrorFlags) {
  const std::u16string deviceError = u"The request could not be performed because of an I/O device error.\r\n";
  port.deliver("OK");
  port.failNext(SerialOp::Read, 1117);
  BStr data = u"stale";
  EXPECT_EQ(c->VBCommRead(3, data, 64), -1);
  EXPECT_EQ(data, u"");
  expectLastError(1117, u"VBCommRead (ReadFile)", deviceError + u"  COMM Error Flags = 0");

  port.pendNext(SerialOp::Read, {ERROR_IO_INCOMPLETE, ERROR_IO_DEVICE});
  EXPECT_EQ(c->VBCommRead(3, data, 64), -1);
  expectLastError(1117, u"VBCommRead (GetOverlappedResult)", deviceError + u"  COMM Error Flags = 0");
}

TEST_F(SerialApiRead, AFailingStatusQueryIsRecordedWithoutFlags) {
  port.failNext(SerialOp::ClearError, 6);
  BStr data;
  EXPECT_EQ(c->VBCommRead(3, data, 64), -1);
  expectLastError(6, u"VBCommRead (ClearCommError)", u"The handle is invalid.\r\n");
}

TEST_F(SerialApiRead, APendingReadIsAskedAgainUntilItCompletes) {
  port.deliver("HELLO");
  port.pendNext(SerialOp::Read, {ERROR_IO_INCOMPLETE, ERROR_IO_INCOMPLETE, ERROR_SUCCESS});
  BStr data;
  EXPECT_EQ(c->VBCommRead(3, data, 64), 5);
  EXPECT_EQ(data, u"HELLO");
  EXPECT_EQ(c->LastError.ErrorCode, 0);
}

TEST_F(SerialApiRead, AReadYieldsOnceBeforeLookingAtThePort) {
  int waitingInPass = -1;
  PumpCounter pumps([&](int) { waitingInPass = static_cast<int>(port.inputWaiting()); });
  port.deliver("OK");
  BStr data;
  EXPECT_EQ(c->VBCommRead(3, data, 2), 2);
  EXPECT_EQ(pumps.passes(), 1);
  EXPECT_EQ(waitingInPass, 2);
}

using SerialApiWrite = SerialApiRead;

TEST_F(SerialApiWrite, AWriteReturnsItsByteCountAndYieldsOnceThenTenTimes) {
  std::string sentAtFirstPass;
  PumpCounter pumps([&](int pass) {
    if (pass == 1) sentAtFirstPass = port.output();
  });
  BStr command = u"AT+CGMI\r";
  EXPECT_EQ(c->VBCommWrite(3, command), 8);
  EXPECT_EQ(command, u"AT+CGMI\r");
  EXPECT_EQ(port.output(), "AT+CGMI\r");
  EXPECT_EQ(sentAtFirstPass, "AT+CGMI\r");
  EXPECT_EQ(pumps.passes(), 11);
}

// The line errors raised while the write yields are reported with its failure.
TEST_F(SerialApiWrite, AFailedWriteRecordsTheFlagsAndStopsYielding) {
  PumpCounter pumps([&](int) { port.raiseErrors(CE_FRAME | CE_BREAK | CE_OVERRUN); });
  port.failNext(SerialOp::Write, 1117);
  BStr command = u"AT\r";
  EXPECT_EQ(c->VBCommWrite(3, command), -1);
  EXPECT_EQ(pumps.passes(), 1);
  expectLastError(1117, u"VBCommWrite (WriteFile)",
                  u"The request could not be performed because of an I/O device error.\r\n  COMM Error Flags = 1A");
  EXPECT_EQ(port.output(), "");
}

TEST_F(SerialApiWrite, APendingWriteCountsWhatTheTransferReports) {
  BStr command = u"AT+CGMM\r";
  port.pendNext(SerialOp::Write, {ERROR_IO_INCOMPLETE, ERROR_SUCCESS});
  {
    PumpCounter pumps;
    EXPECT_EQ(c->VBCommWrite(3, command), 8);
    EXPECT_EQ(pumps.passes(), 11);
  }
  EXPECT_EQ(port.output(), "AT+CGMM\r");

  // A failed transfer returns what it reported so far, not -1.
  port.pendNext(SerialOp::Write, {ERROR_IO_INCOMPLETE, ERROR_GEN_FAILURE});
  EXPECT_EQ(c->VBCommWrite(3, command), 0);
  expectLastError(31, u"VBCommWrite (GetOverlappedResult)",
                  u"A device attached to the system is not functioning.\r\n  COMM Error Flags = 0");
}

TEST_F(SerialApiWrite, AWriteToAPortNeverOpenedFails) {
  BStr command = u"AT\r";
  EXPECT_EQ(c->VBCommWrite(9, command), -1);
  expectLastError(6, u"VBCommWrite (WriteFile)", u"The handle is invalid.\r\n  COMM Error Flags = 0");
}

}  // namespace
}  // namespace tov::serial_test
