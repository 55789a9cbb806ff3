// Opening a port for detection, the command set, sending one command, and the port test.
#include <algorithm>

#include "detection/simulated_phone_test.h"
#include "discovery/port_table.h"

namespace tov::testing {
namespace {

using platform::SerialOp;

class DetectionLink : public SimulatedPhoneTest {};

bool sendsXonXoff(const platform::DCB& dcb) { return (dcb.fBitFields >> 8) & 1; }  // fOutX

TEST_F(DetectionLink, OpeningRaisesRtsAndDtrAt57600Baud) {
  listSerialPort(3);
  auto& port = device(3);
  std::int16_t nr = 3;
  EXPECT_EQ(c_->VBOpenPort(nr), VariantBool::True);
  EXPECT_EQ(port.escapes(), (std::vector<platform::DWORD>{3, 5}));  // SETRTS, SETDTR
  EXPECT_EQ(port.state().BaudRate, 57600u);
  EXPECT_FALSE(sendsXonXoff(port.state()));
  EXPECT_EQ(c_->VBClosePort(3), VariantBool::True);
  EXPECT_FALSE(port.isOpen());
}

TEST_F(DetectionLink, AUsbPassivePortUsesXonXoffAndKeepsItsLines) {
  discovery::PortTable()(6) = cptUSBPassive;
  discovery::PortTableFilled() = true;
  auto& port = device(6);
  std::int16_t nr = 6;
  EXPECT_EQ(c_->VBOpenPort(nr), VariantBool::True);
  EXPECT_TRUE(port.escapes().empty());
  EXPECT_TRUE(sendsXonXoff(port.state()));
}

TEST_F(DetectionLink, AFailedOpenIsLoggedWithTheErrorLine) {
  listSerialPort(3);
  serial_.port(3).setBusy(true);
  std::int16_t nr = 3;
  EXPECT_EQ(c_->VBOpenPort(nr), VariantBool::False);
  EXPECT_EQ(log_.back(),
            u"Error in function VBOpenComPort on COM 3\r\n\t-> CreateFile returned Error\r\n\t-> LastDLLError: "
            u"Error (5): VBCommOpen (CreateFile) - Access is denied.\r\n");
}

TEST_F(DetectionLink, TheCommandSetIsSharedAndEndsInCarriageReturns) {
  c_->DialogueStep(3) = 1;
  c_->VBFillOutputStrings(3);
  EXPECT_EQ(c_->OutputStrings(0), u"AT+CGMI\r");
  EXPECT_EQ(c_->OutputStrings(1), u"AT+CGMM\r");
  EXPECT_EQ(c_->OutputStrings(2), u"AT\r");
  EXPECT_EQ(c_->OutputStrings(3), u"");
  EXPECT_EQ(c_->DialogueStep(3), -1);
  c_->VBFillOutputStrings(9, u"ATI", u"AT+CGSN", u"ATZ");
  EXPECT_EQ(c_->OutputStrings(0), u"ATI\r");
  EXPECT_THROW(c_->VBFillOutputStrings(33), automation::RuntimeError);
}

TEST_F(DetectionLink, CommandTimeoutsDependOnThePortAndTheExchange) {
  for (std::int16_t port : {4, 5}) {
    listSerialPort(port);
    device(port);
    ASSERT_EQ(c_->VBOpenPort(port), VariantBool::True);
  }
  BStr command = u"AT\r";
  EXPECT_EQ(c_->VBSendCommand(4, command), VariantBool::True);
  EXPECT_EQ(c_->VBSendCommand(5, command), VariantBool::True);
  EXPECT_EQ(c_->VBGetTimeoutSeconds(4), 4);
  EXPECT_EQ(c_->VBGetTimeoutSeconds(5), 2);
  EXPECT_NE(c_->TimerIds(5), 0);
  c_->MessageMode = VariantBool::True;
  EXPECT_EQ(c_->VBSendCommand(5, command), VariantBool::True);
  EXPECT_EQ(c_->VBGetTimeoutSeconds(5), 6);
  c_->MessageMode = VariantBool::False;
}

TEST_F(DetectionLink, AShortWriteArmsNoTimerAndIsLogged) {
  listSerialPort(5);
  device(5).failNext(SerialOp::Write, platform::ERROR_GEN_FAILURE);
  std::int16_t nr = 5;
  ASSERT_EQ(c_->VBOpenPort(nr), VariantBool::True);
  BStr command = u"AT\r";
  EXPECT_EQ(c_->VBSendCommand(5, command), VariantBool::False);
  EXPECT_EQ(c_->TimerIds(5), 0);
  EXPECT_EQ(log_.back(),
            u"Error in function VBSendCommand on PortNr.: 5, Command: AT\r\r\n\t-> LastDLLError: Error (31): "
            u"VBCommWrite (WriteFile) - A device attached to the system is not functioning.\r\n  COMM Error Flags = 0 "
            u"LngStatus: -1 LngSize: 3");
}

class DetectionPortTest : public SimulatedPhoneTest {};

TEST_F(DetectionPortTest, AFreePortIsAvailableAndLeftClosed) {
  listSerialPort(4);
  auto& port = device(4);
  c_->Pending(4) = VariantBool::True;
  EXPECT_EQ(c_->VBPortTest(4), VariantBool::False);
  ASSERT_EQ(events_->events.size(), 2u);
  EXPECT_EQ(events_->events[0].describe(), "PortAvailable(4, 0)");
  EXPECT_EQ(events_->events[1].describe(), "PortAvailable(4, 2)");
  EXPECT_EQ(port.openCount(), 1);
  EXPECT_FALSE(port.isOpen());
  EXPECT_EQ(log_.front(), u"VBPortTest called for Port4");
}

TEST_F(DetectionPortTest, AMissingPortIsNotAvailable) {
  listSerialPort(4);
  serial_.port(4).setPresent(false);
  EXPECT_EQ(c_->VBPortTest(4), VariantBool::False);
  EXPECT_EQ(events_->events.at(0).describe(), "PortAvailable(4, 1)");
}

TEST_F(DetectionPortTest, FailingStepsAreSkipped) {
  listSerialPort(4);
  device(4);
  c_->Worker.reset();  // asking for the worker fails once the events are out
  EXPECT_EQ(c_->VBPortTest(4), VariantBool::False);
  EXPECT_EQ(events_->events.at(0).describe(), "PortAvailable(4, 0)");
  EXPECT_EQ(c_->VBPortTest(40), VariantBool::False);
  EXPECT_EQ(events_->events.back().describe(), "PortAvailable(40, 1)");
}

}  // namespace
}  // namespace tov::testing
