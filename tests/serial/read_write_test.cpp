#include <gtest/gtest.h>

#include <tovport/platform/serial.h>
#include "serial/simulated_ports.h"

namespace tov::serial_test {
namespace {

using namespace platform;

class SerialApiReadWrite : public SimulatedPorts {
 protected:
  void SetUp() override {
    SimulatedPorts::SetUp();
    ASSERT_EQ(open(3), 0);
  }
  SimulatedPort& port = backend.port(3);
};

// A read with nothing waiting costs no read. Otherwise it asks for the larger of what is waiting
// and lngSize, at most the 1024-byte buffer, and the port's timeouts (1000 ms in all on port 3)
// collect the rest of an answer still arriving.
TEST_F(SerialApiReadWrite, AReadAsksForTheLargerOfWaitingAndRequestedUpToTheBuffer) {
  struct Case {
    const char* name;
    std::size_t waiting;
    std::size_t arrivingAt500Ms;
    std::int32_t lngSize;
    std::int32_t result;
    std::int64_t tookMs;
  };
  const Case cases[] = {
      {"nothing waiting: returns at once", 0, 0, 64, 0, 0},
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
    BStr data = u"stale";
    const std::int64_t start = manual.monotonicMs();
    EXPECT_EQ(c->VBCommRead(3, data, k.lngSize), k.result);
    EXPECT_EQ(data.size(), static_cast<std::size_t>(k.result));
    EXPECT_EQ(manual.monotonicMs() - start, k.tookMs);
    EXPECT_EQ(errorText(), u"Error (0):  - ");
  }
}

TEST_F(SerialApiReadWrite, APendingReadIsAskedAgainUntilItCompletes) {
  port.deliver("HELLO");
  port.pendNext(SerialOp::Read, {ERROR_IO_INCOMPLETE, ERROR_IO_INCOMPLETE, ERROR_SUCCESS});
  BStr data;
  EXPECT_EQ(c->VBCommRead(3, data, 64), 5);
  EXPECT_EQ(data, u"HELLO");
  EXPECT_EQ(c->LastError.ErrorCode, 0);
}

// Reads and writes yield to the thread's message pump so that its timers and events run meanwhile:
// a read once before looking at the port, a write once after sending and then ten times more,
// unless it failed.
TEST_F(SerialApiReadWrite, ReadsAndWritesYieldToTheMessagePump) {
  std::string seen;
  {
    PumpCounter pumps([&](int) { seen += std::to_string(port.inputWaiting()); });
    port.deliver("OK");
    BStr data;
    EXPECT_EQ(c->VBCommRead(3, data, 2), 2);
    EXPECT_EQ(seen, "2");
  }
  for (const bool pending : {false, true}) {
    seen.clear();
    PumpCounter pumps([&](int pass) { seen += pass == 1 ? port.output() : "."; });
    if (pending) port.pendNext(SerialOp::Write, {ERROR_IO_INCOMPLETE, ERROR_SUCCESS});
    BStr command = u"AT\r";
    EXPECT_EQ(c->VBCommWrite(3, command), 3);
    EXPECT_EQ(seen, "AT\r" + std::string(10, '.')) << pending;  // the pending write's bytes come later
  }
  PumpCounter pumps;
  port.failNext(SerialOp::Write, 1117);
  BStr command = u"AT\r";
  EXPECT_EQ(c->VBCommWrite(3, command), -1);
  EXPECT_EQ(pumps.passes(), 1);
}

}  // namespace
}  // namespace tov::serial_test
