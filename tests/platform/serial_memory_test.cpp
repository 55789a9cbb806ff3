#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "platform/clock.h"
#include "platform/last_error.h"
#include "platform/serial.h"
#include "platform/serial_memory.h"

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

  DWORD waiting() {
    DWORD errors = 0;
    COMSTAT stat{};
    EXPECT_EQ(ClearCommError(h, &errors, &stat), TRUE);
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
  DWORD error = 0;
  EXPECT_EQ(backend.open(1, error), nullptr);
  EXPECT_EQ(error, ERROR_FILE_NOT_FOUND);
  backend.port(2).setPresent(false);
  EXPECT_EQ(backend.open(2, error), nullptr);
  EXPECT_EQ(error, ERROR_FILE_NOT_FOUND);
  backend.port(3).setBusy(true);
  EXPECT_EQ(backend.open(3, error), nullptr);
  EXPECT_EQ(error, ERROR_ACCESS_DENIED);
  backend.port(4).failNext(SerialOp::Open, ERROR_GEN_FAILURE);
  EXPECT_EQ(backend.open(4, error), nullptr);
  EXPECT_EQ(error, ERROR_GEN_FAILURE);
  EXPECT_NE(backend.open(4, error), nullptr);  // the failure was for one call only
  EXPECT_EQ(backend.open(4, error), nullptr);  // and now it is open
  EXPECT_EQ(error, ERROR_ACCESS_DENIED);
}

TEST_F(SerialMemory, RecordsHowTheProgramConfiguresTheDevice) {
  EXPECT_EQ(SetupComm(h, 1024, 512), TRUE);
  EXPECT_EQ(PurgeComm(h, 15), TRUE);
  useTimeouts(kOtherPortTimeouts);
  DCB dcb{};
  ASSERT_EQ(GetCommState(h, &dcb), TRUE);
  EXPECT_EQ(dcb.BaudRate, 9600u);
  EXPECT_EQ(dcb.ByteSize, 8);
  EXPECT_TRUE(port.dtr());  // raised on open by the default DTR control
  ASSERT_EQ(BuildCommDCBA("baud=57600 parity=N data=8 stop=1 dtr=off", &dcb), TRUE);
  ASSERT_EQ(SetCommState(h, &dcb), TRUE);

  EXPECT_EQ(port.inQueueSize(), 1024u);
  EXPECT_EQ(port.outQueueSize(), 512u);
  EXPECT_EQ(port.purges(), std::vector<DWORD>{15});
  EXPECT_EQ(port.timeouts().ReadIntervalTimeout, MAXDWORD);
  EXPECT_EQ(port.timeouts().WriteTotalTimeoutConstant, 1000u);
  EXPECT_EQ(port.state().BaudRate, 57600u);
  EXPECT_FALSE(port.dtr());
  EXPECT_TRUE(port.rts());
  COMMTIMEOUTS back{};
  ASSERT_EQ(GetCommTimeouts(h, &back), TRUE);
  EXPECT_EQ(back.ReadTotalTimeoutConstant, 1000u);
}

TEST_F(SerialMemory, LinesFollowEscapeFunctionsAndModemStatusShowsTheTestsLines) {
  for (const DWORD f : {CLRRTS, CLRDTR, SETBREAK, RESETDEV}) ASSERT_EQ(EscapeCommFunction(h, f), TRUE);
  EXPECT_FALSE(port.rts());
  EXPECT_FALSE(port.dtr());
  EXPECT_TRUE(port.breakOn());
  for (const DWORD f : {SETRTS, SETDTR, CLRBREAK}) ASSERT_EQ(EscapeCommFunction(h, f), TRUE);
  EXPECT_TRUE(port.rts() && port.dtr());
  EXPECT_FALSE(port.breakOn());
  EXPECT_EQ(port.escapes().size(), 7u);

  port.setModemLines(MS_CTS_ON | MS_RLSD_ON);
  DWORD status = 0;
  ASSERT_EQ(GetCommModemStatus(h, &status), TRUE);
  EXPECT_EQ(status, MS_CTS_ON | MS_RLSD_ON);
}

