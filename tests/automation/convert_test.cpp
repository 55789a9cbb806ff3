#include <gtest/gtest.h>

#include <tovport/automation/convert.h>
#include <tovport/automation/runtime_error.h>
#include "support/runtime_errors.h"

namespace tov::automation {
namespace {


TEST(ConvertTextToInteger, AcceptsBlanksSignsAndRoundsHalfToEven) {
  EXPECT_EQ(textToI2(u"  42 "), 42);
  EXPECT_EQ(textToI2(u"-7"), -7);
  EXPECT_EQ(textToI2(u"7-"), -7);
  EXPECT_EQ(textToI2(u"+12"), 12);
  EXPECT_EQ(textToI2(u"2.5"), 2);
  EXPECT_EQ(textToI2(u"3.5"), 4);
  EXPECT_EQ(textToI2(u"-2.5"), -2);
  EXPECT_EQ(textToI2(u"2.51"), 3);
  EXPECT_EQ(textToI2(u"0.4999"), 0);
  EXPECT_EQ(textToI4(u"1e3"), 1000);
  EXPECT_EQ(textToI4(u"2147483647"), 2147483647);
}

TEST(ConvertTextToInteger, HexAndOctalAreBitPatternsOfTheTarget) {
  EXPECT_EQ(textToI2(u"&HFFFF"), -1);
  EXPECT_EQ(textToI4(u"&HFFFF"), 65535);
  EXPECT_EQ(textToI4(u"&HFFFFFFFF"), -1);
  EXPECT_EQ(textToI2(u"&O17"), 15);
  EXPECT_EQ(testing::errorNumberOf([] { textToI2(u"&H10000"); }), kErrOverflow);
}

TEST(ConvertTextToInteger, NoDigitsOrJunkIsTypeMismatch) {
  for (const char16_t* bad : {u"", u"   ", u"COM", u"M4", u"12x", u"1 2", u"-", u"&H", u"&HG", u"1e"}) {
    EXPECT_EQ(testing::errorNumberOf([&] { textToI2(bad); }), kErrTypeMismatch) << toUtf8(bad);
  }
}

TEST(ConvertTextToInteger, OutOfRangeIsOverflow) {
  EXPECT_EQ(testing::errorNumberOf([] { textToI2(u"32768"); }), kErrOverflow);
  EXPECT_EQ(testing::errorNumberOf([] { textToI2(u"-32769"); }), kErrOverflow);
  EXPECT_EQ(textToI2(u"-32768"), -32768);
  EXPECT_EQ(testing::errorNumberOf([] { textToI4(u"2147483648"); }), kErrOverflow);
  EXPECT_EQ(testing::errorNumberOf([] { textToI4(u"99999999999999999999999"); }), kErrOverflow);
}

TEST(ConvertVariant, NumbersNarrowWithOverflowCheck) {
  EXPECT_EQ(toI2(Variant(std::int32_t{-5})), -5);
  EXPECT_EQ(testing::errorNumberOf([] { toI2(Variant(std::int32_t{40000})); }), kErrOverflow);
  EXPECT_EQ(toI2(Variant(2.5)), 2);
  EXPECT_EQ(toI2(Variant()), 0);
  EXPECT_EQ(toI2(Variant(VariantBool::True)), -1);
  EXPECT_EQ(toI4(Variant(u"  12 ")), 12);
}

TEST(ConvertVariant, BooleansAndText) {
  EXPECT_EQ(toBool(Variant(u"true")), VariantBool::True);
  EXPECT_EQ(toBool(Variant(u"False")), VariantBool::False);
  EXPECT_EQ(toBool(Variant(u"7")), VariantBool::True);
  EXPECT_EQ(toBool(Variant(std::int16_t{0})), VariantBool::False);
  EXPECT_EQ(testing::errorNumberOf([] { toBool(Variant(u"maybe")); }), kErrTypeMismatch);
  EXPECT_EQ(toText(Variant(VariantBool::True)), u"True");
  EXPECT_EQ(toText(Variant(std::int32_t{-42})), u"-42");
  EXPECT_EQ(toText(Variant(2.5)), u"2.5");
  EXPECT_EQ(toText(Variant(Date{46023.5})), u"2026-01-01 12:00:00");
}

TEST(ConvertVariant, ReferencesConvertWhatTheyPointAt) {
  std::int16_t port = 7;
  Variant ref = Variant::byRef(&port);
  EXPECT_EQ(ref.type(), VT_BYREF | VT_I2);
  EXPECT_EQ(toText(ref), u"7");
  ref.assign(Variant(u"12"));
  EXPECT_EQ(port, 12);
  EXPECT_EQ(testing::errorNumberOf([&] { ref.assign(Variant(u"x")); }), kErrTypeMismatch);
  EXPECT_EQ(port, 12);
}

TEST(RuntimeErrors, CarryTheirHresult) {
  EXPECT_EQ(RuntimeError(9).hresult(), static_cast<HRESULT>(0x800A0009u));
  EXPECT_EQ(RuntimeError(13).hresult(), static_cast<HRESULT>(0x800A000Du));
  EXPECT_EQ(RuntimeError(6).description(), "Overflow");
  EXPECT_EQ(RuntimeError(9).description(), "Subscript out of range");
}

TEST(TextCase, CaseBlindComparisonAndSearch) {
  EXPECT_TRUE(equalsNoCase(u"VBclsdetectDevice", u"VBCLSDETECTDEVICE"));
  EXPECT_FALSE(equalsNoCase(u"abc", u"abd"));
  EXPECT_EQ(findNoCase(u"\r\nSiemens\r\nOK", u"SIEMENS"), 2u);
  EXPECT_FALSE(containsNoCase(u"Nokia", u"siemens"));
  EXPECT_EQ(toUpper(u"Gerät"), u"GERÄT");
  EXPECT_EQ(toUtf8(fromUtf8("kein Gerät")), "kein Gerät");
}

}  // namespace
}  // namespace tov::automation
