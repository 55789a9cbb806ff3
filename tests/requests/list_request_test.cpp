// DetectDevicesFromList: the ports of a ";"-separated list, from the current port table.
#include "requests/request_test.h"

namespace tov::testing {
namespace {

class RequestDetectFromList : public RequestTest {
 protected:
  VariantBool detect(const char16_t* list) {
    BStr text = list;
    const VariantBool accepted = c_->DetectDevicesFromList(text);
    EXPECT_EQ(text, list) << "the list is not changed";
    return accepted;
  }
};

TEST_F(RequestDetectFromList, APortNamedTwiceIsTestedOnce) {
  setKinds({{3, cptSerial}});
  phone(3, kS65Phone);
  EXPECT_EQ(detect(u"3;3"), VariantBool::True);
  EXPECT_EQ(untestedPorts(), allBut({3}));
  ASSERT_TRUE(pumpUntilEndMark());
  pumpFor();
  EXPECT_EQ(events_->events.size(), 33u) << describeAll();
  EXPECT_EQ(events_->events[31].describe(), "DeviceDetected(3, BenQ-Siemens S65, True, 154, 0)");
  EXPECT_EQ(serial_.port(3).openCount(), 1);
}

TEST_F(RequestDetectFromList, ListsWithoutATestedPortTestNothingButStillTakeANewController) {
  setKinds({{1, cptSerial}, {3, cptSerial}});
  for (const char16_t* list : {u"", u"0;33;-1"}) {
    events_->events.clear();
    const auto before = c_->Worker;
    EXPECT_EQ(detect(list), VariantBool::True);
    EXPECT_EQ(untestedPorts(), allBut({}));
    ASSERT_EQ(events_->events.size(), 33u);
    EXPECT_EQ(events_->events[32].describe(), "DeviceDetected(1, , False, 0, 4)");
    EXPECT_NE(c_->Worker, before);
    EXPECT_EQ(c_->IsPending(), VariantBool::False);
  }
}

TEST_F(RequestDetectFromList, KindsItSkipsAndKindsItTests) {
  // Unknown and missing ports are skipped; incoming and dial-up Bluetooth ports are tested here.
  setKinds({{2, cptUnknown}, {5, cptBTSerialIn}, {6, cptBTDialUp}, {9, cptUSB}});
  for (int p : {5, 6, 9}) device(p);
  EXPECT_EQ(detect(u"1;2;5; 6 ;9"), VariantBool::True);
  EXPECT_EQ(untestedPorts(), allBut({5, 6, 9}));
  for (std::int16_t p : {5, 6, 9}) EXPECT_TRUE(workerExists(p)) << p;
  ASSERT_TRUE(pumpUntilEndMark());
  EXPECT_EQ(endMarks(), 1u);
}

TEST_F(RequestDetectFromList, AnEmptyEntryFailsAtTheFirstTestedPortLeavingItsFlagSet) {
  setKinds({{1, cptSerial}, {3, cptSerial}});
  device(1);
  EXPECT_EQ(errorNumberOf([&] { detect(u"1;;3"); }), automation::kErrTypeMismatch);
  EXPECT_TRUE(events_->events.empty());
  EXPECT_EQ(c_->Pending(1), VariantBool::True);
  EXPECT_EQ(c_->Pending(3), VariantBool::False);
  EXPECT_FALSE(workerExists(1));
  pumpFor();
  EXPECT_EQ(serial_.port(1).openCount(), 0) << "no worker was started";
  // The flag left set refuses every later request.
  EXPECT_EQ(detect(u"3"), VariantBool::False);
  ASSERT_EQ(events_->events.size(), 1u);
  EXPECT_EQ(events_->events[0].describe(), "DeviceDetected(1, , False, 2, 5)");
  c_->Pending(1) = VariantBool::False;
}

TEST_F(RequestDetectFromList, ConversionFailuresComeOnlyWithATestedPort) {
  setKinds({});
  EXPECT_EQ(detect(u"COM3;"), VariantBool::True) << "no port of a tested kind, nothing converted";
  events_->events.clear();
  setKinds({{7, cptSerial}});
  EXPECT_EQ(errorNumberOf([&] { detect(u"COM3"); }), automation::kErrTypeMismatch);
  EXPECT_EQ(errorNumberOf([&] { detect(u"40000"); }), automation::kErrOverflow);
  EXPECT_TRUE(events_->events.empty());
  EXPECT_EQ(c_->IsPending(), VariantBool::False);
}

}  // namespace
}  // namespace tov::testing
