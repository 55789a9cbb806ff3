#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/last_error.h"
#include <tovport/platform/serial.h>
#include <tovport/platform/serial_memory.h>

namespace tov::platform {
namespace {

constexpr COMMTIMEOUTS kPort1Timeouts{1000, 1000, 1000, 1000, 1000};
constexpr COMMTIMEOUTS kOtherPortTimeouts{MAXDWORD, 0, 1000, 0, 1000};

// A simulated COM5 on the manual clock, opened through the handle layer.
class SerialMemory : public ::testing::Test {
 protected:
  void SetUp() override {
    h = CreateFileA("COM5", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, 0);
    ASSERT_NE(h, INVALID_HANDLE_VALUE);
  }
  void TearDown() override {
    if (port.isOpen()) {
      EXPECT_EQ(CloseHandle(h), TRUE);
    }
  }

  void useTimeouts(const COMMTIMEOUTS& t) { ASSERT_EQ(SetCommTimeouts(h, &t), TRUE); }

  // Reads up to `count` bytes; returns them, and the simulated time the read took.
  std::string read(DWORD count, std::int64_t* tookMs = nullptr) {
    std::string buffer(count, '\0');
    DWORD n = 0;
    const std::int64_t start = manual.monotonicMs();
    EXPECT_EQ(ReadFile(h, buffer.data(), count, &n, nullptr), TRUE);
    if (tookMs != nullptr) *tookMs = manual.monotonicMs() - start;
    buffer.resize(n);
    return buffer;
  }

  DWORD write(std::string_view bytes) {
    DWORD n = 0;
    EXPECT_EQ(WriteFile(h, bytes.data(), static_cast<DWORD>(bytes.size()), &n, nullptr), TRUE);
    return n;
  }

  DWORD waiting(DWORD* errors = nullptr) {
    DWORD flags = 0;
    COMSTAT stat{};
    EXPECT_EQ(ClearCommError(h, errors != nullptr ? errors : &flags, &stat), TRUE);
    return stat.cbInQue;
  }

