#include "value_text.h"

#include <cstdio>

#include <tovport/automation/convert.h>

namespace tovport_cli {

using namespace tov::automation;

Variant parseArgument(const std::string& word) {
  if (word == "True" || word == "true") return VariantBool::True;
  if (word == "False" || word == "false") return VariantBool::False;
  try {
    std::size_t used = 0;
    const long long n = std::stoll(word, &used, 10);
    if (used == word.size()) {
      if (n >= INT16_MIN && n <= INT16_MAX) return static_cast<std::int16_t>(n);
      if (n >= INT32_MIN && n <= INT32_MAX) return static_cast<std::int32_t>(n);
    }
  } catch (const std::exception&) {
  }
  return fromUtf8(word);
}

std::string displayText(const Variant& value) {
  const Variant v = value.deref();
  if (const SafeArray* a = v.array()) {
    std::string out = "(";
    for (std::size_t i = 0; i < a->elements.size(); ++i) out += (i ? ", " : "") + displayText(a->elements[i]);
    return out + ")";
  }
  if (v.get<Ref<IDispatch>>()) return "[object]";
  if (v.isMissing()) return "";
  return toUtf8(toText(v));
}

std::string jsonString(const std::string& utf8) {
  std::string out = "\"";
  for (unsigned char c : utf8) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (c < 0x20) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\u%04x", c);
          out += buf;
        } else {
          out.push_back(static_cast<char>(c));
        }
    }
  }
  return out + "\"";
}

std::string jsonValue(const Variant& value) {
  const Variant v = value.deref();
  if (v.isEmpty()) return "null";
  if (auto b = v.get<VariantBool>()) return isTrue(*b) ? "true" : "false";
  if (v.get<std::int16_t>() || v.get<std::int32_t>() || v.get<std::uint8_t>() || v.get<double>())
    return displayText(v);
  return jsonString(displayText(v));
}

}  // namespace tovport_cli
