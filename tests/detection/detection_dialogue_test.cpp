// The AT dialogue of one port from VBDetectDevice to its outcome, on simulated phones.
#include <algorithm>

#include "detection/simulated_phone_test.h"
#include "discovery/port_table.h"

namespace tov::testing {
namespace {

using platform::SerialOp;

const PhoneScript kS65{{{"AT+CGMI\r", {kSiemensAnswer}}, {"AT+CGMM\r", {"\r\nS65\r\n\r\nOK\r\n"}}}};

class DetectionDialogue : public SimulatedPhoneTest {
 protected:
  bool detect(std::int16_t port) {
    c_->VBDetectDevice(port);
    return pumpUntil([&] { return !outcomes().empty(); });
  }
};

TEST_F(DetectionDialogue, APhoneNamesItsModelAndThePortIsClosedAfterwards) {
  listSerialPort(3);
  auto& device = phone(3, kS65);
  c_->Pending(3) = VariantBool::True;
  ASSERT_TRUE(detect(3));
  const auto events = events_->ofType(3);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].describe(), "DeviceDetected(3, BenQ-Siemens S65, True, 154, 0)");
  EXPECT_EQ(events[1].error(), dde_NoMoreDevices);
  EXPECT_EQ(device.output(), "AT+CGMI\rAT+CGMM\r");
  EXPECT_FALSE(device.isOpen());
  EXPECT_TRUE(device.rts());
  EXPECT_TRUE(device.dtr());
  EXPECT_EQ(c_->TimerIds(3), 0);
  EXPECT_EQ(c_->DialogueStep(3), 1);
  EXPECT_EQ(device.state().BaudRate, 57600u);
  pumpFor(10000);
  EXPECT_EQ(events_->events.size(), 2u) << "nothing follows the outcome";
}

TEST_F(DetectionDialogue, TheDialogueLeavesItsTrailInTheLog) {
  listSerialPort(3);
  phone(3, kS65);
  discovery::GetPortType(3, false);  // discovery's own trace is not part of the dialogue
  log_.clear();
  ASSERT_TRUE(detect(3));
  const std::vector<std::u16string> expected = {
      u"Now opening Port: COM3", u"VBSendCommand on PortNr.: 3, Command: |AT+CGMI\r|", u"Setting Timeout for Port 3", u"Started Timer for Port3",
      u"VBcheckAnswer, Port 3", u"VBDeviceDetected, Port 3", u"Result: " + automation::fromUtf8(kSiemensAnswer),
      u"VBSendCommand on PortNr.: 3, Command: |AT+CGMM\r|", u"Setting Timeout for Port 3", u"VBcheckAnswer, Port 3",
      u"VBDeviceDetected, Port 3", u"Result: \r\nS65\r\n\r\nOK\r\n", u"VBcheckDevice, Port 3",
      u"fireeventDeviceDetected, device found for Port 3", u"Killed Timer for Port3"};
  EXPECT_EQ(log_, expected);
}

TEST_F(DetectionDialogue, BenQInAnyCaseIsAcceptedAsTheMaker) {
  listSerialPort(5);
  phone(5, {{{"AT+CGMI\r", {"\r\nbenq\r\nOK\r\n"}}, {"AT+CGMM\r", {"\r\nel71\r\nOK\r\n"}}}});
  ASSERT_TRUE(detect(5));
  EXPECT_EQ(outcomes()[0].describe(), "DeviceDetected(5, BenQ-Siemens EL71, True, 182, 0)");
}

TEST_F(DetectionDialogue, AnotherMakerEndsTheDetectionWithoutTheSecondCommand) {
  listSerialPort(5);
  auto& device = phone(5, {{{"AT+CGMI\r", {"\r\nNOKIA\r\n\r\nOK\r\n"}}}});
  ASSERT_TRUE(detect(5));
  EXPECT_EQ(outcomes()[0].describe(), "DeviceDetected(5, , False, 0, 2)");
  EXPECT_EQ(device.output(), "AT+CGMI\r");
  EXPECT_FALSE(device.isOpen());
  EXPECT_EQ(c_->TimerIds(5), 0);
}

TEST_F(DetectionDialogue, AModemAnsweringErrorCouldNotSendNotTimeout) {
  listSerialPort(4);
  phone(4, {{{"AT+CGMI\r", {"\r\nERROR\r\n"}}}});
  ASSERT_TRUE(detect(4));
  EXPECT_EQ(outcomes()[0].error(), dde_CouldNotsendOutput);
  EXPECT_EQ(outcomes()[0].device(), dtNone);
  EXPECT_LT(now(), 2000);
}

TEST_F(DetectionDialogue, AModelAnswerWithErrorIsTheErrorEvenWithAKey) {
  listSerialPort(4);
  auto& device = phone(4, {{{"AT+CGMI\r", {kSiemensAnswer}}, {"AT+CGMM\r", {"\r\nS65 ERROR\r\n"}}}});
  ASSERT_TRUE(detect(4));
  EXPECT_EQ(outcomes()[0].describe(), "DeviceDetected(4, , False, 0, 2)");
  EXPECT_FALSE(device.isOpen());
}

TEST_F(DetectionDialogue, AnAnswerSplitSoNoChunkEndsItTimesOut) {
  listSerialPort(6);
  auto& device = phone(6, {{{"AT+CGMI\r", {"\r\nSIEMENS\r\n\r\nO", "K\r\n"}}}});
  ASSERT_TRUE(detect(6));
  EXPECT_EQ(outcomes()[0].describe(), "DeviceDetected(6, , False, 0, 3)");
  EXPECT_EQ(device.output(), "AT+CGMI\r");
  EXPECT_EQ(device.inputWaiting(), 0u) << "both chunks were read and dropped";
  EXPECT_FALSE(device.isOpen());
}

