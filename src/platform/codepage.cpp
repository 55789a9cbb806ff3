#include "platform/codepage.h"

#include <array>

namespace tov::platform {
namespace {

// 0x80..0x9F of Windows-1252; 0 marks the five unassigned bytes, which map to the C1 control.
constexpr std::array<char16_t, 32> kHigh = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char16_t toUnicode(unsigned char c) {
  if (c >= 0x80 && c <= 0x9F) {
    const char16_t u = kHigh[c - 0x80];
    return u != 0 ? u : static_cast<char16_t>(c);
  }
  return static_cast<char16_t>(c);
}

}  // namespace

std::u16string ansiToUtf16(std::string_view ansi) {
  std::u16string out;
  out.reserve(ansi.size());
  for (char c : ansi) out.push_back(toUnicode(static_cast<unsigned char>(c)));
  return out;
}

std::string utf16ToAnsi(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char16_t u : text) {
    if (u < 0x80 || (u >= 0xA0 && u <= 0xFF)) {
      out.push_back(static_cast<char>(u));
      continue;
    }
    char mapped = '?';
    for (unsigned i = 0; i < kHigh.size(); ++i) {
      if ((kHigh[i] != 0 && kHigh[i] == u) || (kHigh[i] == 0 && u == 0x80 + i)) {
        mapped = static_cast<char>(0x80 + i);
        break;
      }
    }
    out.push_back(mapped);
  }
  return out;
}

}  // namespace tov::platform
