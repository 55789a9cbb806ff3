#include "platform/phone_commands.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

namespace tov::platform {
namespace {

constexpr CommandError kUnknown{100, "unknown"};                    // no such command, or bad syntax
constexpr CommandError kNotSupported{4, "operation not supported"};  // a form or value the command lacks

// How a command was given: AT+CGMI (action; also a basic command without number), AT+CMEE?
// (read), AT+CMEE=? (test), AT+CMEE=1 or ATE1 (set, `value` holding what follows).
enum class Form { Action, Read, Test, Set };

struct Call {
  Form form;
  std::string_view value;
  const PhoneProfile& profile;
  PhoneState& state;
  std::vector<std::string>& info;
};

using Result = std::optional<CommandError>;

struct Command {
  std::string_view name;  // without the AT prefix: "E", "&F", "+CGMI"
  Result (*run)(Call&);
};

// A number of 1 to 3 digits; -1 for anything else.
int number(std::string_view digits) {
  if (digits.empty() || digits.size() > 3) return -1;
  int n = 0;
  for (char c : digits) {
    if (c < '0' || c > '9') return -1;
    n = n * 10 + (c - '0');
  }
  return n;
}

// A basic command's number: missing means 0.
int basicNumber(const Call& c) { return c.value.empty() ? 0 : number(c.value); }

// ATE, ATV, ATQ: 0 or 1.
Result setSwitch(Call& c, bool& target, bool onValue) {
  const int n = basicNumber(c);
  if (n != 0 && n != 1) return kNotSupported;
  target = (n == 1) == onValue;
  return std::nullopt;
}

Result reset(Call& c) {
  if (basicNumber(c) != 0) return kNotSupported;
  c.state = initialState(c.profile);
  return std::nullopt;
}

// Commands that only tell something: the action answers, the test form is accepted.
Result tell(Call& c, std::string text) {
  if (c.form == Form::Test) return std::nullopt;
  if (c.form != Form::Action) return kNotSupported;
  c.info.push_back(std::move(text));
  return std::nullopt;
}

// Commands with a setting: the read form shows it, the test form the values it takes.
Result setting(Call& c, const std::string& current, const char* choices) {
  if (c.form == Form::Read) c.info.push_back(current);
  else if (c.form == Form::Test) c.info.push_back(choices);
  else if (c.form != Form::Set) return kNotSupported;
  return std::nullopt;
}

// The values of a set form, separated by commas.
std::vector<std::string_view> values(std::string_view text) {
  std::vector<std::string_view> out;
  for (std::size_t start = 0;;) {
    const std::size_t comma = text.find(',', start);
    out.push_back(text.substr(start, comma - start));
    if (comma == std::string_view::npos) return out;
    start = comma + 1;
  }
}

constexpr const char* kRevision = "50";  // the software revision of every simulated phone

Result identify(Call& c) {
  // ATI and ATI0 name the maker, the model and the software revision; ATI1 to ATI9 exist and add
  // nothing, as on the maker's phones.
  const int n = basicNumber(c);
  if (n < 0 || n > 9) return kNotSupported;
  if (n == 0) c.info.insert(c.info.end(), {c.profile.maker, c.profile.model, std::string("REVISION ") + kRevision});
  return std::nullopt;
}

Result errorMode(Call& c) {
  if (c.form == Form::Set) {
    const int n = c.value.empty() ? 0 : number(c.value);
    if (n < 0 || n > 2) return kNotSupported;
    c.state.errorMode = n;
  }
  return setting(c, "+CMEE: " + std::to_string(c.state.errorMode), "+CMEE: (0-2)");
}

Result charset(Call& c) {
  if (c.form == Form::Set) {
    const std::string_view v = c.value;
    if (v.size() < 2 || v.front() != '"' || v.back() != '"') return kNotSupported;
    std::string name(v.substr(1, v.size() - 2));
    for (auto& ch : name) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
    if (name != "GSM" && name != "UCS2") return kNotSupported;
    c.state.charset = name;
  }
  return setting(c, "+CSCS: \"" + c.state.charset + "\"", "+CSCS: (\"GSM\",\"UCS2\")");
}

// AT+CFUN=<fun>[,<rst>]: full (1) or minimum (0) functionality, with or without a reset first.
Result functionality(Call& c) {
  if (c.form == Form::Set) {
    const auto v = values(c.value);
    const int fun = number(v[0]);
    if ((fun != 0 && fun != 1) || v.size() > 2 || (v.size() == 2 && number(v[1]) != 0 && number(v[1]) != 1))
      return kNotSupported;
    if (v.size() == 2 && v[1] == "1") c.state = initialState(c.profile);
    c.state.functionality = fun;
  }
  return setting(c, "+CFUN: " + std::to_string(c.state.functionality), "+CFUN: (0,1),(0,1)");
}

// A quantity the phone measures: the action gives it, the test form its ranges.
Result measure(Call& c, const char* value, const char* ranges) {
  if (c.form == Form::Test) c.info.push_back(ranges);
  else if (c.form == Form::Action) c.info.push_back(value);
  else return kNotSupported;
  return std::nullopt;
}

// AT+CPIN?: the SIM needs no PIN.
Result simReady(Call& c) {
  if (c.form == Form::Read) c.info.push_back("+CPIN: READY");
  else if (c.form != Form::Test) return kNotSupported;
  return std::nullopt;
}

Result listCommands(Call& c);

const Command kCommands[] = {
    {"&F", reset},
    {"E", [](Call& c) { return setSwitch(c, c.state.echo, true); }},
    {"I", identify},
    {"Q", [](Call& c) { return setSwitch(c, c.state.quiet, true); }},
    {"V", [](Call& c) { return setSwitch(c, c.state.verbose, true); }},
    {"Z", reset},
    {"+CBC", [](Call& c) { return measure(c, "+CBC: 0,80", "+CBC: (0-3),(0-100)"); }},
    {"+CFUN", functionality},
    {"+CGMI", [](Call& c) { return tell(c, c.profile.maker); }},
    {"+CGMM", [](Call& c) { return tell(c, c.profile.model); }},
    {"+CGMR", [](Call& c) { return tell(c, kRevision); }},
    {"+CGSN", [](Call& c) { return tell(c, imeiOf(c.profile)); }},
    {"+CIMI", [](Call& c) { return tell(c, imsiOf(c.profile)); }},
    {"+CLAC", listCommands},
    {"+CMEE", errorMode},
    {"+CPIN", simReady},
    {"+CSCS", charset},
    {"+CSQ", [](Call& c) { return measure(c, "+CSQ: 20,99", "+CSQ: (0-31,99),(0-7,99)"); }},
    {"+GMI", [](Call& c) { return tell(c, c.profile.maker); }},
    {"+GMM", [](Call& c) { return tell(c, c.profile.model); }},
    {"+GMR", [](Call& c) { return tell(c, kRevision); }},
    {"+GSN", [](Call& c) { return tell(c, imeiOf(c.profile)); }},
};

Result listCommands(Call& c) {
  if (c.form == Form::Test) return std::nullopt;
  if (c.form != Form::Action) return kNotSupported;
  for (const Command& command : kCommands) c.info.push_back("AT" + std::string(command.name));
  return std::nullopt;
}

const Command* find(std::string_view name) {
  for (const Command& command : kCommands)
    if (command.name == name) return &command;
  return nullptr;
}

// The line in upper case without blanks, both outside quoted strings only.
std::string normalized(std::string_view line) {
  std::string out;
  bool quoted = false;
  for (char c : line) {
    if (c == '"') quoted = !quoted;
    if (!quoted && (c == ' ' || c == '\t')) continue;
    out.push_back(quoted ? c : static_cast<char>(std::toupper(static_cast<unsigned char>(c))));
  }
  return out;
}

// Where the value of a set form ends: at the next ';' outside quotes, or the end of the line.
std::size_t valueEnd(const std::string& line, std::size_t from) {
  bool quoted = false;
  for (std::size_t i = from; i < line.size(); ++i) {
    if (line[i] == '"') quoted = !quoted;
    if (line[i] == ';' && !quoted) return i;
  }
  return line.size();
}

std::uint64_t fingerprint(const PhoneProfile& profile) {
  std::uint64_t h = 14695981039346656037ull;  // FNV-1a
  for (char c : profile.maker + '/' + profile.model) h = (h ^ static_cast<unsigned char>(c)) * 1099511628211ull;
  return h;
}

std::string digits(std::uint64_t value, int count) {
  std::string out(static_cast<std::size_t>(count), '0');
  for (int i = count - 1; i >= 0; --i, value /= 10) out[static_cast<std::size_t>(i)] = static_cast<char>('0' + value % 10);
  return out;
}

}  // namespace

PhoneState initialState(const PhoneProfile& profile) {
  PhoneState state;
  state.echo = profile.echo;
  return state;
}

std::string imeiOf(const PhoneProfile& profile) {
  const std::uint64_t h = fingerprint(profile);
  const std::string body = "35" + digits(h % 1000000, 6) + digits((h / 1000000) % 1000000, 6);
  int sum = 0;  // Luhn: every second digit from the right of the body doubled
  for (std::size_t i = 0; i < body.size(); ++i) {
    int d = body[body.size() - 1 - i] - '0';
    if (i % 2 == 0 && (d *= 2) > 9) d -= 9;
    sum += d;
  }
  return body + static_cast<char>('0' + (10 - sum % 10) % 10);
}

std::string imsiOf(const PhoneProfile& profile) { return "26201" + digits(fingerprint(profile) % 10000000000ull, 10); }

std::optional<CommandError> runCommandLine(std::string_view text, const PhoneProfile& profile, PhoneState& state,
                                           std::vector<std::string>& info) {
  const std::string line = normalized(text);
  if (!line.starts_with("AT")) return kUnknown;
  for (std::size_t i = 2; i < line.size();) {
    if (line[i] == ';') {
      ++i;
      continue;
    }
    std::string name;
    Form form = Form::Action;
    std::string_view value;
    if (line[i] == '+') {  // extended: +NAME, then ?, =? or =VALUE, up to ';' or the end
      const std::size_t end = line.find_first_of("=?;", i);
      name = line.substr(i, end - i);
      i = end == std::string::npos ? line.size() : end;
      if (line.compare(i, 2, "=?") == 0) {
        form = Form::Test;
        i += 2;
      } else if (line.compare(i, 1, "?") == 0) {
        form = Form::Read;
        i += 1;
      } else if (line.compare(i, 1, "=") == 0) {
        form = Form::Set;
        const std::size_t end = valueEnd(line, i + 1);
        value = std::string_view(line).substr(i + 1, end - i - 1);
        i = end;
      }
      if (i < line.size() && line[i] != ';') return kUnknown;
    } else {  // basic: a letter, or & and a letter, then the number if any
      const std::size_t start = i;
      if (line[i] == '&') ++i;
      if (i >= line.size() || !std::isalpha(static_cast<unsigned char>(line[i]))) return kUnknown;
      name = line.substr(start, ++i - start);
      const std::size_t end = std::min(line.find_first_not_of("0123456789", i), line.size());
      value = std::string_view(line).substr(i, end - i);
      form = value.empty() ? Form::Action : Form::Set;
      i = end;
    }
    const Command* command = find(name);
    if (command == nullptr || profile.failing.count("AT" + name)) return kUnknown;
    Call call{form, value, profile, state, info};
    if (const Result error = command->run(call)) return error;
  }
  return std::nullopt;
}

}  // namespace tov::platform