  ManualClock manual;
  ScopedClock clockGuard{manual};
  MemorySerialBackend backend;
  ScopedSerialBackend installed{backend};
  SimulatedPort& port = backend.port(5);
  HANDLE h = INVALID_HANDLE_VALUE;
};

TEST(SerialMemoryOpen, MissingBusyAndFailingPortsRefuseToOpen) {
  MemorySerialBackend backend;
  backend.port(2).setPresent(false);
  backend.port(3).setBusy(true);
  backend.port(4).failNext(SerialOp::Open, ERROR_GEN_FAILURE);
  const std::pair<int, DWORD> refusals[] = {
      {1, ERROR_FILE_NOT_FOUND}, {2, ERROR_FILE_NOT_FOUND}, {3, ERROR_ACCESS_DENIED}, {4, ERROR_GEN_FAILURE}};
  DWORD error = 0;
  for (const auto& [n, code] : refusals) {
    EXPECT_EQ(backend.open(n, error), nullptr) << n;
    EXPECT_EQ(error, code) << n;
  }
  EXPECT_NE(backend.open(4, error), nullptr);  // the failure was for one call only
  EXPECT_EQ(backend.open(4, error), nullptr);  // and now it is open
  EXPECT_EQ(error, ERROR_ACCESS_DENIED);
}

TEST_F(SerialMemory, InjectedFailuresHitTheirOperationOnly) {
  port.deliver("abc");
  port.failNext(SerialOp::Read, ERROR_IO_DEVICE);
  char buffer[8];
  DWORD n = 7;
  EXPECT_EQ(ReadFile(h, buffer, 8, &n, nullptr), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_IO_DEVICE);
  EXPECT_EQ(n, 0u);
  EXPECT_EQ(waiting(), 3u);  // nothing was consumed

  port.failAlways(SerialOp::ModemStatus, ERROR_INVALID_FUNCTION);
  DWORD status = 0;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(GetCommModemStatus(h, &status), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_FUNCTION);
  std::thread([&] {  // the last error is the calling thread's own
    port.failNext(SerialOp::Purge, ERROR_IO_DEVICE);
    EXPECT_EQ(PurgeComm(h, 15), FALSE);
    EXPECT_EQ(GetLastError(), ERROR_IO_DEVICE);
  }).join();
  EXPECT_EQ(GetLastError(), ERROR_INVALID_FUNCTION);
  port.failNext(SerialOp::Write, ERROR_SEM_TIMEOUT, 2);
  EXPECT_EQ(WriteFile(h, "x", 1, &n, nullptr), FALSE);
  EXPECT_EQ(WriteFile(h, "x", 1, &n, nullptr), FALSE);
  EXPECT_EQ(write("y"), 1u);
  EXPECT_EQ(port.output(), "y");
  port.clearFailures();
  EXPECT_EQ(GetCommModemStatus(h, &status), TRUE);
}

// A pending read takes what is buffered when it completes; a pending write reaches the device then.
TEST_F(SerialMemory, PendingTransfersCompleteThroughGetOverlappedResult) {
  int chunks = 0;
  port.setPeer([&](SimulatedPort&, std::string_view) { ++chunks; });
  port.pendNext(SerialOp::Read, {ERROR_IO_INCOMPLETE, ERROR_SUCCESS});
  port.pendNext(SerialOp::Write, {ERROR_IO_INCOMPLETE, ERROR_SUCCESS});
  OVERLAPPED ov{};
  char buffer[16] = {};
  DWORD n = 9;
  ASSERT_EQ(ReadFile(h, buffer, 16, &n, &ov), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_IO_PENDING);
  EXPECT_EQ(n, 0u);
  port.deliver("OK\r\n");
  EXPECT_EQ(GetOverlappedResult(h, &ov, &n, TRUE), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_IO_INCOMPLETE);
  ASSERT_EQ(GetOverlappedResult(h, &ov, &n, TRUE), TRUE);
  EXPECT_EQ(std::string(buffer, n), "OK\r\n");
  ASSERT_EQ(GetOverlappedResult(h, &ov, &n, TRUE), TRUE);  // the outcome stays
  EXPECT_EQ(n, 4u);
  EXPECT_EQ(waiting(), 0u);  // the bytes went to the pending read

  ASSERT_EQ(WriteFile(h, "AT\r", 3, &n, &ov), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_IO_PENDING);
  EXPECT_EQ(GetOverlappedResult(h, &ov, &n, TRUE), FALSE);
  EXPECT_EQ(port.output(), "");
  ASSERT_EQ(GetOverlappedResult(h, &ov, &n, TRUE), TRUE);
  EXPECT_EQ(n, 3u);
  EXPECT_EQ(port.output(), "AT\r");
  EXPECT_EQ(chunks, 1);
  port.pendNext(SerialOp::Write, {ERROR_IO_DEVICE});
  ASSERT_EQ(WriteFile(h, "AT\r", 3, &n, &ov), FALSE);
  EXPECT_EQ(GetOverlappedResult(h, &ov, &n, TRUE), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_IO_DEVICE);
}

TEST_F(SerialMemory, UnpluggedDeviceIsNotConnectedUntilClosed) {
  useTimeouts(COMMTIMEOUTS{});
  std::thread reader([&] {
    char buffer[4];
    DWORD n = 0;
    EXPECT_EQ(ReadFile(h, buffer, 4, &n, nullptr), FALSE);  // wakes from its wait
    EXPECT_EQ(GetLastError(), ERROR_DEVICE_NOT_CONNECTED);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  port.unplug();
  reader.join();
  DWORD n = 0;
  EXPECT_EQ(WriteFile(h, "x", 1, &n, nullptr), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(CloseHandle(h), TRUE);
  EXPECT_EQ(CreateFileA("COM5", GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, 0), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

// Read timeouts on the manual clock: simulated time moves to each arrival or timeout. Bytes
// arrive at their offset from the start; the reads follow one another.
TEST_F(SerialMemory, ReadTimeoutRules) {
  struct Read {
    DWORD count;
    std::string bytes;
    std::int64_t tookMs;
  };
  struct Case {
    const char* rule;
    COMMTIMEOUTS timeouts;
    std::vector<std::pair<std::string, std::int64_t>> arrivals;
    std::vector<Read> reads;
  };
  const Case cases[] = {
      {"interval MAXDWORD without totals returns what is buffered at once", {MAXDWORD, 0, 0, 0, 0},
       {{"12345", 0}, {"678", 10}}, {{64, "12345", 0}, {64, "", 0}}},
      {"other ports collect an answer for the whole total timeout", kOtherPortTimeouts,
       {{"12345", 0}, {"678", 300}, {"late", 1001}}, {{64, "12345678", 1000}, {64, "late", 1000}, {64, "", 1000}}},
      {"reaching the count ends the read early", kOtherPortTimeouts,
       {{"1234", 0}, {"5678", 250}}, {{6, "123456", 250}, {2, "78", 0}}},
      {"port 1 ends a read 1000 ms after the last byte, or at its total", kPort1Timeouts,
       {{"12345", 0}, {"678", 600}}, {{64, "12345678", 1600}, {2, "", 3000}}},
      {"interval and multiplier MAXDWORD wait for the first byte only", {MAXDWORD, MAXDWORD, 500, 0, 0},
       {{"ab", 0}, {"cd", 200}, {"ef", 201}}, {{64, "ab", 0}, {64, "cd", 200}, {64, "ef", 1}, {64, "", 500}}},
      {"without timeouts a read waits for its count", {0, 0, 0, 0, 0},
       {{"ab", 100}, {"cd", 5000}}, {{4, "abcd", 5000}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.rule);
    useTimeouts(c.timeouts);
    manual.advance(10'000);  // what an earlier case left scheduled arrives, and is purged
    waiting();
    ASSERT_EQ(PurgeComm(h, PURGE_RXCLEAR), TRUE);
    for (const auto& [bytes, delayMs] : c.arrivals) port.deliver(bytes, delayMs);
    for (const Read& r : c.reads) {
      std::int64_t took = -1;
      EXPECT_EQ(read(r.count, &took), r.bytes);
      EXPECT_EQ(took, r.tookMs);
    }
  }
}

TEST_F(SerialMemory, AHeldTransmitterEndsAWriteAtItsTotalTimeout) {
  useTimeouts({0, 0, 0, 10, 100});
  ASSERT_EQ(EscapeCommFunction(h, SETXOFF), TRUE);
  const std::int64_t start = manual.monotonicMs();
  EXPECT_EQ(write("AT\r"), 0u);
  EXPECT_EQ(manual.monotonicMs() - start, 130);
  ASSERT_EQ(EscapeCommFunction(h, SETXON), TRUE);
  DCB dcb{};
  ASSERT_EQ(GetCommState(h, &dcb), TRUE);
  setBits(dcb, fOutxCtsFlow, 1);
  ASSERT_EQ(SetCommState(h, &dcb), TRUE);
  EXPECT_EQ(write("AT\r"), 0u);  // CTS is off
  port.setModemLines(MS_CTS_ON);
  EXPECT_EQ(write("AT\r"), 3u);
  EXPECT_EQ(port.output(), "AT\r");
}

}  // namespace
}  // namespace tov::platform
