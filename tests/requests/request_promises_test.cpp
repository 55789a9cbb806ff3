// What a host relies on for every detection request, over a table of PCs: the request's own
// events, then one outcome per tested port, then one end mark, last, and nothing after it; and
// the same instance takes the next request.
#include <algorithm>
#include <map>

#include <tovport/automation/convert.h>
#include "discovery/port_table.h"
#include "requests/request_test.h"

namespace tov::testing {
namespace {

enum class Device { Phone, Silent, VanishesAfterCgmi };

struct PortSetup {
  std::int16_t port;
  ComPortType kind;
  Device device;
  DeviceDetectionError outcome;
  std::int64_t answerMs = 50;  // how long the phone takes to answer each command
};

struct Scenario {
  const char* name;
  std::vector<PortSetup> ports;
};

constexpr auto N = dde_NoError;
constexpr auto T = dde_Timeout;
constexpr auto F = dde_CouldNotsendOutput;

std::vector<PortSetup> pausedPhones(std::int16_t from, std::int16_t to) {
  std::vector<PortSetup> ports;
  for (std::int16_t p = from; p <= to; ++p) ports.push_back({p, cptIrDa, Device::Phone, N});
  return ports;
}

// Infrared ports pause 2 s before their first command, and the pause blocks the thread; a tick
// that finds data reads for a second. The rows with paused ports pin how many are found together.
const Scenario kScenarios[] = {
    {"SilentSerialAndPhone", {{1, cptSerial, Device::Silent, T}, {3, cptUSB, Device::Phone, N}}},
    {"FourPausedPhonesAndASilentSerialPort",
     {{1, cptSerial, Device::Silent, T},
      {2, cptIrDa, Device::Phone, N},
      {4, cptIrDa, Device::Phone, N},
      {9, cptIrDa, Device::Phone, N},
      {10, cptIrDa, Device::Phone, N}}},
    {"EveryTwoSecondPortPausedWithAPhone", pausedPhones(5, 32)},
    // COM10 sends "AT+CGMM" at 8 s (deadline 10 s); its phone answers at 9.5 s, but from 9 s to
    // 11 s the thread sleeps in the pause of COM12's start, so COM10's next tick comes after its
    // deadline, which a tick checks before it reads.
    {"APausedPhoneSlowerThanASecondMeetsTheNextPause",
     {{9, cptIrDa, Device::Phone, N},
      {10, cptIrDa, Device::Phone, T, 1500},
      {11, cptIrDa, Device::Phone, N},
      {12, cptIrDa, Device::Phone, N}}},
    {"APhoneLostAfterItsMakerAnswer", {{3, cptSerial, Device::VanishesAfterCgmi, F}}},
};

class RequestPromises : public RequestTest, public ::testing::WithParamInterface<Scenario> {
 protected:
  void plug(const PortSetup& setup) {
    if (setup.device == Device::Silent) {
      phone(setup.port, PhoneScript{});
      return;
    }
    auto script = kS65Phone;
    script.firstDelayMs = setup.answerMs;
    auto& port = phone(setup.port, script);
    if (setup.device == Device::VanishesAfterCgmi)
      port.setPeer([](platform::SimulatedPort& self, std::string_view written) {
        if (written == "AT+CGMI\r") self.deliver(kSiemensAnswer, 50);
        if (written == "AT+CGMM\r") self.unplug();
      });
  }
};

TEST_P(RequestPromises, OneOutcomePerTestedPortThenOneEndMarkThenNothing) {
  const Scenario& scenario = GetParam();
  discovery::PortTable() = PortTableOf<ComPortType>{};
  std::u16string list;
  for (const auto& setup : scenario.ports) {
    discovery::PortTable()(setup.port) = setup.kind;
    plug(setup);
    list += automation::numberText(std::int64_t{setup.port}) + u";";
  }
  list.pop_back();
  discovery::PortTableFilled() = true;

  BStr ports(list);
  ASSERT_EQ(c_->DetectDevicesFromList(ports), VariantBool::True);
  const std::size_t ownEvents = events_->events.size();
  EXPECT_EQ(ownEvents, MaxPorts - scenario.ports.size());
  ASSERT_TRUE(pumpUntil([this] { return endMarks() > 0; }, 120000)) << describeAll();
  const std::size_t endMarkAt = events_->events.size();

  // Whatever a device does afterwards, the request is over: no timer is left to notice it.
  for (const auto& setup : scenario.ports) serial_.port(setup.port).failAlways(platform::SerialOp::ClearError, 31);
  pumpFor(10000);
  EXPECT_EQ(events_->events.size(), endMarkAt) << describeAll();
  EXPECT_EQ(endMarks(), 1u) << describeAll();

  std::map<std::int16_t, std::vector<DeviceDetectionError>> byPort;
  for (std::size_t i = ownEvents; i + 1 < endMarkAt; ++i) {
    const auto& e = events_->events[i];
    if (e.id == 3) byPort[e.port()].push_back(e.error());
  }
  for (const auto& setup : scenario.ports)
    EXPECT_EQ(byPort[setup.port], std::vector<DeviceDetectionError>{setup.outcome})
        << "COM" << setup.port << "\n" << describeAll();
  EXPECT_EQ(byPort.size(), scenario.ports.size()) << describeAll();
  for (const auto& setup : scenario.ports) EXPECT_FALSE(serial_.port(setup.port).isOpen()) << setup.port;

  EXPECT_EQ(c_->IsPending(), VariantBool::False);
  for (const auto& setup : scenario.ports) serial_.port(setup.port).clearFailures();
  EXPECT_EQ(c_->DetectDevice(scenario.ports.front().port), VariantBool::True) << "the next request is taken";
}

// The outcome's handler runs while its port is still pending; the end mark's after the last flag
// was cleared.
TEST_F(RequestTest, AHandlerAskingInsideAnOutcomeSeesThePortStillPending) {
  setKinds({{1, cptSerial}, {3, cptUSB}});
  phone(1, PhoneScript{});
  phone(3, kS65Phone);
  std::vector<VariantBool> pendingInside;
  events_->handler = [&](automation::DISPID, std::vector<Variant>& args) {
    if (automation::toI4(args[4]) != dde_CouldNotOpenPort) pendingInside.push_back(c_->IsPending());
  };
  BStr ports = u"1;3";
  c_->DetectDevicesFromList(ports);
  ASSERT_TRUE(pumpUntilEndMark());
  EXPECT_EQ(pendingInside, (std::vector<VariantBool>{VariantBool::True, VariantBool::True, VariantBool::False}));
}

INSTANTIATE_TEST_SUITE_P(Pcs, RequestPromises, ::testing::ValuesIn(kScenarios),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace tov::testing