TEST_F(SerialMemory, ClearCommErrorReportsErrorFlagsOnceAndTheQueuedBytes) {
  port.deliver("hello");
  port.raiseErrors(CE_FRAME | CE_OVERRUN);
  DWORD errors = 0;
  COMSTAT stat{};
  ASSERT_EQ(ClearCommError(h, &errors, &stat), TRUE);
  EXPECT_EQ(errors, CE_FRAME | CE_OVERRUN);
  EXPECT_EQ(stat.cbInQue, 5u);
  ASSERT_EQ(ClearCommError(h, &errors, &stat), TRUE);
  EXPECT_EQ(errors, 0u);
  EXPECT_EQ(PurgeComm(h, PURGE_RXCLEAR), TRUE);
  EXPECT_EQ(waiting(), 0u);
}

TEST_F(SerialMemory, PeerAnswersWrittenChunksAfterItsDelay) {
  std::vector<std::string> heard;
  port.setPeer([&](SimulatedPort& p, std::string_view chunk) {
    heard.emplace_back(chunk);
    EXPECT_FALSE(p.output().empty());  // the port's lock is free while the peer runs
    p.deliver("\r\nSIEMENS\r\n\r\nOK\r\n", 150);
  });
  EXPECT_EQ(write("AT+CGMI\r"), 8u);
  EXPECT_EQ(port.output(), "AT+CGMI\r");
  EXPECT_EQ(heard, std::vector<std::string>{"AT+CGMI\r"});
  EXPECT_EQ(waiting(), 0u);
  manual.advance(149);
  EXPECT_EQ(waiting(), 0u);
  manual.advance(1);
  EXPECT_EQ(waiting(), 17u);
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
  port.failNext(SerialOp::Write, ERROR_SEM_TIMEOUT, 2);
  EXPECT_EQ(WriteFile(h, "x", 1, &n, nullptr), FALSE);
  EXPECT_EQ(WriteFile(h, "x", 1, &n, nullptr), FALSE);
  EXPECT_EQ(write("y"), 1u);
  EXPECT_EQ(port.output(), "y");
  port.clearFailures();
  EXPECT_EQ(GetCommModemStatus(h, &status), TRUE);
}

TEST_F(SerialMemory, PendingReadCompletesThroughGetOverlappedResult) {
  port.pendNext(SerialOp::Read, {ERROR_IO_INCOMPLETE, ERROR_IO_INCOMPLETE, ERROR_SUCCESS});
  OVERLAPPED ov{};
  char buffer[16] = {};
  DWORD n = 9;
  ASSERT_EQ(ReadFile(h, buffer, 16, &n, &ov), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_IO_PENDING);
  EXPECT_EQ(n, 0u);
  port.deliver("OK\r\n");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(GetOverlappedResult(h, &ov, &n, TRUE), FALSE);
    EXPECT_EQ(GetLastError(), ERROR_IO_INCOMPLETE);
  }
  ASSERT_EQ(GetOverlappedResult(h, &ov, &n, TRUE), TRUE);
  EXPECT_EQ(std::string(buffer, n), "OK\r\n");
  ASSERT_EQ(GetOverlappedResult(h, &ov, &n, TRUE), TRUE);  // the outcome stays
  EXPECT_EQ(n, 4u);
  useTimeouts({MAXDWORD, 0, 0, 0, 0});
  EXPECT_EQ(read(4, nullptr), "");  // the bytes went to the pending read
}

