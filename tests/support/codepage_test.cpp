#include <gtest/gtest.h>

#include "platform/codepage.h"

namespace tov::platform {
namespace {

TEST(Codepage, RoundTripsWindows1252) {
  const std::string ansi = "Ger\xE4t \x80 \x9F";
  const std::u16string text = ansiToUtf16(ansi);
  EXPECT_EQ(text, u"Ger\u00e4t \u20ac \u0178");
  EXPECT_EQ(utf16ToAnsi(text), ansi);
}

TEST(Codepage, UnmappableCharactersBecomeQuestionMarks) { EXPECT_EQ(utf16ToAnsi(u"a\u4e2db"), "a?b"); }

}  // namespace
}  // namespace tov::platform
