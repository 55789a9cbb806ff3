#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "platform/last_error.h"
#include <tovport/platform/serial.h>
#include <tovport/platform/serial_memory.h>

namespace tov::platform {
namespace {

HANDLE openPort(const char* name) {
  return CreateFileA(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, 0);
}

// The handle layer over simulated ports.
class SerialHandles : public ::testing::Test {
 protected:
  MemorySerialBackend backend;
  ScopedSerialBackend installed{backend};
};

TEST_F(SerialHandles, ComNamesOpenWithOrWithoutDevicePrefixOthersAreNotFound) {
  for (const int n : {1, 7, 12, 255}) backend.port(n);
  std::set<HANDLE> handles;
  for (const char* name : {"COM1", "com7", "\\\\.\\COM12", "\\\\.\\cOm255"}) {
    const HANDLE h = openPort(name);
    EXPECT_NE(h, 0) << name;
    EXPECT_NE(h, INVALID_HANDLE_VALUE) << name;
    handles.insert(h);
  }
  EXPECT_EQ(handles.size(), 4u);
  for (const char* name : {"COM0", "COM256", "COM01", "COM1:", "LPT1", "COM", "", "\\\\.\\", "\\\\?\\COM1",
                           "/dev/ttyS0", "\\\\.\\\\\\.\\COM1", static_cast<const char*>(nullptr)}) {
    SetLastError(0);
    EXPECT_EQ(openPort(name), INVALID_HANDLE_VALUE) << (name ? name : "null");
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  }
  EXPECT_EQ(backend.port(1).openCount(), 1);  // the bad names never reached the device
  // A port with a handle is busy until it is closed.
  EXPECT_EQ(openPort("COM1"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  for (const HANDLE h : handles) EXPECT_EQ(CloseHandle(h), TRUE);
  const HANDLE again = openPort("COM1");
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
    DWORD n = 99, status = 0;
    COMSTAT stat{};
    OVERLAPPED ov{};
    char buffer[4] = {};
    const BOOL results[] = {
        SetupComm(h, 1024, 1024),        PurgeComm(h, 15),                 SetCommTimeouts(h, &t),
        GetCommTimeouts(h, &t),          GetCommState(h, &dcb),            SetCommState(h, &dcb),
        ReadFile(h, buffer, 4, &n, &ov), WriteFile(h, "x", 1, &n, &ov),    GetOverlappedResult(h, &ov, &n, TRUE),
        ClearCommError(h, &status, &stat), GetCommModemStatus(h, &status), EscapeCommFunction(h, SETDTR),
        CloseHandle(h),
    };
    for (const BOOL r : results) EXPECT_EQ(r, FALSE) << h;
    EXPECT_EQ(GetLastError(), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ReadFile(h, buffer, 4, &n, nullptr), FALSE);
    EXPECT_EQ(n, 0u);
  }
}

TEST_F(SerialHandles, ArgumentsNoDeviceAcceptsAreRefusedBeforeReachingIt) {
  SimulatedPort& port = backend.port(2);
  const HANDLE h = openPort("COM2");
  DCB good{};
  ASSERT_EQ(GetCommState(h, &good), TRUE);
  const auto refused = [&](BOOL result) {
    const bool invalid = result == FALSE && GetLastError() == ERROR_INVALID_PARAMETER;
    SetLastError(0);
    return invalid;
  };
  EXPECT_TRUE(refused(PurgeComm(h, 0x10)));
  EXPECT_TRUE(refused(EscapeCommFunction(h, 0)));
  EXPECT_TRUE(refused(EscapeCommFunction(h, 10)));
  EXPECT_TRUE(port.purges().empty());
  EXPECT_TRUE(port.escapes().empty());
  const std::function<void(DCB&)> badStates[] = {
      [](DCB& d) { d.ByteSize = 9; }, [](DCB& d) { d.ByteSize = 4; }, [](DCB& d) { d.BaudRate = 0; },
      [](DCB& d) { d.Parity = 5; }, [](DCB& d) { d.StopBits = 3; },
      [](DCB& d) { d.StopBits = ONE5STOPBITS; },  // with 8 data bits
      [](DCB& d) { d.ByteSize = 5, d.StopBits = TWOSTOPBITS; },
      [](DCB& d) { setBits(d, fOutX, 1), d.XoffChar = d.XonChar; }};
  for (std::size_t i = 0; i < std::size(badStates); ++i) {
    DCB dcb = good;
    badStates[i](dcb);
    EXPECT_TRUE(refused(SetCommState(h, &dcb))) << "state " << i;
  }
  DCB fiveBits = good;
  fiveBits.ByteSize = 5, fiveBits.StopBits = ONE5STOPBITS;
  EXPECT_EQ(SetCommState(h, &fiveBits), TRUE);
  EXPECT_EQ(port.state().ByteSize, 5);
  EXPECT_EQ(CloseHandle(h), TRUE);
}

}  // namespace
}  // namespace tov::platform
