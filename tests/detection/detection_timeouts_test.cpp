// When a silent port gives up: the deadline is whole seconds on the local clock, noticed by the
// next tick of the port's timer.
#include "detection/simulated_phone_test.h"

namespace tov::testing {
namespace {

using DetectionTimeouts = SimulatedPhoneTest;

TEST_F(DetectionTimeouts, FromTheLastCommandToTheTimeoutOutcome) {
  struct Case {
    std::int16_t port;
    std::int64_t startMs;  // manual time of the first write; the clock starts on a whole second
    PhoneScript script;
    std::int64_t minMs, maxMs;  // exclusive, inclusive; one tick period past the deadline at most
  };
  const Case cases[] = {
      {3, 0, {}, 4000, 5000 + 200},
      {3, 900, {}, 4000, 4100 + 200},  // written late in a second: gives up sooner
      {7, 300, {}, 2000, 3000 + 100},
      {5, 0, {{{"AT+CGMI\r", {kSiemensAnswer}}}}, 2000, 3000 + 100},  // the model command's own deadline
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("port " + std::to_string(c.port) + " at " + std::to_string(c.startMs));
    events_->events.clear();
    eventTimes_.clear();
    listSerialPort(c.port);
    phone(c.port, c.script);
    clock_.advance((1000 - now() % 1000) % 1000 + c.startMs);
    const std::size_t writesBefore = writeTimes(c.port).size();
    c_->VBDetectDevice(c.port);
    ASSERT_TRUE(pumpUntil([&] { return !outcomes().empty(); }));
    EXPECT_EQ(outcomes()[0].describe(), "DeviceDetected(" + std::to_string(c.port) + ", , False, 0, 3)");
    EXPECT_FALSE(serial_.port(c.port).isOpen());
    EXPECT_EQ(c_->TimerIds(c.port), 0);
    ASSERT_GT(writeTimes(c.port).size(), writesBefore);
    const std::int64_t waited = eventTimes_.at(0) - writeTimes(c.port).back();
    EXPECT_GT(waited, c.minMs);
    EXPECT_LE(waited, c.maxMs);
  }
  EXPECT_EQ(c_->VBGetTimeoutSeconds(3), 4);
  EXPECT_EQ(c_->VBGetTimeoutSeconds(7), 2);
}

}  // namespace
}  // namespace tov::testing
