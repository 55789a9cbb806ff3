#include <tovport/automation/convert.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <limits>
#include <optional>

#include <tovport/automation/runtime_error.h>

namespace tov::automation {
namespace {

constexpr int kErrInvalidNull = 94;

bool isBlank(char16_t c) { return c == u' ' || c == u'\t'; }
bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

std::u16string_view trimBlanks(std::u16string_view s) {
  while (!s.empty() && isBlank(s.front())) s.remove_prefix(1);
  while (!s.empty() && isBlank(s.back())) s.remove_suffix(1);
  return s;
}

// A number read from text: either a decimal (sign, digits, point, exponent) or a bit pattern.
struct ParsedNumber {
  bool negative = false;
  std::u16string digits;  // all significant digits, integer and fraction, without the point
  long pointPos = 0;      // digits before the decimal point (after applying the exponent)
  std::optional<std::uint64_t> pattern;  // &H / &O value
};

std::optional<ParsedNumber> parseNumber(std::u16string_view text) {
  std::u16string_view s = trimBlanks(text);
  ParsedNumber n;
  if (s.size() >= 2 && s[0] == u'&' && (s[1] == u'H' || s[1] == u'h' || s[1] == u'O' || s[1] == u'o')) {
    const unsigned base = (s[1] == u'H' || s[1] == u'h') ? 16 : 8;
    s.remove_prefix(2);
    if (s.empty()) return std::nullopt;
    std::uint64_t value = 0;
    for (char16_t c : s) {
      unsigned d;
      if (isDigit(c)) d = c - u'0';
      else if (c >= u'a' && c <= u'f') d = c - u'a' + 10;
      else if (c >= u'A' && c <= u'F') d = c - u'A' + 10;
      else return std::nullopt;
      if (d >= base) return std::nullopt;
      value = value * base + d;
      if (value > 0xFFFFFFFFull) value = 0x1FFFFFFFFull;  // saturate: too large for any target
    }
    n.pattern = value;
    return n;
  }
  // Leading or trailing sign.
  if (!s.empty() && (s.front() == u'-' || s.front() == u'+')) {
    n.negative = s.front() == u'-';
    s = trimBlanks(s.substr(1));
  } else if (!s.empty() && (s.back() == u'-' || s.back() == u'+')) {
    n.negative = s.back() == u'-';
    s = trimBlanks(s.substr(0, s.size() - 1));
  }
  std::size_t i = 0;
  bool anyDigit = false;
  long intDigits = 0;
  for (; i < s.size() && isDigit(s[i]); ++i, ++intDigits) n.digits.push_back(s[i]), anyDigit = true;
  if (i < s.size() && s[i] == u'.') {
    for (++i; i < s.size() && isDigit(s[i]); ++i) n.digits.push_back(s[i]), anyDigit = true;
  }
  if (!anyDigit) return std::nullopt;
  long exponent = 0;
  if (i < s.size() && (s[i] == u'e' || s[i] == u'E' || s[i] == u'd' || s[i] == u'D')) {
    ++i;
    bool expNeg = false;
    if (i < s.size() && (s[i] == u'-' || s[i] == u'+')) expNeg = s[i++] == u'-';
    if (i >= s.size() || !isDigit(s[i])) return std::nullopt;
    for (; i < s.size() && isDigit(s[i]); ++i) {
      exponent = exponent * 10 + (s[i] - u'0');
      if (exponent > 10000) exponent = 10000;
    }
    if (expNeg) exponent = -exponent;
  }
  if (i != s.size()) return std::nullopt;
  n.pointPos = intDigits + exponent;
  return n;
}

// The integer nearest to the parsed decimal, ties to even; nullopt when beyond 64 bits.
std::optional<std::int64_t> roundHalfEven(const ParsedNumber& n) {
  std::uint64_t whole = 0;
  const long len = static_cast<long>(n.digits.size());
  for (long k = 0; k < n.pointPos; ++k) {
    const unsigned d = k < len ? n.digits[k] - u'0' : 0;
    if (whole > (std::numeric_limits<std::uint64_t>::max() - d) / 10) return std::nullopt;
    whole = whole * 10 + d;
  }
  // The fraction: first digit decides unless it is 5 with nothing after it.
  const long first = std::max(n.pointPos, 0L);
  int firstFrac = 0;
  bool restNonZero = false;
  if (n.pointPos < 0) {
    // Every digit is below the first fractional place: the value is below 0.1, rounds to 0.
    firstFrac = 0;
  } else if (first < len) {
    firstFrac = n.digits[first] - u'0';
    for (long k = first + 1; k < len; ++k) restNonZero |= n.digits[k] != u'0';
  }
  bool up = firstFrac > 5 || (firstFrac == 5 && (restNonZero || (whole & 1u)));
  if (up) ++whole;
  if (whole > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return std::nullopt;
  const auto value = static_cast<std::int64_t>(whole);
  return n.negative ? -value : value;
}

std::int64_t textToInteger(std::u16string_view text, int bits) {
  const auto parsed = parseNumber(text);
  if (!parsed) throw RuntimeError(kErrTypeMismatch);
  const std::int64_t lo = -(std::int64_t{1} << (bits - 1));
  const std::int64_t hi = (std::int64_t{1} << (bits - 1)) - 1;
  if (parsed->pattern) {
    const std::uint64_t p = *parsed->pattern;
    if (p >= (std::uint64_t{1} << bits)) throw RuntimeError(kErrOverflow);
    return p > static_cast<std::uint64_t>(hi) ? static_cast<std::int64_t>(p) - (std::int64_t{1} << bits)
                                              : static_cast<std::int64_t>(p);
  }
  const auto value = roundHalfEven(*parsed);
  if (!value || *value < lo || *value > hi) throw RuntimeError(kErrOverflow);
  return *value;
}

std::int64_t doubleToInteger(double d, std::int64_t lo, std::int64_t hi) {
  if (std::isnan(d)) throw RuntimeError(kErrOverflow);
  const double r = std::nearbyint(d);  // default rounding mode: ties to even
  if (r < static_cast<double>(lo) || r > static_cast<double>(hi)) throw RuntimeError(kErrOverflow);
  return static_cast<std::int64_t>(r);
}

std::int64_t toInteger(const Variant& in, std::int64_t lo, std::int64_t hi, int bits) {
  const Variant v = in.deref();
  auto check = [&](std::int64_t x) {
    if (x < lo || x > hi) throw RuntimeError(kErrOverflow);
    return x;
  };
  if (v.isEmpty()) return 0;
  if (v.get<Variant::Null>()) throw RuntimeError(kErrInvalidNull);
  if (auto p = v.get<std::int16_t>()) return check(*p);
  if (auto p = v.get<std::int32_t>()) return check(*p);
  if (auto p = v.get<std::uint8_t>()) return check(*p);
  if (auto p = v.get<VariantBool>()) return check(static_cast<std::int16_t>(*p));
  if (auto p = v.get<double>()) return doubleToInteger(*p, lo, hi);
  if (auto p = v.get<Date>()) return doubleToInteger(p->value, lo, hi);
  if (auto p = v.get<BStr>()) {
    const std::int64_t x = textToInteger(*p, bits);
    return check(x);
  }
  throw RuntimeError(kErrTypeMismatch);
}

// yyyy-mm-dd hh:mm:ss. The whole days count from 1899-12-30 and the fraction is the time of that
// day, also before 1899-12-30 (-1.25 is 1899-12-29 06:00).
BStr dateText(Date date) {
  using namespace std::chrono;
  const double whole = std::trunc(date.value);
  sys_days day = sys_days{1899y / December / 30} + days{static_cast<long>(whole)};
  long long second = std::llround(std::fabs(date.value - whole) * 86400.0);
  if (second == 86400) day += days{1}, second = 0;
  const year_month_day ymd{day};
  const hh_mm_ss time{seconds{second}};
  char buf[48];
  std::snprintf(buf, sizeof buf, "%04d-%02u-%02u %02lld:%02lld:%02lld", static_cast<int>(ymd.year()),
                static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
                static_cast<long long>(time.hours().count()), static_cast<long long>(time.minutes().count()),
                static_cast<long long>(time.seconds().count()));
  return BStr(buf, buf + std::strlen(buf));
}

char16_t foldCase(char16_t c) {
  if (c >= u'a' && c <= u'z') return c - 32;
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 32;
  return c;
}

char16_t lowerCase(char16_t c) {
  if (c >= u'A' && c <= u'Z') return c + 32;
  if (c >= 0xC0 && c <= 0xDE && c != 0xD7) return c + 32;
  return c;
}

}  // namespace

std::int16_t textToI2(std::u16string_view text) { return static_cast<std::int16_t>(textToInteger(text, 16)); }
std::int32_t textToI4(std::u16string_view text) { return static_cast<std::int32_t>(textToInteger(text, 32)); }

double textToR8(std::u16string_view text) {
  const auto parsed = parseNumber(text);
  if (!parsed) throw RuntimeError(kErrTypeMismatch);
  if (parsed->pattern) return static_cast<double>(*parsed->pattern);
  std::string ascii = parsed->negative ? "-0." : "0.";
  for (char16_t c : parsed->digits) ascii.push_back(static_cast<char>(c));
  ascii += "e" + std::to_string(parsed->pointPos);
  const double d = std::strtod(ascii.c_str(), nullptr);
  if (std::isinf(d)) throw RuntimeError(kErrOverflow);
  return d;
}

std::int16_t toI2(const Variant& v) { return static_cast<std::int16_t>(toInteger(v, INT16_MIN, INT16_MAX, 16)); }
std::int32_t toI4(const Variant& v) { return static_cast<std::int32_t>(toInteger(v, INT32_MIN, INT32_MAX, 32)); }
std::uint8_t toUI1(const Variant& v) { return static_cast<std::uint8_t>(toInteger(v, 0, 255, 16)); }

double toR8(const Variant& in) {
  const Variant v = in.deref();
  if (auto p = v.get<double>()) return *p;
  if (auto p = v.get<Date>()) return p->value;
  if (auto p = v.get<BStr>()) return textToR8(*p);
  return static_cast<double>(toInteger(v, INT32_MIN, INT32_MAX, 32));
}

VariantBool toBool(const Variant& in) {
  const Variant v = in.deref();
  if (auto p = v.get<VariantBool>()) return *p;
  if (auto p = v.get<BStr>()) {
    const auto t = trimBlanks(*p);
    if (equalsNoCase(t, u"True") || equalsNoCase(t, u"#TRUE#")) return VariantBool::True;
    if (equalsNoCase(t, u"False") || equalsNoCase(t, u"#FALSE#")) return VariantBool::False;
    return vb(textToR8(t) != 0.0);
  }
  if (auto p = v.get<double>()) return vb(*p != 0.0);
  return vb(toInteger(v, INT32_MIN, INT32_MAX, 32) != 0);
}

BStr numberText(std::int64_t v) {
  char buf[24];
  char* end = std::to_chars(buf, buf + sizeof buf, v).ptr;
  return BStr(buf, end);
}

BStr numberText(double v) {
  if (std::nearbyint(v) == v && std::fabs(v) < 1e15) return numberText(static_cast<std::int64_t>(v));
  // The fewest significant digits that read back as the same number, laid out as "%G" lays them
  // out ("2.5", "1E+20", "1E-05").
  char buf[40];
  char* shortest = std::to_chars(buf, std::end(buf), v, std::chars_format::scientific).ptr;
  const auto digits = std::count_if(buf, std::find(buf, shortest, 'e'), [](char c) { return c >= '0' && c <= '9'; });
  char* end = std::to_chars(buf, std::end(buf), v, std::chars_format::general, static_cast<int>(digits)).ptr;
  BStr text(buf, end);
  std::replace(text.begin(), text.end(), u'e', u'E');
  return text;
}

BStr toText(const Variant& in) {
  const Variant v = in.deref();
  if (v.isEmpty()) return {};
  if (auto p = v.get<BStr>()) return *p;
  if (v.get<Variant::Null>()) throw RuntimeError(kErrInvalidNull);
  if (auto p = v.get<VariantBool>()) return isTrue(*p) ? u"True" : u"False";
  if (auto p = v.get<std::int16_t>()) return numberText(*p);
  if (auto p = v.get<std::int32_t>()) return numberText(*p);
  if (auto p = v.get<std::uint8_t>()) return numberText(*p);
  if (auto p = v.get<double>()) return numberText(*p);
  if (auto p = v.get<Date>()) return dateText(*p);
  throw RuntimeError(kErrTypeMismatch);
}

Date toDate(const Variant& in) {
  const Variant v = in.deref();
  if (auto p = v.get<Date>()) return *p;
  if (v.get<BStr>()) throw RuntimeError(kErrTypeMismatch);
  return Date{toR8(v)};
}

Ref<IDispatch> toDispatch(const Variant& in) {
  const Variant v = in.deref();
  if (auto p = v.get<Ref<IDispatch>>()) return *p;
  throw RuntimeError(kErrTypeMismatch);
}

// Both directions put U+FFFD in place of what is not a character: a lone surrogate, and in UTF-8
// each maximal part of a sequence that cannot be completed (a stray or truncated sequence, an
// overlong form, a surrogate or a value above U+10FFFF), so the byte after it is read afresh.
constexpr char32_t kReplacement = 0xFFFD;

std::string toUtf8(std::u16string_view text) {
  std::string out;
  auto put = [&](char32_t c) {
    auto byte = [&](char32_t b) { out.push_back(static_cast<char>(b)); };
    if (c < 0x80) {
      byte(c);
    } else if (c < 0x800) {
      byte(0xC0 | (c >> 6)), byte(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      byte(0xE0 | (c >> 12)), byte(0x80 | ((c >> 6) & 0x3F)), byte(0x80 | (c & 0x3F));
    } else {
      byte(0xF0 | (c >> 18)), byte(0x80 | ((c >> 12) & 0x3F)), byte(0x80 | ((c >> 6) & 0x3F)), byte(0x80 | (c & 0x3F));
    }
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    const bool high = c >= 0xD800 && c <= 0xDBFF;
    if (high && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF)
      put(0x10000 + ((char32_t{c} - 0xD800) << 10) + (text[++i] - 0xDC00));
    else
      put(c >= 0xD800 && c <= 0xDFFF ? kReplacement : c);
  }
  return out;
}

std::u16string fromUtf8(std::string_view text) {
  std::u16string out;
  auto put = [&](char32_t c) {
    if (c < 0x10000) {
      out.push_back(static_cast<char16_t>(c));
    } else {
      out.push_back(static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF)));
    }
  };
  auto byteAt = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  for (std::size_t i = 0; i < text.size();) {
    const unsigned char lead = byteAt(i++);
    if (lead < 0x80) {
      put(lead);
      continue;
    }
    // The length of the sequence and the range of its second byte, which rules out overlong
    // forms (E0, F0), surrogates (ED) and values above U+10FFFF (F4).
    std::size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3, low = lead == 0xE0 ? 0xA0 : 0x80, high = lead == 0xED ? 0x9F : 0xBF;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4, low = lead == 0xF0 ? 0x90 : 0x80, high = lead == 0xF4 ? 0x8F : 0xBF;
    }
    char32_t c = lead & (0x7F >> length);
    std::size_t taken = 1;
    for (; length > 0 && taken < length && i < text.size(); ++taken, ++i, low = 0x80, high = 0xBF) {
      if (byteAt(i) < low || byteAt(i) > high) break;
      c = (c << 6) | (byteAt(i) & 0x3F);
    }
    put(length > 0 && taken == length ? c : kReplacement);
  }
  return out;
}

bool equalsNoCase(std::u16string_view a, std::u16string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (foldCase(a[i]) != foldCase(b[i])) return false;
  return true;
}

std::u16string::size_type findNoCase(std::u16string_view haystack, std::u16string_view needle) {
  if (needle.empty()) return 0;
  if (needle.size() > haystack.size()) return std::u16string::npos;
  for (std::size_t i = 0; i + needle.size() <= haystack.size(); ++i) {
    if (equalsNoCase(haystack.substr(i, needle.size()), needle)) return i;
  }
  return std::u16string::npos;
}

std::u16string toUpper(std::u16string_view text) {
  std::u16string out(text);
  for (auto& c : out) c = foldCase(c);
  return out;
}

std::u16string toLower(std::u16string_view text) {
  std::u16string out(text);
  for (auto& c : out) c = lowerCase(c);
  return out;
}

}  // namespace tov::automation
