// Judging the model answer against the model table, and the display names.
#include "detection/model_table.h"
#include "detection/simulated_phone_test.h"
#include "support/runtime_errors.h"

namespace tov::testing {
namespace {

class ClassificationJudge : public SimulatedPhoneTest {
 protected:
  // The outcomes of one answer judged on port 3 while "AT+CGMM" is awaited, "" when none.
  std::string judgeModel(const std::u16string& answer) {
    events_->events.clear();
    c_->DialogueStep(3) = 1;
    c_->VBDeviceDetected(3, answer);
    std::string all;
    for (const auto& e : outcomes()) all += e.describe();
    return all;
  }
};

TEST_F(ClassificationJudge, EveryRowIsReachedByItsOwnKey) {
  for (const auto& row : detection::kModelTable)
    EXPECT_EQ(judgeModel(u"\r\n" + std::u16string(row.key) + u"\r\n\r\nOK\r\n"),
              "DeviceDetected(3, " + automation::toUtf8(c_->VBGetDeviceName(row.device)) + ", " +
                  (row.doSiemensAPN ? "True, " : "False, ") + std::to_string(row.device) + ", 0)");
}

TEST_F(ClassificationJudge, TrickyAnswers) {
  // Each row's own key is judged above; here prefixes, case, position and the end lines.
  // A bare key stands for the phone's answer "\r\n<key>\r\n\r\nOK\r\n".
  const std::pair<std::u16string, std::string> cases[] = {
      {u"AX72", "BenQ-Siemens CX65, False, 116, 0"},  // a prefix key: CX65's model, without its flag
      {u"s65", "BenQ-Siemens S65, True, 154, 0"},  // any case ...
      {u"AT+CGMM\r\r\nSiemens S65 rev 2\r\nOK", "BenQ-Siemens S65, True, 154, 0"},  // ... anywhere
      {u"S99", "unbekanntes BenQ-Siemens-Gerät, False, 3, 0"},
      {u"\r\nS65\r\nERROR\r\n", ", False, 0, 2"},  // ERROR wins over a key
      {u"\r\nS65\r\n", ""},                          // neither OK nor ERROR: not judged yet
  };
  for (const auto& [answer, expected] : cases) {
    const bool bare = answer.find(u'\r') == std::u16string::npos;
    EXPECT_EQ(judgeModel(bare ? u"\r\n" + answer + u"\r\n\r\nOK\r\n" : answer),
              expected.empty() ? "" : "DeviceDetected(3, " + expected + ")")
        << automation::toUtf8(answer);
  }
}

TEST_F(ClassificationJudge, ChunksOfOtherStepsAreDropped) {
  c_->DialogueStep(3) = 2;
  c_->VBDeviceDetected(3, u"\r\nSIEMENS\r\nOK\r\n");
  c_->DialogueStep(3) = -1;
  c_->VBDeviceDetected(3, u"\r\nS65\r\nOK\r\n");
  EXPECT_TRUE(events_->events.empty());
}

using DeviceNames = SimulatedPhoneTest;

TEST_F(DeviceNames, FixedNamesModelNamesAndEmptyGaps) {
  const std::pair<std::int32_t, std::u16string> cases[] = {
      {dtNone, u"kein Gerät"},
      {dtNoSiemens, u"kein BenQ-Siemens-Gerät"},
      {dtSiemens_Other, u"unbekanntes BenQ-Siemens-Gerät"},
      {dtSiemens_SL45i, u"BenQ-Siemens SL45i"},
      {dtSiemens_S68F, u"BenQ-Siemens S68F"},  // named, though no key reports it
      {dtSiemens_E61, u"BenQ-Siemens E61"},
      {2, u""}, {4, u""}, {99, u""}, {187, u""}, {193, u""}, {500, u""}, {-1, u""},
  };
  for (const auto& [value, name] : cases) EXPECT_EQ(c_->VBGetDeviceName(static_cast<DeviceType>(value)), name) << value;
  // GetDeviceName's numeric result does not convert to its text result.
  for (DeviceType dt : {dtNone, dtSiemens_S65})
    EXPECT_EQ(errorNumberOf([&] { c_->GetDeviceName(dt); }), automation::kErrTypeMismatch) << dt;
}

}  // namespace
}  // namespace tov::testing
