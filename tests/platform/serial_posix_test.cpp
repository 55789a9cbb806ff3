#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

#include "platform/last_error.h"
#include <tovport/platform/serial.h>
#include <tovport/platform/serial_posix.h>

namespace tov::platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// A pseudo-terminal whose slave side is COM3; the test plays the device at the master side.
class SerialPosix : public ::testing::Test {
 protected:
  void SetUp() override {
    int slave = -1;
    char name[64] = {};
    ASSERT_EQ(openpty(&master, &slave, name, nullptr, nullptr), 0);
    ::close(slave);  // the port opens it again by name
    slavePath = name;
    backend.map(3, slavePath);
    h = open("COM3");
    ASSERT_NE(h, INVALID_HANDLE_VALUE) << GetLastError();
  }
  void TearDown() override {
    if (h != INVALID_HANDLE_VALUE) CloseHandle(h);
    if (master >= 0) ::close(master);
  }

  HANDLE open(const char* name) {
    return CreateFileA(name, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, 0);
  }
  void useTimeouts(const COMMTIMEOUTS& t) { ASSERT_EQ(SetCommTimeouts(h, &t), TRUE); }
  void deviceSends(std::string_view bytes) {
    ASSERT_EQ(::write(master, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }

  // What the port wrote, as far as it arrives within half a second.
  std::string deviceReceives(std::size_t count) {
    std::string got(count, '\0');
    std::size_t have = 0;
    for (pollfd p{master, POLLIN, 0}; have < count && poll(&p, 1, 500) == 1;) {
      const ssize_t n = ::read(master, got.data() + have, count - have);
      if (n <= 0) break;
      have += static_cast<std::size_t>(n);
    }
    got.resize(have);
    return got;
  }

  // The pty moves bytes to the slave asynchronously: waits until the port has `count` queued.
  void awaitQueued(DWORD count) {
    const auto until = steady_clock::now() + milliseconds(500);
    DWORD errors = 0;
    COMSTAT stat{};
    while (ClearCommError(h, &errors, &stat) == TRUE && stat.cbInQue != count && steady_clock::now() < until) {
      std::this_thread::sleep_for(milliseconds(1));
    }
    ASSERT_EQ(stat.cbInQue, count);
  }

  // Reads up to count bytes; returns them and the real time taken.
  std::string read(DWORD count, milliseconds& took) {
    std::string buffer(count, '\0');
    DWORD n = 0;
    const auto start = steady_clock::now();
    EXPECT_EQ(ReadFile(h, buffer.data(), count, &n, nullptr), TRUE) << GetLastError();
    took = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
    buffer.resize(n);
    return buffer;
  }

  PosixSerialBackend backend;
  ScopedSerialBackend installed{backend};
  int master = -1;
  std::string slavePath;
  HANDLE h = INVALID_HANDLE_VALUE;
};

TEST_F(SerialPosix, OnlyMappedExistingDevicesOpenAndOnlyOnce) {
  backend.map(4, "/dev/does-not-exist");
  for (const char* name : {"COM4", "COM5"}) {
    SetLastError(0);
    EXPECT_EQ(open(name), INVALID_HANDLE_VALUE) << name;
    EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND) << name;
  }
  // The open device is locked: under another number in this process, and from another process.
  backend.map(4, slavePath);
  EXPECT_EQ(open("COM4"), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_ACCESS_DENIED);
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    PosixSerialBackend other;
    other.map(1, slavePath);
    DWORD error = 0;
    _exit(other.open(1, error) != nullptr ? 100 : static_cast<int>(error));
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), static_cast<int>(ERROR_ACCESS_DENIED));
  ASSERT_EQ(CloseHandle(h), TRUE);
  h = open("COM4");
  EXPECT_NE(h, INVALID_HANDLE_VALUE);
  backend.unmap(3);
  EXPECT_EQ(open("COM3"), INVALID_HANDLE_VALUE);
}