TEST_F(DetectionDialogue, WithCtsOffASerialPortEndsAtOnceWithoutWriting) {
  listSerialPort(2);
  auto& device = phone(2, kS65, /*cts=*/false);
  c_->VBDetectDevice(2);
  ASSERT_EQ(outcomes().size(), 1u);
  EXPECT_EQ(outcomes()[0].describe(), "DeviceDetected(2, , False, 0, 2)");
  EXPECT_EQ(device.output(), "");
  EXPECT_FALSE(device.isOpen());
  EXPECT_EQ(c_->TimerIds(2), 0);
  EXPECT_EQ(now(), 0);
}

TEST_F(DetectionDialogue, AnInfraredPortPausesTwoSecondsAndSendsWhateverCtsShows) {
  listIrDaPort(4);
  phone(4, kS65, /*cts=*/false);
  c_->VBDetectDevice(4);
  ASSERT_EQ(writeTimes(4).size(), 1u);
  EXPECT_EQ(writeTimes(4)[0], 2000);
  EXPECT_NE(std::find(log_.begin(), log_.end(), u"sleep USB/IRDA SET"), log_.end());
  ASSERT_TRUE(pumpUntil([&] { return !outcomes().empty(); }));
  EXPECT_EQ(outcomes()[0].device(), dtSiemens_S65);
}

TEST_F(DetectionDialogue, APortOnlyTheSystemListsAlsoGetsThePause) {
  listUnknownPort(9);
  phone(9, kS65, /*cts=*/false);
  c_->VBDetectDevice(9);
  ASSERT_EQ(writeTimes(9).size(), 1u);
  EXPECT_EQ(writeTimes(9)[0], 2000);
}

TEST_F(DetectionDialogue, APortThatDoesNotOpenCouldNotOpen) {
  listSerialPort(8);
  serial_.port(8).setPresent(false);
  c_->VBDetectDevice(8);
  ASSERT_EQ(outcomes().size(), 1u);
  EXPECT_EQ(outcomes()[0].describe(), "DeviceDetected(8, , False, 0, 1)");
  EXPECT_NE(std::find(log_.begin(), log_.end(),
                      u"Error in function VBDetectDevice.\r\n\t-> VBOpenComPort on COM 8 returned FALSE\r\n\t-> "
                      u"LastDLLError: 2"),
            log_.end())
      << ::testing::PrintToString(log_);
}

TEST_F(DetectionDialogue, AFailedFirstWriteCouldNotSend) {
  listSerialPort(3);
  auto& device = phone(3, kS65);
  device.failAlways(SerialOp::Write, platform::ERROR_GEN_FAILURE);
  c_->VBDetectDevice(3);
  ASSERT_EQ(outcomes().size(), 1u);
  EXPECT_EQ(outcomes()[0].error(), dde_CouldNotsendOutput);
  EXPECT_FALSE(device.isOpen());
  EXPECT_EQ(c_->TimerIds(3), 0);
}

TEST_F(DetectionDialogue, AReadFailureStallsThePortWithTheErrorLineAndNoOutcome) {
  listSerialPort(3);
  auto& device = phone(3, {});  // silent
  c_->VBDetectDevice(3);
  device.failNext(SerialOp::ClearError, platform::ERROR_GEN_FAILURE);
  ASSERT_TRUE(pumpUntil([&] { return !eventsOf(2).empty(); }));
  EXPECT_EQ(eventsOf(2)[0].text(),
            u"Error (31): VBCommRead (ClearCommError) - A device attached to the system is not functioning.\r\n");
  EXPECT_EQ(c_->TimerIds(3), 0);
  EXPECT_EQ(c_->MessageMode, VariantBool::False);
  pumpFor(20000);
  EXPECT_TRUE(outcomes().empty());
  EXPECT_TRUE(device.isOpen()) << "stalled: open and reserved until someone closes it";
  EXPECT_EQ(c_->VBCommOpen(3, u"COM3", u"baud=57600"), -1);
}

// The second command goes out from inside a tick of the same port, and the write yields: a
// tick of that port running during those yields already judges the model answer. The send then
// arms a new timer for the closed port, whose tick ends with the failed read.
TEST_F(DetectionDialogue, AnAnswerJudgedDuringTheSecondSendLeavesATimerThatReportsTheClosedPort) {
  listSerialPort(3);
  auto script = kS65;
  script.firstDelayMs = 0;
  phone(3, script);
  c_->VBDetectDevice(3);
  ASSERT_TRUE(pumpUntil([&] { return !eventsOf(2).empty(); }));
  ASSERT_EQ(outcomes().size(), 1u);
  EXPECT_EQ(outcomes()[0].device(), dtSiemens_S65);
  EXPECT_EQ(eventsOf(2)[0].text().rfind(u"Error (6): VBCommRead (ClearCommError) - ", 0), 0u);
  EXPECT_EQ(c_->TimerIds(3), 0);
  EXPECT_EQ(std::count(log_.begin(), log_.end(), u"Started Timer for Port3"), 2);
}

TEST_F(DetectionDialogue, ChunksOfOtherStepsAreDropped) {
  c_->DialogueStep(3) = 2;
  c_->VBDeviceDetected(3, u"\r\nSIEMENS\r\nOK\r\n");
  c_->DialogueStep(3) = -1;
  c_->VBDeviceDetected(3, u"\r\nS65\r\nOK\r\n");
  EXPECT_TRUE(events_->events.empty());
}

}  // namespace
}  // namespace tov::testing
