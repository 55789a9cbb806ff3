#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "platform/clock.h"
#include "platform/last_error.h"
#include "platform/serial.h"
#include "platform/serial_memory.h"

namespace tov::platform {
namespace {

HANDLE openPort(const char* name) {
  return CreateFileA(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, 0);
}

class SerialHandles : public ::testing::Test {
 protected:
  MemorySerialBackend backend;
  ScopedSerialBackend installed{backend};
};

TEST(SerialHandlesDefault, TheDefaultBackendHasNoDevices) {
  SetLastError(0);
  EXPECT_EQ(openPort("COM1"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
}

TEST_F(SerialHandles, OpensComNamesWithOrWithoutTheDevicePrefix) {
  for (const int n : {1, 7, 12, 255}) backend.port(n);
  for (const char* name : {"COM1", "com7", "\\\\.\\COM12", "\\\\.\\cOm255"}) {
    const HANDLE h = openPort(name);
    EXPECT_NE(h, INVALID_HANDLE_VALUE) << name;
    EXPECT_EQ(CloseHandle(h), TRUE) << name;
  }
  EXPECT_EQ(backend.port(12).openCount(), 1);
}

TEST_F(SerialHandles, OtherNamesAreNotFoundWithoutAskingTheBackend) {
  backend.port(1);
  const char* names[] = {"COM0", "COM256", "COM01", "COM1:", "LPT1", "COM", "", "\\\\.\\", "\\\\?\\COM1",
                           "/dev/ttyS0", "\\\\.\\\\\\.\\COM1", nullptr};
  for (const char* name : names) {
    SetLastError(0);
    EXPECT_EQ(openPort(name), INVALID_HANDLE_VALUE) << (name ? name : "null");
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  }
  EXPECT_EQ(backend.port(1).openCount(), 0);
}

TEST_F(SerialHandles, HandlesAreDistinctAndNeverZeroOrInvalid) {
  std::set<HANDLE> seen;
  for (int n = 1; n <= 32; ++n) {
    backend.port(n);
    const std::string name = "COM" + std::to_string(n);
    const HANDLE h = openPort(name.c_str());
    EXPECT_NE(h, 0);
    EXPECT_NE(h, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(seen.insert(h).second);
  }
  for (const HANDLE h : seen) EXPECT_EQ(CloseHandle(h), TRUE);
}

TEST_F(SerialHandles, APortWithAHandleIsBusyUntilClosed) {
  backend.port(3);
  const HANDLE first = openPort("COM3");
  ASSERT_NE(first, INVALID_HANDLE_VALUE);
  EXPECT_EQ(CreateFileA("\\\\.\\COM3", GENERIC_READ, 3, nullptr, OPEN_EXISTING, 0, 0), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  EXPECT_EQ(CloseHandle(first), TRUE);
  const HANDLE again = openPort("COM3");
  EXPECT_NE(again, INVALID_HANDLE_VALUE);
  EXPECT_EQ(CloseHandle(again), TRUE);
}

TEST_F(SerialHandles, UnknownOrClosedHandlesAreInvalidForEveryCall) {
  backend.port(1);
  const HANDLE closed = openPort("COM1");
  ASSERT_EQ(CloseHandle(closed), TRUE);
  for (const HANDLE h : {HANDLE{0}, INVALID_HANDLE_VALUE, closed}) {
    DCB dcb{};
    COMMTIMEOUTS t{};
    DWORD n = 99;
    DWORD status = 0;
    COMSTAT stat{};
    OVERLAPPED ov{};
    char buffer[4] = {};
    const BOOL results[] = {
        SetupComm(h, 1024, 1024),     PurgeComm(h, 15),          SetCommTimeouts(h, &t),
        GetCommTimeouts(h, &t),       GetCommState(h, &dcb),     SetCommState(h, &dcb),
        ReadFile(h, buffer, 4, &n, &ov), WriteFile(h, "x", 1, &n, &ov), GetOverlappedResult(h, &ov, &n, TRUE),
        ClearCommError(h, &status, &stat), GetCommModemStatus(h, &status), EscapeCommFunction(h, SETDTR),
        CloseHandle(h),
    };
    for (const BOOL r : results) EXPECT_EQ(r, FALSE) << h;
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    SetLastError(0);
    EXPECT_EQ(ReadFile(h, buffer, 4, &n, nullptr), FALSE);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(n, 0u);
  }
}

TEST_F(SerialHandles, ArgumentsNoDeviceAcceptsAreRefusedBeforeReachingIt) {
  SimulatedPort& port = backend.port(2);
  const HANDLE h = openPort("COM2");
  EXPECT_EQ(PurgeComm(h, 0x10), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_TRUE(port.purges().empty());
  for (const DWORD function : {0u, 10u}) {
    EXPECT_EQ(EscapeCommFunction(h, function), FALSE);
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  }
  EXPECT_TRUE(port.escapes().empty());

  DCB good{};
  ASSERT_EQ(GetCommState(h, &good), TRUE);
  auto refused = [&](auto change) {
    DCB dcb = good;
    change(dcb);
    SetLastError(0);
    return SetCommState(h, &dcb) == FALSE && GetLastError() == ERROR_INVALID_PARAMETER;
  };
  EXPECT_TRUE(refused([](DCB& d) { d.ByteSize = 9; }));
  EXPECT_TRUE(refused([](DCB& d) { d.ByteSize = 4; }));
  EXPECT_TRUE(refused([](DCB& d) { d.BaudRate = 0; }));
  EXPECT_TRUE(refused([](DCB& d) { d.Parity = 5; }));
  EXPECT_TRUE(refused([](DCB& d) { d.StopBits = 3; }));
  EXPECT_TRUE(refused([](DCB& d) { d.StopBits = ONE5STOPBITS; }));  // with 8 data bits
  EXPECT_TRUE(refused([](DCB& d) { d.ByteSize = 5, d.StopBits = TWOSTOPBITS; }));
  EXPECT_TRUE(refused([](DCB& d) { setBits(d, fOutX, 1), d.XoffChar = d.XonChar; }));
  EXPECT_FALSE(refused([](DCB& d) { d.ByteSize = 5, d.StopBits = ONE5STOPBITS; }));
  EXPECT_EQ(port.state().ByteSize, 5);
  EXPECT_EQ(CloseHandle(h), TRUE);
}

TEST_F(SerialHandles, AFailedCloseLeavesTheHandleUsable) {
  SimulatedPort& port = backend.port(4);
  const HANDLE h = openPort("COM4");
  port.failNext(SerialOp::Close, ERROR_GEN_FAILURE);
  EXPECT_EQ(CloseHandle(h), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_GEN_FAILURE);
  EXPECT_TRUE(port.isOpen());
  EXPECT_EQ(PurgeComm(h, PURGE_RXCLEAR), TRUE);
  EXPECT_EQ(CloseHandle(h), TRUE);
  EXPECT_FALSE(port.isOpen());
}

TEST_F(SerialHandles, DeviceFailuresBecomeTheThreadsLastError) {
  SimulatedPort& port = backend.port(5);
  const HANDLE h = openPort("COM5");
  port.failNext(SerialOp::SetupComm, ERROR_NOT_READY);
  EXPECT_EQ(SetupComm(h, 1024, 1024), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_NOT_READY);
  std::thread([&] {  // another thread's failure does not touch this thread's code
    port.failNext(SerialOp::Purge, ERROR_IO_DEVICE);
    EXPECT_EQ(PurgeComm(h, 15), FALSE);
    EXPECT_EQ(GetLastError(), ERROR_IO_DEVICE);
  }).join();
  EXPECT_EQ(GetLastError(), ERROR_NOT_READY);
  EXPECT_EQ(CloseHandle(h), TRUE);
}

TEST_F(SerialHandles, ABlockedReadDoesNotHoldUpOtherHandles) {
  ManualClock manual;
  ScopedClock clockGuard(manual);
  SimulatedPort& waiting = backend.port(6);
  backend.port(7);
  const HANDLE h6 = openPort("COM6");
  const COMMTIMEOUTS none{};  // no timeouts: the read waits for its count
  ASSERT_EQ(SetCommTimeouts(h6, &none), TRUE);
  std::thread reader([&] {
    char buffer[2];
    DWORD n = 0;
    EXPECT_EQ(ReadFile(h6, buffer, 2, &n, nullptr), TRUE);
    EXPECT_EQ(n, 2u);
  });
  const HANDLE h7 = openPort("COM7");  // the table is free while COM6 blocks
  EXPECT_NE(h7, INVALID_HANDLE_VALUE);
  EXPECT_EQ(CloseHandle(h7), TRUE);
  waiting.deliver("ok");
  reader.join();
  EXPECT_EQ(CloseHandle(h6), TRUE);
}

}  // namespace
}  // namespace tov::platform
