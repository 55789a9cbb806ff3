// Conversions between automation values with the automation rules: texts convert to numbers
// with blanks around them, a sign, a fraction rounded half to even, and &H/&O bit patterns;
// "not a number" is run-time error 13, "does not fit" is error 6.
#pragma once

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

#include <tovport/automation/variant.h>

namespace tov::automation {

std::int16_t toI2(const Variant& v);
std::int32_t toI4(const Variant& v);
std::uint8_t toUI1(const Variant& v);
double toR8(const Variant& v);
VariantBool toBool(const Variant& v);
BStr toText(const Variant& v);
Date toDate(const Variant& v);
Ref<IDispatch> toDispatch(const Variant& v);  // error 13 unless an object (or Nothing)

std::int16_t textToI2(std::u16string_view text);
std::int32_t textToI4(std::u16string_view text);
double textToR8(std::u16string_view text);

// Decimal text of a number, as the runtime prints it ("-5", "2.5"); log texts append port numbers
// and codes with it.
BStr numberText(double v);
BStr numberText(std::int64_t v);
template <std::integral T>
BStr numberText(T v) {
  return numberText(static_cast<std::int64_t>(v));
}

// UTF-16 <-> UTF-8 for hosts and messages.
std::string toUtf8(std::u16string_view text);
std::u16string fromUtf8(std::string_view text);

// Case-blind comparison and search as the runtime does for member names and text tests (ASCII
// and Latin-1 letters fold).
bool equalsNoCase(std::u16string_view a, std::u16string_view b);
std::u16string::size_type findNoCase(std::u16string_view haystack, std::u16string_view needle);
inline bool containsNoCase(std::u16string_view haystack, std::u16string_view needle) {
  return findNoCase(haystack, needle) != std::u16string::npos;
}
std::u16string toUpper(std::u16string_view text);
std::u16string toLower(std::u16string_view text);

}  // namespace tov::automation
