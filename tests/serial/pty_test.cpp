// The serial API over real pseudo-terminals: the test holds the master side, the component opens
// the slave through the POSIX backend as COM3.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include "component/mod_public.h"
#include <tovport/component/tovcomprtv3.h>
#include <tovport/platform/serial_posix.h>

namespace tov::serial_test {
namespace {

using namespace std::chrono;
constexpr const char16_t* kSettings = u"baud=57600 parity=N data=8 stop=1";

class SerialApiPty : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
    backend.map(3, ttyname(slave));
    ASSERT_EQ(c->VBCommOpen(3, u"COM3", kSettings), 0);
  }
  void TearDown() override {
    EXPECT_EQ(c->VBCommClose(3), 0);
    close(master);
    close(slave);
    gComponent().reset();
  }

  // Sends bytes from the device and waits until the line discipline has queued them all.
  void sendFromDevice(const std::string& bytes) {
    const int count = static_cast<int>(bytes.size());
    ASSERT_EQ(write(master, bytes.data(), bytes.size()), count);
    int waiting = 0;
    for (const auto end = steady_clock::now() + 1s; steady_clock::now() < end; std::this_thread::sleep_for(5ms))
      if (ioctl(slave, TIOCINQ, &waiting) == 0 && waiting >= count) break;
    ASSERT_EQ(waiting, count);
  }
  // What the program wrote, as far as it arrives within a second.
  std::string receivedByDevice(std::size_t count) {
    std::string got;
    for (const auto end = steady_clock::now() + 1s; got.size() < count && steady_clock::now() < end;) {
      pollfd p{master, POLLIN, 0};
      char buffer[256];
      const ssize_t n = poll(&p, 1, 50) == 1 ? read(master, buffer, sizeof buffer) : 0;
      if (n > 0) got.append(buffer, static_cast<std::size_t>(n));
    }
    return got;
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

// Text crosses as ANSI bytes.
TEST_F(SerialApiPty, BytesTravelBothWays) {
  BStr command = u"AT+CGMI\u20AC\r";
  EXPECT_EQ(c->VBCommWrite(3, command), 9);
  EXPECT_EQ(receivedByDevice(9), "AT+CGMI\x80\r");
  sendFromDevice("\x80OK\r\n");
  BStr data;
  EXPECT_EQ(c->VBCommRead(3, data, 5), 5);
  EXPECT_EQ(data, u"\u20ACOK\r\n");
}

// With 5 of the 64 asked for waiting, a read waits out the port's one-second total timeout for
// the rest.
TEST_F(SerialApiPty, AReadWaitsOutTheTotalReadTimeout) {
  BStr data;
  sendFromDevice("12345");
  const auto start = steady_clock::now();
  EXPECT_EQ(c->VBCommRead(3, data, 64), 5);
  const auto took = steady_clock::now() - start;
  EXPECT_EQ(data, u"12345") << automation::toUtf8(errorText());
  EXPECT_GE(took, 900ms);
  EXPECT_LT(took, 1500ms);
}

}  // namespace
}  // namespace tov::serial_test
