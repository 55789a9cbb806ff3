// The English message table that stands in for the system's on POSIX systems.
#include <gtest/gtest.h>

#include "platform/last_error.h"
#include <tovport/platform/serial.h>

namespace tov::platform {
namespace {

constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;

TEST(SystemMessages, KnownCodesHaveTheirEnglishTextEndingInCrLfAndOthersNone) {
  EXPECT_EQ(systemMessage(2), "The system cannot find the file specified.\r\n");
  EXPECT_EQ(systemMessage(87), "The parameter is incorrect.\r\n");
  EXPECT_EQ(systemMessage(1167), "The device is not connected.\r\n");
  for (const DWORD code : {0u, 1u, 3u, 5u, 6u, 21u, 31u, 32u, 50u, 121u, 170u, 995u, 996u, 997u, 1117u}) {
    const std::string text = systemMessage(code);
    ASSERT_GT(text.size(), 3u) << code;
    EXPECT_EQ(text.substr(text.size() - 3), ".\r\n") << code;
  }
  EXPECT_EQ(systemMessage(4), "");
  EXPECT_EQ(systemMessage(0xFFFFFFFFu), "");
}

TEST(SystemMessages, FormatMessageStoresTheTextOrSaysWhyNot) {
  char buffer[256];
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, 5, 0, buffer, 255, nullptr), 19u);
  EXPECT_STREQ(buffer, "Access is denied.\r\n");
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, 5, 0x0409, buffer, 255, nullptr), 19u);  // US English
  EXPECT_EQ(FormatMessageA(kFlags, nullptr, 5, 0x0809, buffer, 255, nullptr), 19u);  // UK English
  const struct {
    DWORD flags, code, language, size;
    char* buffer;
    DWORD error;
  } refusals[] = {
      {kFlags, 4, 0, 255, buffer, 317},                                  // no text for the code
      {kFlags, 5, 0, 19, buffer, 122},                                   // no room for the NUL
      {FORMAT_MESSAGE_IGNORE_INSERTS, 5, 0, 255, buffer, ERROR_INVALID_PARAMETER},  // no source
      {kFlags, 5, 0, 255, nullptr, ERROR_INVALID_PARAMETER},
      {kFlags, 5, 0x0407, 255, buffer, 1815},  // German
      {kFlags, 5, 0x040C, 255, buffer, 1815},  // French
  };
  for (const auto& r : refusals) {
    SetLastError(0);
    EXPECT_EQ(FormatMessageA(r.flags, nullptr, r.code, r.language, r.buffer, r.size, nullptr), 0u) << r.error;
    EXPECT_EQ(GetLastError(), r.error);
  }
}

}  // namespace
}  // namespace tov::platform