TEST_F(SerialMemory, PendingWriteReachesThePeerOnlyWhenItCompletes) {
  int chunks = 0;
  port.setPeer([&](SimulatedPort&, std::string_view) { ++chunks; });
  port.pendNext(SerialOp::Write, {ERROR_IO_INCOMPLETE, ERROR_SUCCESS});
  OVERLAPPED ov{};
  DWORD n = 0;
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

// Read timeouts on the manual clock: simulated time moves to each arrival or timeout.
using SerialMemoryTimeouts = SerialMemory;

TEST_F(SerialMemoryTimeouts, IntervalMaxWithoutTotalsReturnsWhatIsBufferedAtOnce) {
  useTimeouts({MAXDWORD, 0, 0, 0, 0});
  std::int64_t took = -1;
  EXPECT_EQ(read(64, &took), "");
  EXPECT_EQ(took, 0);
  port.deliver("12345");
  port.deliver("678", 10);
  EXPECT_EQ(read(64, &took), "12345");
  EXPECT_EQ(took, 0);
}

TEST_F(SerialMemoryTimeouts, OtherPortsCollectAnAnswerForTheWholeTotalTimeout) {
  useTimeouts(kOtherPortTimeouts);
  port.deliver("12345");
  port.deliver("678", 300);
  port.deliver("late", 1001);
  std::int64_t took = -1;
  EXPECT_EQ(read(64, &took), "12345678");
  EXPECT_EQ(took, 1000);
  EXPECT_EQ(read(64, &took), "late");
  EXPECT_EQ(took, 1000);
  EXPECT_EQ(read(64, &took), "");  // nothing comes: the total timeout ends the read
  EXPECT_EQ(took, 1000);
}

TEST_F(SerialMemoryTimeouts, ReachingTheCountEndsTheReadEarly) {
  useTimeouts(kOtherPortTimeouts);
  port.deliver("1234");
  port.deliver("5678", 250);
  std::int64_t took = -1;
  EXPECT_EQ(read(6, &took), "123456");
  EXPECT_EQ(took, 250);
  EXPECT_EQ(read(2, &took), "78");
  EXPECT_EQ(took, 0);
}

TEST_F(SerialMemoryTimeouts, PortOneEndsAReadAtAGapBetweenBytesOrAtItsTotal) {
  useTimeouts(kPort1Timeouts);
  port.deliver("12345");
  port.deliver("678", 600);
  std::int64_t took = -1;
  EXPECT_EQ(read(64, &took), "12345678");
  EXPECT_EQ(took, 1600);  // 1000 ms after the last byte
  EXPECT_EQ(read(2, &took), "");
  EXPECT_EQ(took, 3000);  // 1000 x 2 + 1000, no byte ever started the interval
}

TEST_F(SerialMemoryTimeouts, IntervalAndMultiplierMaxWaitForTheFirstByteOnly) {
  useTimeouts({MAXDWORD, MAXDWORD, 500, 0, 0});
  port.deliver("ab");
  std::int64_t took = -1;
  EXPECT_EQ(read(64, &took), "ab");
  EXPECT_EQ(took, 0);
  port.deliver("cd", 200);
  port.deliver("ef", 201);
  EXPECT_EQ(read(64, &took), "cd");
  EXPECT_EQ(took, 200);
  manual.advance(1);
  EXPECT_EQ(read(64, &took), "ef");
  EXPECT_EQ(read(64, &took), "");
  EXPECT_EQ(took, 500);
}

TEST_F(SerialMemoryTimeouts, WithoutTimeoutsAReadWaitsForItsCount) {
  useTimeouts(COMMTIMEOUTS{});
  port.deliver("ab", 100);
  port.deliver("cd", 5000);
  std::int64_t took = -1;
  EXPECT_EQ(read(4, &took), "abcd");
  EXPECT_EQ(took, 5000);
}

TEST_F(SerialMemoryTimeouts, AHeldTransmitterEndsAWriteAtItsTotalTimeout) {
  useTimeouts({0, 0, 0, 10, 100});
  ASSERT_EQ(EscapeCommFunction(h, SETXOFF), TRUE);
  const std::int64_t start = manual.monotonicMs();
  EXPECT_EQ(write("AT\r"), 0u);
  EXPECT_EQ(manual.monotonicMs() - start, 130);
  EXPECT_EQ(port.output(), "");
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

TEST(SerialMemoryRealTime, ReadsReallyWaitOnTheRealClock) {
  MemorySerialBackend backend;
  ScopedSerialBackend installed(backend);
  SimulatedPort& port = backend.port(9);
  const HANDLE h = CreateFileA("COM9", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, 0);
  const COMMTIMEOUTS firstByte{MAXDWORD, MAXDWORD, 2000, 0, 0};
  ASSERT_EQ(SetCommTimeouts(h, &firstByte), TRUE);
  port.setPeer([](SimulatedPort& p, std::string_view) { p.deliver("OK", 20); });
  DWORD n = 0;
  ASSERT_EQ(WriteFile(h, "AT\r", 3, &n, nullptr), TRUE);
  const auto start = std::chrono::steady_clock::now();
  char buffer[8];
  ASSERT_EQ(ReadFile(h, buffer, 8, &n, nullptr), TRUE);
  const auto took = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(std::string(buffer, n), "OK");
  EXPECT_GE(took, std::chrono::milliseconds(15));
  EXPECT_LT(took, std::chrono::milliseconds(1000));
  EXPECT_EQ(CloseHandle(h), TRUE);
}

}  // namespace
}  // namespace tov::platform
