// The serial API over real pseudo-terminals: the test holds the master side, the component opens
// the slave through the POSIX backend as COM3 (and COM4, the same device under another number).
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "component/mod_public.h"
#include "component/tovcomprtv3.h"
#include "platform/serial_posix.h"

namespace tov::serial_test {
namespace {

using namespace std::chrono;
constexpr const char16_t* kSettings = u"baud=57600 parity=N data=8 stop=1";

class SerialApiPty : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
    backend.map(3, ttyname(slave));
    backend.map(4, ttyname(slave));
  }

  void TearDown() override {
    for (std::int16_t p : {3, 4}) {
      if (isTrue(c->CommPorts(p).IsOpen)) {
        EXPECT_EQ(c->VBCommClose(p), 0);
      }
    }
    close(master);
    close(slave);
    gComponent().reset();
  }

  void sendFromDevice(const std::string& bytes) {
    ASSERT_EQ(write(master, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }

  // What the program wrote, as far as it arrives within a second.
  std::string receivedByDevice(std::size_t count) {
    std::string got;
    const auto end = steady_clock::now() + 1s;
    while (got.size() < count && steady_clock::now() < end) {
      pollfd p{master, POLLIN, 0};
      if (poll(&p, 1, 50) != 1) continue;
      char buffer[256];
      const ssize_t n = read(master, buffer, sizeof buffer);
      if (n > 0) got.append(buffer, static_cast<std::size_t>(n));
    }
    return got;
  }

  // Waits until the line discipline has queued `count` bytes for the program.
  bool queuedForProgram(int count) {
    const auto end = steady_clock::now() + 1s;
    int waiting = 0;
    while (ioctl(slave, TIOCINQ, &waiting) == 0 && waiting < count && steady_clock::now() < end)
      std::this_thread::sleep_for(5ms);
    return waiting == count;
  }

  std::u16string errorText() {
    BStr text;
    c->VBCommGetError(text);
    return text;
  }

  int master = -1;
  int slave = -1;
  platform::PosixSerialBackend backend;
  platform::ScopedSerialBackend installed{backend};
  automation::Ref<tovComPrtv3> c = tovComPrtv3::create();
};

TEST_F(SerialApiPty, BytesTravelBothWays) {
  ASSERT_EQ(c->VBCommOpen(3, u"COM3", kSettings), 0);
  BStr command = u"AT+CGMI\r";
  EXPECT_EQ(c->VBCommWrite(3, command), 8);
  EXPECT_EQ(receivedByDevice(8), "AT+CGMI\r");

  sendFromDevice("OK\r\n");
  ASSERT_TRUE(queuedForProgram(4));
  BStr data;
  EXPECT_EQ(c->VBCommRead(3, data, 4), 4);
  EXPECT_EQ(data, u"OK\r\n");
}

TEST_F(SerialApiPty, AReadWithNothingWaitingReturnsAtOnce) {
  ASSERT_EQ(c->VBCommOpen(3, u"COM3", kSettings), 0);
  BStr data = u"stale";
  const auto start = steady_clock::now();
  EXPECT_EQ(c->VBCommRead(3, data, 64), 0);
  EXPECT_LT(steady_clock::now() - start, 200ms);
  EXPECT_EQ(data, u"");
}

// The read asks for 64 and waits out the port's one-second total timeout for the rest.
TEST_F(SerialApiPty, AShortAnswerComesBackAfterTheTotalReadTimeout) {
  ASSERT_EQ(c->VBCommOpen(3, u"COM3", kSettings), 0);
  sendFromDevice("12345");
  ASSERT_TRUE(queuedForProgram(5));
  BStr data;
  const auto start = steady_clock::now();
  EXPECT_EQ(c->VBCommRead(3, data, 64), 5);
  const auto took = steady_clock::now() - start;
  EXPECT_EQ(data, u"12345") << automation::toUtf8(errorText());
  EXPECT_GE(took, 900ms);
  EXPECT_LT(took, 1500ms);
}

TEST_F(SerialApiPty, AnOpenDeviceIsBusyForOtherPortNumbersAndInUseForItsOwn) {
  ASSERT_EQ(c->VBCommOpen(3, u"COM3", kSettings), 0);
  EXPECT_EQ(c->VBCommOpen(4, u"COM4", kSettings), 5);
  EXPECT_EQ(errorText(), u"Error (5): VBCommOpen (CreateFile) - Access is denied.\r\n");
  EXPECT_EQ(c->CommPorts(4).IsOpen, VariantBool::False);

  EXPECT_EQ(c->VBCommOpen(3, u"COM3", kSettings), -1);
  EXPECT_EQ(errorText(), u"Error (-1): VBCommOpen - Port in use.");
}

TEST_F(SerialApiPty, MalformedSettingsLeaveThePortOpenUntilClosed) {
  EXPECT_EQ(c->VBCommOpen(3, u"COM3", u"baud=57600 parity=Q"), 87);
  EXPECT_EQ(c->LastError.ErrorSource, u"VBCommOpen (BuildCommDCB)");
  EXPECT_EQ(c->CommPorts(3).IsOpen, VariantBool::True);
  EXPECT_EQ(c->VBCommClose(3), 0);
  EXPECT_EQ(c->CommPorts(3).IsOpen, VariantBool::False);
  EXPECT_EQ(c->VBCommOpen(4, u"COM4", kSettings), 0) << "the device was released";
}

// A pseudo-terminal has no modem lines, so the caller's state comes back.
TEST_F(SerialApiPty, ModemLinesCannotBeReadAndTheCallersStateComesBack) {
  ASSERT_EQ(c->VBCommOpen(3, u"COM3", kSettings), 0);
  for (const VariantBool state : {VariantBool::True, VariantBool::False}) {
    EXPECT_EQ(c->VBCommGetLine(3, 0x10, state), state);
    EXPECT_EQ(c->LastError.ErrorSource, u"VBCommReadCD (GetCommModemStatus)");
    EXPECT_TRUE(c->LastError.ErrorCode == 1 || c->LastError.ErrorCode == 87) << c->LastError.ErrorCode;
  }
}

}  // namespace
}  // namespace tov::serial_test
