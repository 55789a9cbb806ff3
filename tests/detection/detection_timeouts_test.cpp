// When a silent port gives up: the deadline is whole seconds on the local clock, noticed by the
// next tick of the port's timer.
#include "detection/simulated_phone_test.h"

namespace tov::testing {
namespace {

class DetectionTimeouts : public SimulatedPhoneTest {
 protected:
  // Manual ms from the write of "AT+CGMI" to the port's timeout outcome.
  std::int64_t silentDetection(std::int16_t port, std::int64_t startMs) {
    listSerialPort(port);
    phone(port, {});
    clock_.advance(startMs);
    c_->VBDetectDevice(port);
    EXPECT_TRUE(pumpUntil([&] { return !outcomes().empty(); }));
    EXPECT_EQ(outcomes().at(0).describe(), "DeviceDetected(" + std::to_string(port) + ", , False, 0, 3)");
    EXPECT_FALSE(serial_.port(port).isOpen());
    EXPECT_EQ(c_->TimerIds(port), 0);
    return eventTimes_.at(0) - writeTimes(port).at(0);
  }
};

TEST_F(DetectionTimeouts, Port3GivesUpBetweenFourAndFiveSecondsPlusAPoll) {
  const std::int64_t early = silentDetection(3, 0);      // written at the start of a second
  EXPECT_GT(early, 4000);
  EXPECT_LE(early, 5000 + 200);
  EXPECT_EQ(c_->VBGetTimeoutSeconds(3), 4);
}

TEST_F(DetectionTimeouts, Port3WrittenLateInASecondGivesUpSooner) {
  const std::int64_t late = silentDetection(3, 900);
  EXPECT_GT(late, 4000);
  EXPECT_LE(late, 4100 + 200);
}

TEST_F(DetectionTimeouts, Port7GivesUpBetweenTwoAndThreeSecondsPlusAPoll) {
  const std::int64_t elapsed = silentDetection(7, 300);
  EXPECT_GT(elapsed, 2000);
  EXPECT_LE(elapsed, 3000 + 100);
  EXPECT_EQ(c_->VBGetTimeoutSeconds(7), 2);
}

TEST_F(DetectionTimeouts, TwoPortsKeepTheirOwnDeadlines) {
  listSerialPort(3);
  listSerialPort(7);
  phone(3, {});
  phone(7, {});
  c_->Pending(3) = c_->Pending(7) = VariantBool::True;  // no end mark between the two outcomes
  c_->VBDetectDevice(3);
  c_->VBDetectDevice(7);
  ASSERT_TRUE(pumpUntil([&] { return outcomes().size() == 2; }));
  EXPECT_EQ(outcomes()[0].port(), 7);
  EXPECT_EQ(outcomes()[1].port(), 3);
  EXPECT_LE(eventTimes_[0], 3100);
  EXPECT_GT(eventTimes_[1], 4000);
}

TEST_F(DetectionTimeouts, TheModelCommandGetsAFreshDeadline) {
  listSerialPort(5);
  phone(5, {{{"AT+CGMI\r", {kSiemensAnswer}}}});
  c_->VBDetectDevice(5);
  ASSERT_TRUE(pumpUntil([&] { return !outcomes().empty(); }));
  ASSERT_EQ(writeTimes(5).size(), 2u);
  EXPECT_EQ(outcomes()[0].error(), dde_Timeout);
  EXPECT_GT(eventTimes_[0] - writeTimes(5)[1], 2000);
  EXPECT_EQ(c_->DialogueStep(5), 1);
}

}  // namespace
}  // namespace tov::testing
