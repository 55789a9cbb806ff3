// One detection in real time over a pseudo-terminal: the component opens the slave as COM5, a
// phone thread answers at the master. A pseudo-terminal shows no CTS, so the port is one that
// gets the pause instead (listed by the system only). Takes about four seconds: the pause and
// two reads that each collect an answer for their full read timeout.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "component/mod_public.h"
#include "discovery/port_table.h"
#include <tovport/platform/message_queue.h>
#include <tovport/platform/serial_posix.h>
#include "support/event_recorder.h"

namespace tov::testing {
namespace {

using namespace std::chrono;

// Answers each command line written to the master side, as a phone with echo off would.
void answerCommands(int master, const std::atomic<bool>& stop) {
  std::string line;
  while (!stop) {
    pollfd p{master, POLLIN, 0};
    char c = 0;
    if (poll(&p, 1, 20) != 1 || read(master, &c, 1) != 1) continue;
    if (c != '\r') {
      line.push_back(c);
      continue;
    }
    const std::string answer = line == "AT+CGMI"   ? "\r\nSIEMENS\r\n\r\nOK\r\n"
                               : line == "AT+CGMM" ? "\r\nS65\r\n\r\nOK\r\n"
                                                   : "\r\nERROR\r\n";
    line.clear();
    if (write(master, answer.data(), answer.size()) < 0) return;
  }
}

TEST(DetectionOverPseudoTerminal, APhoneAtTheMasterSideIsRecognised) {
  int master = -1, slave = -1;
  ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
  platform::PosixSerialBackend backend;
  backend.map(5, ttyname(slave));
  platform::ScopedSerialBackend serialScope(backend);
  discovery::PortTable() = PortTableOf<ComPortType>{};
  discovery::PortTable()(5) = cptUnknown;
  discovery::PortTableFilled() = true;

  auto c = tovComPrtv3::create();
  c->Worker = threads::ThreadControl::create();
  auto events = EventRecorder::connect(*c);
  std::atomic<bool> stop{false};
  std::thread phone(answerCommands, master, std::cref(stop));
  const auto start = steady_clock::now();
  c->VBDetectDevice(5);
  auto queue = platform::MessageQueue::current();
  while (events->events.empty() && steady_clock::now() - start < 15s) {
    queue->wait(100);
    platform::PumpMessages();
  }
  stop = true;
  phone.join();
  ASSERT_FALSE(events->events.empty());
  EXPECT_EQ(events->events[0].describe(), "DeviceDetected(5, BenQ-Siemens S65, True, 154, 0)");
  EXPECT_EQ(c->CommPorts(5).IsOpen, VariantBool::False);
  EXPECT_EQ(c->TimerIds(5), 0);

  events->disconnect();
  discovery::PortTableFilled() = false;
  gComponent().reset();
  close(master);
  close(slave);
}

}  // namespace
}  // namespace tov::testing
