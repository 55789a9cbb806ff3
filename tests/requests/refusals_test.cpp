// Every request refuses a port outside the table and any request while a port is pending: one
// event, no worker, no flag set.
#include "requests/request_test.h"

namespace tov::testing {
namespace {

using RequestRefusals = RequestTest;

TEST_F(RequestRefusals, OneEventAndNothingElse) {
  BStr list = u"20";
  const struct {
    const char* name;
    std::int16_t pending;  // another port's flag set beforehand, 0 for none
    std::function<VariantBool()> request;
    std::string event;
  } cases[] = {
      {"DetectDevice(0)", 0, [&] { return c_->DetectDevice(0); }, "DeviceDetected(0, , False, 2, 5)"},
      {"DetectDevice(33)", 0, [&] { return c_->DetectDevice(33); }, "DeviceDetected(33, , False, 2, 5)"},
      {"DetectDevice(-1)", 0, [&] { return c_->DetectDevice(-1); }, "DeviceDetected(-1, , False, 2, 5)"},
      {"PortTest(0)", 0, [&] { return c_->PortTest(0); }, "PortAvailable(0, 3)"},
      {"PortTest(33)", 0, [&] { return c_->PortTest(33); }, "PortAvailable(33, 3)"},
      {"DetectDevice(3)", 32, [&] { return c_->DetectDevice(3); }, "DeviceDetected(3, , False, 2, 5)"},
      {"DetectAllDevices", 32, [&] { return c_->DetectAllDevices(); }, "DeviceDetected(1, , False, 2, 5)"},
      {"DetectDevicesFromList", 20, [&] { return c_->DetectDevicesFromList(list); },
       "DeviceDetected(1, , False, 2, 5)"},
      {"PortTest(5)", 1, [&] { return c_->PortTest(5); }, "PortAvailable(5, 3)"},
      {"TestAllPorts", 9, [&] { return c_->TestAllPorts(); }, "PortAvailable(1, 3)"},
  };
  setKinds({{3, cptSerial}, {5, cptSerial}, {20, cptSerial}});
  const auto controller = c_->Worker;
  for (const auto& c : cases) {
    events_->events.clear();
    log_.clear();
    if (c.pending) c_->Pending(c.pending) = VariantBool::True;
    EXPECT_EQ(c.request(), VariantBool::False) << c.name;
    ASSERT_EQ(events_->events.size(), 1u) << c.name;
    EXPECT_EQ(events_->events[0].describe(), c.event) << c.name;
    EXPECT_TRUE(log_.empty()) << c.name << ": no discovery ran";
    if (c.pending) c_->Pending(c.pending) = VariantBool::False;
    EXPECT_EQ(c_->IsPending(), VariantBool::False) << c.name;
  }
  EXPECT_EQ(c_->Worker, controller);
  pumpFor();
  EXPECT_EQ(events_->events.size(), 1u) << "no worker reports later";
}

}  // namespace
}  // namespace tov::testing
