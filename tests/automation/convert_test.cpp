#include <tovport/automation/convert.h>

#include <gtest/gtest.h>

#include <tovport/automation/runtime_error.h>
#include "support/runtime_errors.h"

namespace tov::automation {
namespace {

using testing::errorNumberOf;

// The value a conversion gives, or the run-time error it raises as -(number).
std::int64_t valueOrError(const std::function<std::int64_t()>& convert) {
  std::int64_t value = 0;
  const int error = errorNumberOf([&] { value = convert(); });
  return error ? -error : value;
}

TEST(ConvertText, ToIntegersAsTheAutomationRulesSay) {
  constexpr std::int64_t mismatch = -kErrTypeMismatch, overflow = -kErrOverflow;
  const std::tuple<std::u16string_view, std::int64_t, std::int64_t> cases[] = {  // text, I2, I4
      {u"  42 ", 42, 42},      {u"7-", -7, -7},           {u"+12", 12, 12},
      {u"2.5", 2, 2},          {u"3.5", 4, 4},            {u"-2.5", -2, -2},
      {u"2.51", 3, 3},         {u"0.4999", 0, 0},         {u"1e3", 1000, 1000},
      {u"-32768", -32768, -32768}, {u"32768", overflow, 32768}, {u"2147483648", overflow, overflow},
      {u"&HFFFF", -1, 65535},  {u"&HFFFFFFFF", overflow, -1}, {u"&O17", 15, 15},
      {u"", mismatch, mismatch}, {u"COM", mismatch, mismatch}, {u"12x", mismatch, mismatch},
      {u"1 2", mismatch, mismatch}, {u"-", mismatch, mismatch}, {u"&HG", mismatch, mismatch},
      {u"1e", mismatch, mismatch},
  };
  for (const auto& [text, i2, i4] : cases) {
    EXPECT_EQ(valueOrError([&] { return textToI2(text); }), i2) << toUtf8(text);
    EXPECT_EQ(valueOrError([&] { return textToI4(text); }), i4) << toUtf8(text);
  }
}

TEST(ConvertVariant, NumbersBooleansAndReferences) {
  EXPECT_EQ(valueOrError([] { return toI2(Variant(std::int32_t{40000})); }), -kErrOverflow);
  EXPECT_EQ(toI2(Variant()), 0);
  EXPECT_EQ(toI2(Variant(VariantBool::True)), -1);
  EXPECT_EQ(toBool(Variant(u"true")), VariantBool::True);
  EXPECT_EQ(toBool(Variant(u"7")), VariantBool::True);
  EXPECT_EQ(errorNumberOf([] { toBool(Variant(u"maybe")); }), kErrTypeMismatch);
  std::int16_t port = 7;
  Variant ref = Variant::byRef(&port);
  ref.assign(Variant(u"12"));
  EXPECT_EQ(port, 12);
  EXPECT_EQ(errorNumberOf([&] { ref.assign(Variant(u"x")); }), kErrTypeMismatch);
  EXPECT_EQ(port, 12);
}

TEST(ConvertVariant, ToTextAsTheRuntimePrints) {
  const std::pair<Variant, std::u16string_view> cases[] = {
      {Variant(VariantBool::True), u"True"},
      {Variant(std::int32_t{-42}), u"-42"},
      {Variant(2.5), u"2.5"},
      {Variant(0.1), u"0.1"},             // the shortest text that reads back as the same number
      {Variant(1.0 / 3), u"0.3333333333333333"},
      {Variant(1e20), u"1E+20"},
      {Variant(-1.5e-7), u"-1.5E-07"},
      {Variant(Date{46023.5}), u"2026-01-01 12:00:00"},
      {Variant(Date{60.0 + 1.0 / 86400}), u"1900-02-28 00:00:01"},  // 1900 was no leap year
      {Variant(Date{61.0}), u"1900-03-01 00:00:00"},
      {Variant(Date{1.0 - 0.1 / 86400}), u"1899-12-31 00:00:00"},   // rounds into the next day
      {Variant(Date{-1.25}), u"1899-12-29 06:00:00"},  // the fraction is a time of that day
      {Variant(Date{2958465.0}), u"9999-12-31 00:00:00"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(toText(value), text) << toUtf8(text);
}

TEST(ConvertUtf8, EachInvalidSequenceBecomesOneReplacementAndLosesNothingAfterIt) {
  const std::pair<std::string_view, std::u16string_view> cases[] = {
      {"kein Ger\xC3\xA4t \xE2\x82\xAC \xF0\x9F\x93\xB1", u"kein Ger\u00e4t \u20ac \U0001F4F1"},
      {"ab\xC3" "Acd", u"ab\uFFFDAcd"},           // truncated: the A is kept
      {"\xE2\x82", u"\uFFFD"},                      // truncated at the end
      {"\xE2\x82" "A", u"\uFFFDA"},
      {"\x80\xBF", u"\uFFFD\uFFFD"},                // continuation bytes alone
      {"\xC0\xAF", u"\uFFFD\uFFFD"},                // overlong '/'
      {"\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},      // overlong, three bytes
      {"\xF0\x80\x80\xAF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},      // a surrogate
      {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // above U+10FFFF
      {"\xF5\xFF", u"\uFFFD\uFFFD"},
      {"\xEF\xBF\xBF\xF4\x8F\xBF\xBF", u"\uFFFF\U0010FFFF"},  // the highest of each length
  };
  for (const auto& [utf8, text] : cases) EXPECT_EQ(fromUtf8(utf8), text) << ::testing::PrintToString(utf8);
  EXPECT_EQ(toUtf8(u"\U0001F4F1 Ger\u00e4t"), "\xF0\x9F\x93\xB1 Ger\xC3\xA4t");
  EXPECT_EQ(toUtf8(u"a\xD800" "b\xDC00"), "a\xEF\xBF\xBD" "b\xEF\xBF\xBD");  // lone surrogates
}

TEST(TextCase, CaseBlindComparisonAndSearch) {
  EXPECT_TRUE(equalsNoCase(u"VBclsdetectDevice", u"VBCLSDETECTDEVICE"));
  EXPECT_FALSE(equalsNoCase(u"abc", u"abd"));
  EXPECT_EQ(findNoCase(u"\r\nSiemens\r\nOK", u"SIEMENS"), 2u);
  EXPECT_EQ(toUpper(u"Ger\u00e4t"), u"GER\u00c4T");
  EXPECT_EQ(toLower(u"GER\u00c4T"), u"ger\u00e4t");
}

}  // namespace
}  // namespace tov::automation
