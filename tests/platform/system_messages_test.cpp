#include <gtest/gtest.h>

#include <algorithm>

#include "platform/last_error.h"
#include "platform/serial.h"

namespace tov::platform {
namespace {

constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;

TEST(SystemMessages, KnownCodesHaveTheirEnglishTextEndingInCrLf) {
  EXPECT_EQ(systemMessage(2), "The system cannot find the file specified.\r\n");
  EXPECT_EQ(systemMessage(87), "The parameter is incorrect.\r\n");
  EXPECT_EQ(systemMessage(1167), "The device is not connected.\r\n");
  for (const DWORD code : {0u, 1u, 3u, 5u, 6u, 21u, 31u, 32u, 50u, 121u, 170u, 995u, 996u, 997u, 1117u}) {
    const std::string text = systemMessage(code);
    ASSERT_GT(text.size(), 3u) << code;
    EXPECT_EQ(text.substr(text.size() - 3), ".\r\n") << code;
  }
}

TEST(SystemMessages, UnknownCodeHasNoText) {
  EXPECT_EQ(systemMessage(4), "");
  EXPECT_EQ(systemMessage(0xFFFFFFFFu), "");
  char buffer[256] = "untouched";
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, 4, 0, buffer, 255, nullptr), 0u);
  EXPECT_EQ(GetLastError(), 317u);
}

TEST(SystemMessages, FormatMessageStoresTheTextWithItsTerminator) {
  char buffer[256];
  std::fill(std::begin(buffer), std::end(buffer), 'x');
  const DWORD length = FormatMessageA(kFlags, nullptr, 5, 0, buffer, 255, nullptr);
  EXPECT_EQ(length, 19u);
  EXPECT_STREQ(buffer, "Access is denied.\r\n");
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, 5, 0x0409, buffer, 255, nullptr), 19u);
}

TEST(SystemMessages, FormatMessageRefusesWhatItCannotDo) {
  char buffer[8];
  SetLastError(0);
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, 5, 0, buffer, sizeof buffer, nullptr), 0u);  // needs 20
  EXPECT_EQ(GetLastError(), 122u);
  EXPECT_EQ(FormatMessageA(FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, 5, 0, buffer, sizeof buffer, nullptr), 0u);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, 5, 0, nullptr, 255, nullptr), 0u);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  char large[256];
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, 5, 0x0407, large, 255, nullptr), 0u);  // German
  EXPECT_EQ(GetLastError(), 1815u);
}

}  // namespace
}  // namespace tov::platform
