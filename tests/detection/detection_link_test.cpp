// Opening a port for detection, the command set, and the port test.
#include "detection/simulated_phone_test.h"
#include "discovery/port_table.h"
#include "support/runtime_errors.h"

namespace tov::testing {
namespace {

using DetectionLink = SimulatedPhoneTest;

bool sendsXonXoff(const platform::DCB& dcb) { return (dcb.fBitFields >> 8) & 1; }  // fOutX

TEST_F(DetectionLink, OpeningSetsTheLinesAndFlowControlByKind) {
  listSerialPort(3);
  auto& serial = device(3);
  std::int16_t nr = 3;
  EXPECT_EQ(c_->VBOpenPort(nr), VariantBool::True);
  EXPECT_EQ(serial.escapes(), (std::vector<platform::DWORD>{3, 5}));  // SETRTS, SETDTR
  EXPECT_EQ(serial.state().BaudRate, 57600u);
  EXPECT_FALSE(sendsXonXoff(serial.state()));
  EXPECT_EQ(c_->VBClosePort(3), VariantBool::True);
  EXPECT_FALSE(serial.isOpen());

  discovery::PortTable()(6) = cptUSBPassive;  // keeps its lines, flows by XON/XOFF
  discovery::PortTableFilled() = true;
  auto& usb = device(6);
  nr = 6;
  EXPECT_EQ(c_->VBOpenPort(nr), VariantBool::True);
  EXPECT_TRUE(usb.escapes().empty());
  EXPECT_TRUE(sendsXonXoff(usb.state()));

  serial_.port(3).setBusy(true);
  nr = 3;
  EXPECT_EQ(c_->VBOpenPort(nr), VariantBool::False);
}

TEST_F(DetectionLink, HostCommandsEndInCarriageReturnsAndTheTableEndsAt32) {
  c_->VBFillOutputStrings(9, u"ATI", u"AT+CGSN", u"ATZ");
  EXPECT_EQ(c_->OutputStrings(0), u"ATI\r");
  EXPECT_EQ(c_->OutputStrings(2), u"ATZ\r");
  EXPECT_EQ(errorNumberOf([&] { c_->VBFillOutputStrings(33); }), automation::kErrSubscript);
}

using DetectionPortTest = SimulatedPhoneTest;

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
