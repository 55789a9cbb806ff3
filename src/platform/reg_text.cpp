#include "platform/reg_text.h"

#include <algorithm>

#include "platform/codepage.h"

namespace tov::platform {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool isTextType(DWORD type) { return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ; }

class ValueLineParser {
 public:
  ValueLineParser(std::string_view line, RegTextFormat format) : s_(line), format_(format) {}

  RegValueLine parse() {
    RegValueLine v;
    if (!consume("@")) v.name = quoted();
    skipBlanks();
    if (!consume("=")) fail("expected '=' after the value name");
    skipBlanks();
    if (at('"')) {
      const std::string text = quoted();
      v.type = REG_SZ;
      v.data.assign(text.begin(), text.end());
      v.data.push_back(0);
    } else if (consume("-")) {
      v.deletion = true;
    } else if (consumeWord("dword:")) {
      const DWORD n = hexNumber("dword");
      v.type = REG_DWORD;
      v.data = {static_cast<BYTE>(n), static_cast<BYTE>(n >> 8), static_cast<BYTE>(n >> 16),
                static_cast<BYTE>(n >> 24)};
    } else if (consumeWord("hex:")) {
      v.type = REG_BINARY;
      v.data = byteList();
    } else if (consumeWord("hex(")) {
      v.type = hexNumber("hex type");
      if (!consume("):")) fail("expected '):' after the hex type");
      const std::size_t dataStart = pos_;
      v.data = byteList();
      if (format_ == RegTextFormat::Version5 && isTextType(v.type)) v.data = utf16Text(v.data, dataStart);
    } else {
      fail("unknown value data; expected a quoted text, dword:, hex:, hex(N): or -");
    }
    skipBlanks();
    if (pos_ != s_.size()) fail("unexpected text after the value");
    return v;
  }

 private:
  [[noreturn]] void fail(const std::string& what) const { throw RegSyntaxError(pos_, what); }
  bool at(char c) const { return pos_ < s_.size() && s_[pos_] == c; }
  void skipBlanks() {
    while (pos_ < s_.size() && isBlank(s_[pos_])) ++pos_;
  }
  bool consume(std::string_view token) {
    if (!s_.substr(pos_).starts_with(token)) return false;
    pos_ += token.size();
    return true;
  }
  // Type words are matched without regard to case ("DWORD:", "Hex:").
  bool consumeWord(std::string_view word) {
    const std::string_view next = s_.substr(pos_, word.size());
    const bool match = next.size() == word.size() &&
                       std::equal(next.begin(), next.end(), word.begin(),
                                  [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a + 32 : a) == b; });
    if (match) pos_ += word.size();
    return match;
  }

  // A text in double quotes, in which \\ and \" stand for \ and ".
  std::string quoted() {
    if (!consume("\"")) fail("expected a quoted name or @");
    std::string out;
    while (pos_ < s_.size()) {
      const char c = s_[pos_];
      if (c == '"') {
        ++pos_;
        return out;
      }
      if (c == '\\') {
        const char next = pos_ + 1 < s_.size() ? s_[pos_ + 1] : '\0';
        if (next != '\\' && next != '"')
          fail("unknown escape in quoted text; only \\\\ and \\\" are allowed");
        out += next;
        pos_ += 2;
        continue;
      }
      out += c;
      ++pos_;
    }
    fail("quoted text without closing '\"'");
  }

  // One to eight hex digits.
  DWORD hexNumber(const std::string& what) {
    DWORD n = 0;
    std::size_t digits = 0;
    for (int d; pos_ < s_.size() && (d = hexDigit(s_[pos_])) >= 0; ++pos_, ++digits) {
      if (digits == 8) fail(what + " has more than 8 hex digits");
      n = n << 4 | static_cast<DWORD>(d);
    }
    if (digits == 0) fail("expected hex digits for the " + what);
    return n;
  }

  // Bytes of one or two hex digits, separated by commas; blanks are allowed around them.
  std::vector<BYTE> byteList() {
    std::vector<BYTE> bytes;
    skipBlanks();
    if (pos_ == s_.size()) return bytes;
    while (true) {
      const int high = pos_ < s_.size() ? hexDigit(s_[pos_]) : -1;
      if (high < 0) fail("expected a hex byte");
      ++pos_;
      const int low = pos_ < s_.size() ? hexDigit(s_[pos_]) : -1;
      if (low >= 0) ++pos_;
      bytes.push_back(static_cast<BYTE>(low >= 0 ? high << 4 | low : high));
      skipBlanks();
      if (pos_ == s_.size()) return bytes;
      if (!consume(",")) fail("expected ',' between hex bytes");
      skipBlanks();
    }
  }

  std::vector<BYTE> utf16Text(const std::vector<BYTE>& bytes, std::size_t dataStart) {
    if (bytes.size() % 2 != 0) {
      pos_ = dataStart;
      fail("odd number of bytes in UTF-16 text");
    }
    const std::string ansi =
        utf16leToAnsi(std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    return {ansi.begin(), ansi.end()};
  }

  std::string_view s_;
  std::size_t pos_ = 0;
  RegTextFormat format_;
};

}  // namespace

std::string_view trimLeft(std::string_view s) {
  while (!s.empty() && isBlank(s.front())) s.remove_prefix(1);
  return s;
}

std::string_view trimRight(std::string_view s) {
  while (!s.empty() && isBlank(s.back())) s.remove_suffix(1);
  return s;
}

std::vector<std::string_view> splitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (true) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) line.remove_suffix(1);
    lines.push_back(line);
    if (end == std::string_view::npos) return lines;
    text.remove_prefix(end + 1);
  }
}

std::string utf16leToAnsi(std::string_view bytes) {
  std::u16string units;
  units.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    units.push_back(static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                          static_cast<unsigned char>(bytes[i + 1]) << 8));
    const std::size_t n = units.size();
    if (n >= 2 && units[n - 2] >= 0xD800 && units[n - 2] <= 0xDBFF && units[n - 1] >= 0xDC00 &&
        units[n - 1] <= 0xDFFF) {
      units.pop_back();
      units.back() = 0xFFFD;  // one character outside the code page
    }
  }
  return utf16ToAnsi(units);
}

void LogicalLine::append(int lineNumber, std::string_view part) {
  parts.emplace_back(text.size(), lineNumber);
  text += part;
}

int LogicalLine::lineAt(std::size_t position) const {
  const auto after = std::upper_bound(parts.begin(), parts.end(), position,
                                      [](std::size_t p, const auto& part) { return p < part.first; });
  return after == parts.begin() ? 0 : std::prev(after)->second;
}

RegValueLine parseRegValueLine(std::string_view line, RegTextFormat format) {
  return ValueLineParser(line, format).parse();
}

}  // namespace tov::platform
