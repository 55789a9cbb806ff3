// The host's free-form exchange (SendMessage) and how it takes over the answers of every port.
#include "detection/simulated_phone_test.h"

namespace tov::testing {
namespace {

class DetectionMessages : public SimulatedPhoneTest {
 protected:
  bool send(std::int16_t port, std::u16string text, bool portOpen) {
    BStr message = std::move(text);
    VariantBool open = automation::vb(portOpen);
    return isTrue(c_->SendMessage(port, message, open));
  }
  bool open(std::int16_t port) { return isTrue(c_->VBOpenPort(port)); }
};

TEST_F(DetectionMessages, TheFirstChunkIsTheAnswerAndThePortStaysOpen) {
  listSerialPort(5);
  auto& device = phone(5, {{{"ATI\r", {"\r\nSIEMENS\r\n"}}}});
  ASSERT_TRUE(open(5));
  EXPECT_TRUE(send(5, u"ATI\r", true));
  EXPECT_EQ(c_->MessageMode, VariantBool::True);
  EXPECT_EQ(c_->VBGetTimeoutSeconds(5), 6);
  ASSERT_TRUE(pumpUntil([&] { return !events_->events.empty(); }));
  EXPECT_EQ(events_->events[0].describe(), "MsgReceived(\r\nSIEMENS\r\n)");
  EXPECT_EQ(device.output(), "ATI\r") << "sent unchanged";
  EXPECT_TRUE(device.isOpen());
  EXPECT_EQ(c_->MessageMode, VariantBool::False);
  EXPECT_EQ(c_->TimerIds(5), 0);
}

TEST_F(DetectionMessages, NoAnswerInSixSecondsIsATimeoutAndClosesThePort) {
  listSerialPort(5);
  auto& device = phone(5, {});
  ASSERT_TRUE(open(5));
  ASSERT_TRUE(send(5, u"AT+CGSN\r", true));
  ASSERT_TRUE(pumpUntil([&] { return !events_->events.empty(); }));
  EXPECT_EQ(events_->events[0].describe(), "MsgTimeout()");
  EXPECT_GT(eventTimes_[0], 6000);
  EXPECT_LE(eventTimes_[0], 7300);
  EXPECT_FALSE(device.isOpen());
  EXPECT_EQ(c_->MessageMode, VariantBool::False);
}

TEST_F(DetectionMessages, WithoutCtsOrOnAClosedPortItTimesOutAtOnce) {
  listSerialPort(2);  // a serial port gets no pause: without CTS nothing is sent
  auto& ctsOff = phone(2, {}, /*cts=*/false);
  ASSERT_TRUE(open(2));
  listSerialPort(4);
  device(4);  // the host claims the port is open, but it is not
  for (auto [port, portOpen] : {std::pair<std::int16_t, bool>{2, false}, {4, true}}) {
    events_->events.clear();
    EXPECT_FALSE(send(port, u"ATI\r", portOpen));
    ASSERT_EQ(events_->events.size(), 1u) << port;
    EXPECT_EQ(events_->events[0].describe(), "MsgTimeout()");
    EXPECT_EQ(c_->MessageMode, VariantBool::False);
    EXPECT_EQ(c_->TimerIds(port), 0);
  }
  EXPECT_EQ(ctsOff.output(), "");
  EXPECT_FALSE(ctsOff.isOpen());
}

TEST_F(DetectionMessages, AnExchangeOnPort1TakesADetectionAnswerOfPort2) {
  listSerialPort(1);
  listSerialPort(2);
  phone(1, {});
  phone(2, {{{"AT+CGMI\r", {kSiemensAnswer}}}});
  ASSERT_TRUE(open(1));
  ASSERT_TRUE(send(1, u"ATI\r", true));
  c_->VBDetectDevice(2);
  ASSERT_TRUE(pumpUntil([&] { return !eventsOf(2).empty(); }));
  EXPECT_EQ(automation::toUtf8(eventsOf(2)[0].text()), kSiemensAnswer);
  EXPECT_EQ(c_->TimerIds(2), 0);
  EXPECT_TRUE(serial_.port(2).isOpen());
  pumpFor(10000);
  for (const auto& e : outcomes()) EXPECT_NE(e.port(), 2) << e.describe();
}

}  // namespace
}  // namespace tov::testing