TEST_F(SerialPosix, BytesCrossBothWaysWithTheSettingsInTermios) {
  DCB dcb{};
  ASSERT_EQ(GetCommState(h, &dcb), TRUE);
  ASSERT_EQ(BuildCommDCBA("baud=57600 parity=N data=8 stop=1", &dcb), TRUE);
  ASSERT_EQ(SetCommState(h, &dcb), TRUE) << GetLastError();  // no modem lines on a pty: ignored
  termios tio{};
  ASSERT_EQ(tcgetattr(master, &tio), 0);
  EXPECT_EQ(cfgetospeed(&tio), B57600);
  EXPECT_EQ(tio.c_cflag & (CSIZE | PARENB | CSTOPB | CRTSCTS), static_cast<tcflag_t>(CS8));
  EXPECT_EQ(tio.c_lflag & (ICANON | ECHO), 0u);

  DWORD n = 0;
  ASSERT_EQ(WriteFile(h, "AT+CGMI\r", 8, &n, nullptr), TRUE);
  EXPECT_EQ(n, 8u);
  EXPECT_EQ(deviceReceives(8), "AT+CGMI\r");
  const std::string answer("\r\nSIEMENS\r\n\xff\0OK\r\n", 17);  // every byte value passes unchanged
  deviceSends(answer);
  awaitQueued(17);
  useTimeouts({MAXDWORD, 0, 0, 0, 0});
  milliseconds took{};
  EXPECT_EQ(read(64, took), answer);
  deviceSends("stale");
  awaitQueued(5);
  ASSERT_EQ(PurgeComm(h, PURGE_RXABORT | PURGE_RXCLEAR | PURGE_TXABORT | PURGE_TXCLEAR), TRUE);
  awaitQueued(0);

  ASSERT_EQ(BuildCommDCBA("1200,e,7,2,x", &dcb), TRUE);
  ASSERT_EQ(SetCommState(h, &dcb), TRUE);
  ASSERT_EQ(tcgetattr(master, &tio), 0);
  EXPECT_EQ(cfgetospeed(&tio), B1200);
  EXPECT_EQ(tio.c_cflag & CSTOPB, static_cast<tcflag_t>(CSTOPB));
  EXPECT_EQ(tio.c_iflag & (IXON | IXOFF), static_cast<tcflag_t>(IXON | IXOFF));
  dcb.BaudRate = 14400;  // a Windows rate without a termios speed
  EXPECT_EQ(SetCommState(h, &dcb), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST_F(SerialPosix, ReadTimeoutRules) {
  milliseconds took{};
  useTimeouts({MAXDWORD, 0, 0, 0, 0});  // what is buffered, at once
  EXPECT_EQ(read(64, took), "");
  EXPECT_LT(took, milliseconds(50));

  // (A total constant collecting the rest of an answer: the serial API's pty test.)
  useTimeouts({30, 0, 0, 0, 0});  // an interval alone ends the read at a gap
  deviceSends("abc");
  awaitQueued(3);
  EXPECT_EQ(read(64, took), "abc");
  EXPECT_GE(took, milliseconds(25));
  EXPECT_LT(took, milliseconds(500));
}

TEST_F(SerialPosix, XoffHoldsWritesUntilTheirTimeout) {
  useTimeouts({MAXDWORD, 0, 0, 0, 40});
  ASSERT_EQ(EscapeCommFunction(h, SETXOFF), TRUE);
  const std::string block(8192, 'x');  // more than the pty takes while stopped
  DWORD n = 0;
  const auto start = steady_clock::now();
  EXPECT_EQ(WriteFile(h, block.data(), static_cast<DWORD>(block.size()), &n, nullptr), TRUE);
  EXPECT_GE(steady_clock::now() - start, milliseconds(35));
  EXPECT_LT(n, block.size());
  ASSERT_EQ(EscapeCommFunction(h, SETXON), TRUE);
  EXPECT_EQ(deviceReceives(n).size(), n);
}

TEST_F(SerialPosix, APseudoTerminalHasNoModemLines) {
  int lines = 0;
  ASSERT_NE(ioctl(master, TIOCMGET, &lines), 0);
  const DWORD expected = win32ErrorFromErrno(errno);  // ENOTTY, or EINVAL on older kernels
  DWORD status = 0;
  EXPECT_EQ(GetCommModemStatus(h, &status), FALSE);
  EXPECT_EQ(GetLastError(), expected);
  EXPECT_EQ(EscapeCommFunction(h, SETDTR), FALSE);
  EXPECT_EQ(GetLastError(), expected);
  EXPECT_EQ(EscapeCommFunction(h, RESETDEV), TRUE);
}

TEST_F(SerialPosix, AHungUpDeviceIsNotConnected) {
  useTimeouts({0, 0, 0, 0, 0});
  std::thread hangUp([&] {
    std::this_thread::sleep_for(milliseconds(20));
    ::close(master);
    master = -1;
  });
  char buffer[8];
  DWORD n = 0;
  EXPECT_EQ(ReadFile(h, buffer, 8, &n, nullptr), FALSE);  // wakes from its wait
  EXPECT_EQ(GetLastError(), ERROR_DEVICE_NOT_CONNECTED);
  hangUp.join();
  EXPECT_EQ(WriteFile(h, "AT\r", 3, &n, nullptr), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_DEVICE_NOT_CONNECTED);
  DWORD errors = 0;
  COMSTAT stat{};
  EXPECT_EQ(ClearCommError(h, &errors, &stat), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_DEVICE_NOT_CONNECTED);
  EXPECT_EQ(CloseHandle(h), TRUE);
  h = INVALID_HANDLE_VALUE;
}

}  // namespace
}  // namespace tov::platform
