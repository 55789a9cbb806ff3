// Judging maker and model answers, the model table and the display names.
#include <set>

#include "automation/runtime_error.h"
#include "detection/model_table.h"
#include "detection/simulated_phone_test.h"

namespace tov::testing {
namespace {

using automation::RuntimeError;

class ClassificationJudge : public SimulatedPhoneTest {
 protected:
  // The outcome of a model answer judged on port 3 while "AT+CGMM" is awaited.
  RecordedEvent judgeModel(const std::u16string& answer) {
    events_->events.clear();
    c_->DialogueStep(3) = 1;
    c_->VBDeviceDetected(3, answer);
    const auto found = outcomes();
    EXPECT_EQ(found.size(), 1u) << automation::toUtf8(answer);
    return found.empty() ? RecordedEvent{} : found[0];
  }
  std::string modelOf(const std::u16string& name) { return judgeModel(u"\r\n" + name + u"\r\n\r\nOK\r\n").describe(); }
};

TEST_F(ClassificationJudge, EveryRowIsReachedByItsOwnKey) {
  for (const auto& row : detection::kModelTable) {
    const RecordedEvent e = judgeModel(u"\r\n" + std::u16string(row.key) + u"\r\n\r\nOK\r\n");
    EXPECT_EQ(e.device(), row.device) << automation::toUtf8(row.key);
    EXPECT_EQ(e.apn(), row.doSiemensAPN) << automation::toUtf8(row.key);
    EXPECT_EQ(e.error(), dde_NoError);
    EXPECT_EQ(e.text(), c_->VBGetDeviceName(row.device));
  }
}

TEST_F(ClassificationJudge, TheTableCoversEveryModelButTwo) {
  std::set<DeviceType> reported;
  int withApn = 0;
  for (const auto& row : detection::kModelTable) {
    reported.insert(row.device);
    withApn += row.doSiemensAPN;
  }
  EXPECT_EQ(reported.size(), static_cast<std::size_t>(kModelCount - 2));
  EXPECT_EQ(reported.count(dtSiemens_S68F), 0u);
  EXPECT_EQ(reported.count(dtSiemens_C91), 0u);
  EXPECT_EQ(withApn, 65);
}

TEST_F(ClassificationJudge, LongerKeysWinOverTheKeysTheyContain) {
  EXPECT_EQ(modelOf(u"SL45i"), "DeviceDetected(3, BenQ-Siemens SL45i, False, 100, 0)");
  EXPECT_EQ(modelOf(u"SL45"), "DeviceDetected(3, BenQ-Siemens SL45, False, 101, 0)");
  EXPECT_EQ(modelOf(u"M75C"), "DeviceDetected(3, BenQ-Siemens M75C, True, 152, 0)");
  EXPECT_EQ(modelOf(u"M75"), "DeviceDetected(3, BenQ-Siemens M75, True, 151, 0)");
  EXPECT_EQ(modelOf(u"S68C"), "DeviceDetected(3, BenQ-Siemens S68C, True, 180, 0)");
  EXPECT_EQ(modelOf(u"S68"), "DeviceDetected(3, BenQ-Siemens S68, True, 179, 0)");
  EXPECT_EQ(modelOf(u"AX75"), "DeviceDetected(3, BenQ-Siemens AX75, False, 121, 0)");
}

TEST_F(ClassificationJudge, SomeKeysReportAnotherModel) {
  EXPECT_EQ(modelOf(u"S68F"), "DeviceDetected(3, BenQ-Siemens S75, True, 119, 0)");
  EXPECT_EQ(modelOf(u"SG75"), "DeviceDetected(3, BenQ-Siemens SXG75, False, 118, 0)");
  EXPECT_EQ(modelOf(u"SXG75"), "DeviceDetected(3, BenQ-Siemens SXG75, False, 118, 0)");
  EXPECT_EQ(modelOf(u"HERB1A"), "DeviceDetected(3, BenQ-Siemens E61, False, 192, 0)");
  EXPECT_EQ(modelOf(u"AX72"), "DeviceDetected(3, BenQ-Siemens CX65, False, 116, 0)");
  EXPECT_EQ(modelOf(u"CX65"), "DeviceDetected(3, BenQ-Siemens CX65, True, 116, 0)");
}

TEST_F(ClassificationJudge, KeysAreFoundInAnyCaseAnywhereInTheAnswer) {
  EXPECT_EQ(modelOf(u"s65"), "DeviceDetected(3, BenQ-Siemens S65, True, 154, 0)");
  EXPECT_EQ(judgeModel(u"AT+CGMM\r\r\nSiemens S65 rev 2\r\nOK").device(), dtSiemens_S65);
}

TEST_F(ClassificationJudge, AnAnswerWithoutKeyIsAnUnknownBenQSiemens) {
  EXPECT_EQ(modelOf(u"S99"), "DeviceDetected(3, unbekanntes BenQ-Siemens-Gerät, False, 3, 0)");
}

TEST_F(ClassificationJudge, ErrorWinsOverAKeyAndChunksWithoutOkAreNotClassified) {
  EXPECT_EQ(judgeModel(u"\r\nS65\r\nERROR\r\n").describe(), "DeviceDetected(3, , False, 0, 2)");
  events_->events.clear();
  c_->DialogueStep(3) = 1;
  c_->VBDeviceDetected(3, u"\r\nS65\r\n");
  EXPECT_TRUE(events_->events.empty());
}

TEST_F(ClassificationJudge, TheMakerMustBeSiemensOrBenQ) {
  for (const std::u16string answer : {u"\r\nSiemens AG\r\nOK\r\n", u"\r\nBenQ Mobile\r\nOK\r\n"}) {
    events_->events.clear();
    c_->DialogueStep(5) = 0;
    c_->VBDeviceDetected(5, answer);  // the port is not open, so the second command cannot go out
    ASSERT_EQ(outcomes().size(), 1u);
    EXPECT_EQ(c_->DialogueStep(5), 1) << "accepted: the model command was tried";
  }
  events_->events.clear();
  c_->DialogueStep(5) = 0;
  c_->VBDeviceDetected(5, u"\r\nMotorola\r\nOK\r\n");
  EXPECT_EQ(c_->DialogueStep(5), 0) << "refused without a second command";
  EXPECT_EQ(outcomes().at(0).describe(), "DeviceDetected(5, , False, 0, 2)");
}

class DeviceNames : public SimulatedPhoneTest {};

TEST_F(DeviceNames, FixedNamesAndModelNames) {
  EXPECT_EQ(c_->VBGetDeviceName(dtNone), u"kein Gerät");
  EXPECT_EQ(c_->VBGetDeviceName(dtNoSiemens), u"kein BenQ-Siemens-Gerät");
  EXPECT_EQ(c_->VBGetDeviceName(dtSiemens_Other), u"unbekanntes BenQ-Siemens-Gerät");
  EXPECT_EQ(c_->VBGetDeviceName(dtSiemens_SL45i), u"BenQ-Siemens SL45i");
  EXPECT_EQ(c_->VBGetDeviceName(dtSiemens_SK6RE), u"BenQ-Siemens SK6RE");
  EXPECT_EQ(c_->VBGetDeviceName(dtSiemens_S68F), u"BenQ-Siemens S68F");
  EXPECT_EQ(c_->VBGetDeviceName(dtSiemens_E61), u"BenQ-Siemens E61");
}

TEST_F(DeviceNames, EmptyWhereTheTableHasNoName) {
  for (std::int32_t value : {2, 4, 99, 187, 193, 500, -1})
    EXPECT_EQ(c_->VBGetDeviceName(static_cast<DeviceType>(value)), u"") << value;
}

TEST_F(DeviceNames, TheNumericResultOfGetDeviceNameIsATypeMismatch) {
  for (DeviceType dt : {dtNone, dtSiemens_S65, dtNotTested}) {
    try {
      c_->GetDeviceName(dt);
      ADD_FAILURE() << "no error for " << dt;
    } catch (const RuntimeError& e) {
      EXPECT_EQ(e.number(), automation::kErrTypeMismatch);
    }
  }
}

}  // namespace
}  // namespace tov::testing
