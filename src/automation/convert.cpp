#include <tovport/automation/convert.h>

#include <cmath>
#include <cstdio>
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
  const std::string s = std::to_string(v);
  return BStr(s.begin(), s.end());
}

BStr numberText(double v) {
  if (std::nearbyint(v) == v && std::fabs(v) < 1e15) return numberText(static_cast<std::int64_t>(v));
  char buf[32];
  for (int precision = 1; precision <= 17; ++precision) {
    std::snprintf(buf, sizeof buf, "%.*G", precision, v);
    if (std::strtod(buf, nullptr) == v) break;
  }
  const std::string s = buf;
  return BStr(s.begin(), s.end());
}

BStr toText(const Variant& in) {
  const Variant v = in.deref();
  if (v.isEmpty()) return {};
  if (auto p = v.get<BStr>()) return *p;
  if (v.get<Variant::Null>()) throw RuntimeError(kErrInvalidNull);
  if (auto p = v.get<VariantBool>()) return isTrue(*p) ? u"True" : u"False";
  if (auto p = v.get<std::int16_t>()) return numberText(std::int64_t{*p});
  if (auto p = v.get<std::int32_t>()) return numberText(std::int64_t{*p});
  if (auto p = v.get<std::uint8_t>()) return numberText(std::int64_t{*p});
  if (auto p = v.get<double>()) return numberText(*p);
  if (auto p = v.get<Date>()) {
    // yyyy-mm-dd hh:mm:ss
    const double days = std::floor(p->value);
    long z = static_cast<long>(days) - 25569 + 719468;
    const long era = (z >= 0 ? z : z - 146096) / 146097;
    const unsigned doe = static_cast<unsigned>(z - era * 146097);
    const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const unsigned mp = (5 * doy + 2) / 153;
    const unsigned d = doy - (153 * mp + 2) / 5 + 1;
    const unsigned m = mp < 10 ? mp + 3 : mp - 9;
    const long y = static_cast<long>(yoe) + era * 400 + (m <= 2);
    const long secs = std::lround((p->value - days) * 86400.0);
    char buf[96];
    std::snprintf(buf, sizeof buf, "%04ld-%02u-%02u %02ld:%02ld:%02ld", y, m, d, secs / 3600, secs / 60 % 60,
                  secs % 60);
    const std::string s = buf;
    return BStr(s.begin(), s.end());
  }
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

std::string toUtf8(std::u16string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    std::uint32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
    }
    if (c < 0x80) {
      out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (c >> 12)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (c >> 18)));
      out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  return out;
}

std::u16string fromUtf8(std::string_view text) {
  std::u16string out;
  for (std::size_t i = 0; i < text.size();) {
    const auto b = static_cast<unsigned char>(text[i]);
    std::uint32_t c;
    std::size_t len;
    if (b < 0x80) c = b, len = 1;
    else if ((b >> 5) == 0x6) c = b & 0x1F, len = 2;
    else if ((b >> 4) == 0xE) c = b & 0x0F, len = 3;
    else if ((b >> 3) == 0x1E) c = b & 0x07, len = 4;
    else c = 0xFFFD, len = 1;
    if (i + len > text.size()) {
      c = 0xFFFD;
      len = text.size() - i;
    } else {
      for (std::size_t k = 1; k < len; ++k) c = (c << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
    }
    i += len;
    if (c >= 0x10000) {
      c -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(c));
    }
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
