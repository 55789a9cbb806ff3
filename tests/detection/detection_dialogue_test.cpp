// The AT dialogue of one port from VBDetectDevice to its outcome, on simulated phones.
#include <algorithm>

#include "detection/simulated_phone_test.h"
#include "platform/codepage.h"
#include <tovport/platform/serial.h>

namespace tov::testing {
namespace {

using platform::SerialOp;

const std::string kBothCommands = "AT+CGMI\rAT+CGMM\r";

// GCC 12 at -O2 takes the maps of a half-built table of phone scripts for uninitialized on the
// exception path that destroys it; they are not.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

using DetectionDialogue = SimulatedPhoneTest;

TEST_F(DetectionDialogue, EveryAnswerEndsInItsOutcomeThenTheEndMarkWithThePortClosed) {
  struct Case {
    PhoneScript script;
    std::string outcome;  // after "DeviceDetected(<port>, "
    std::string written;
  };
  const Case cases[] = {
      {kS65Phone, "BenQ-Siemens S65, True, 154, 0)", kBothCommands},
      {{{{"AT+CGMI\r", {"\r\nbenq\r\nOK\r\n"}}, {"AT+CGMM\r", {"\r\nel71\r\nOK\r\n"}}}},
       "BenQ-Siemens EL71, True, 182, 0)", kBothCommands},
      {{{{"AT+CGMI\r", {"\r\nNOKIA\r\n\r\nOK\r\n"}}}}, ", False, 0, 2)", "AT+CGMI\r"},  // another maker
      {{{{"AT+CGMI\r", {"\r\nERROR\r\n"}}}}, ", False, 0, 2)", "AT+CGMI\r"},  // a modem: could not send
      {{{{"AT+CGMI\r", {kSiemensAnswer}}, {"AT+CGMM\r", {"\r\nS65 ERROR\r\n"}}}}, ", False, 0, 2)", kBothCommands},
      {{{{"AT+CGMI\r", {"\r\nSIEMENS\r\n\r\nO", "K\r\n"}}}}, ", False, 0, 3)", "AT+CGMI\r"},  // no chunk ends it
  };
  std::int16_t port = 0;
  for (const auto& c : cases) {
    ++port;
    SCOPED_TRACE("port " + std::to_string(port));
    events_->events.clear();
    listSerialPort(port);
    auto& device = phone(port, c.script);
    c_->Pending(port) = VariantBool::True;
    c_->VBDetectDevice(port);
    ASSERT_TRUE(pumpUntil([&] { return !eventsOf(3).empty() && eventsOf(3).back().error() == dde_NoMoreDevices; }));
    ASSERT_EQ(events_->events.size(), 2u);
    EXPECT_EQ(events_->events[0].describe(), "DeviceDetected(" + std::to_string(port) + ", " + c.outcome);
    EXPECT_EQ(device.output(), c.written);
    EXPECT_FALSE(device.isOpen());
    EXPECT_EQ(c_->TimerIds(port), 0);
  }
}

TEST_F(DetectionDialogue, ImmediateFailuresEndWithoutTimePassing) {
  listSerialPort(2);
  auto& ctsOff = phone(2, kS65Phone, /*cts=*/false);  // a serial port: no write without CTS
  listSerialPort(8);
  serial_.port(8).setPresent(false);
  listSerialPort(3);
  phone(3, kS65Phone).failAlways(SerialOp::Write, platform::ERROR_GEN_FAILURE);
  const std::pair<std::int16_t, std::string> cases[] = {{2, "DeviceDetected(2, , False, 0, 2)"},
                                                        {8, "DeviceDetected(8, , False, 0, 1)"},
                                                        {3, "DeviceDetected(3, , False, 0, 2)"}};
  for (const auto& [port, outcome] : cases) {
    events_->events.clear();
    c_->VBDetectDevice(port);
    ASSERT_EQ(outcomes().size(), 1u) << port;
    EXPECT_EQ(outcomes()[0].describe(), outcome);
    EXPECT_FALSE(serial_.port(port).isOpen()) << port;
    EXPECT_EQ(c_->TimerIds(port), 0) << port;
  }
  EXPECT_EQ(ctsOff.output(), "");
  EXPECT_EQ(now(), 0);
}

TEST_F(DetectionDialogue, InfraredAndSystemOnlyPortsPauseTwoSecondsAndSendWhateverCtsShows) {
  listIrDaPort(4);
  listUnknownPort(9);
  for (std::int16_t port : {4, 9}) {
    phone(port, kS65Phone, /*cts=*/false);
    events_->events.clear();
    const std::int64_t start = now();
    c_->VBDetectDevice(port);
    ASSERT_EQ(writeTimes(port).size(), 1u) << port;
    EXPECT_EQ(writeTimes(port)[0] - start, 2000) << port;
    ASSERT_TRUE(pumpUntil([&] { return !outcomes().empty(); }));
    EXPECT_EQ(outcomes()[0].device(), dtSiemens_S65) << port;
  }
}

// A read failure in a tick hands the error line to MsgReceived. Started by a request (the port
// pending), the detection then ends with its outcome and the port closed; started by the host
// calling VBDetectDevice itself, it stays stalled with the port open.
TEST_F(DetectionDialogue, AReadFailureEndsARequestedDetectionAndStallsAHostsOwn) {
  listSerialPort(3);
  for (const bool requested : {true, false}) {
    SCOPED_TRACE(requested ? "requested" : "host's own");
    events_->events.clear();
    auto& device = phone(3, {});  // silent
    c_->Pending(3) = automation::vb(requested);
    c_->VBDetectDevice(3);
    device.failNext(SerialOp::ClearError, platform::ERROR_GEN_FAILURE);
    ASSERT_TRUE(pumpUntil([&] { return !eventsOf(2).empty(); }));
    pumpFor(20000);
    EXPECT_EQ(eventsOf(2)[0].text(),
              u"Error (31): VBCommRead (ClearCommError) - " + platform::ansiToUtf16(platform::systemMessage(31)));
    EXPECT_EQ(c_->TimerIds(3), 0);
    const std::vector<DeviceDetectionError> ended = {dde_CouldNotsendOutput};
    std::vector<DeviceDetectionError> errors;
    for (const auto& e : outcomes()) errors.push_back(e.error());
    EXPECT_EQ(errors, requested ? ended : std::vector<DeviceDetectionError>{});
    EXPECT_EQ(device.isOpen(), !requested);
    c_->VBClosePort(3);
  }
}

// The second command goes out from inside a tick of the same port, and the write yields: ticks
// of that port are held back until the tick that sends returns, so the model answer is judged
// once, by the running timer, and no timer is left behind for the closed port.
TEST_F(DetectionDialogue, TicksOfThePortWaitWhileItsTickSendsTheSecondCommand) {
  listSerialPort(3);
  auto script = kS65Phone;
  script.firstDelayMs = 0;
  phone(3, script);
  c_->VBDetectDevice(3);
  ASSERT_TRUE(pumpUntil([&] { return !outcomes().empty(); }));
  pumpFor(5000);
  ASSERT_EQ(outcomes().size(), 1u);
  EXPECT_EQ(outcomes()[0].device(), dtSiemens_S65);
  EXPECT_TRUE(eventsOf(2).empty());
  EXPECT_EQ(c_->TimerIds(3), 0);
  EXPECT_EQ(std::count(log_.begin(), log_.end(), u"Started Timer for Port3"), 1);
}

}  // namespace
}  // namespace tov::testing
