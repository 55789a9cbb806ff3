// The text level of .reg files: decoding, lines, and the syntax of one value line.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <tovport/platform/win32.h>

namespace tov::platform {

// REGEDIT4 files hold texts of hex(2) and hex(7) values as ANSI; version 5 files as UTF-16LE.
enum class RegTextFormat { Regedit4, Version5 };

std::string_view trimLeft(std::string_view s);
std::string_view trimRight(std::string_view s);
// Lines end at LF; a CR before it belongs to the line end.
std::vector<std::string_view> splitLines(std::string_view text);
// UTF-16LE bytes (an odd last byte ignored) as Windows-1252; a surrogate pair becomes one '?'.
std::string utf16leToAnsi(std::string_view bytes);

// A value line joined from its continuation lines, remembering where each part came from.
struct LogicalLine {
  std::string text;
  std::vector<std::pair<std::size_t, int>> parts;  // offset in text, 1-based line number

  void append(int lineNumber, std::string_view part);
  int lineAt(std::size_t position) const;
};

// A syntax fault at a position of the value line.
class RegSyntaxError : public std::runtime_error {
 public:
  RegSyntaxError(std::size_t pos, const std::string& what) : std::runtime_error(what), position(pos) {}
  std::size_t position;
};

struct RegValueLine {
  std::string name;  // empty for the default value (@)
  bool deletion = false;
  DWORD type = REG_NONE;
  std::vector<BYTE> data;  // texts as ANSI with their NUL, as the registry holds them
};

// Parses "name"=data or @=data; throws RegSyntaxError.
RegValueLine parseRegValueLine(std::string_view line, RegTextFormat format);

}  // namespace tov::platform
