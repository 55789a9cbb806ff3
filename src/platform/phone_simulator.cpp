#include <tovport/platform/phone_simulator.h>

#include <algorithm>
#include <memory>

#include "platform/phone_commands.h"

namespace tov::platform {

namespace {

std::string trim(const std::string& s) {
  const auto first = s.find_first_not_of(" \t\n");
  if (first == std::string::npos) return {};
  return s.substr(first, s.find_last_not_of(" \t\n") - first + 1);
}

// The information lines and the result code as the phone's settings format them: with ATV1 each
// framed by CR LF and the result in words, with ATV0 each line ended by CR LF and the result a
// number ended by CR; with ATQ1 no result code. AT+CMEE chooses how a failure reads.
std::string formatted(const PhoneState& state, const std::vector<std::string>& info,
                      const std::optional<CommandError>& error) {
  std::string out;
  for (const auto& line : info) out += state.verbose ? "\r\n" + line + "\r\n" : line + "\r\n";
  if (state.quiet) return out;
  std::string result = !error                  ? (state.verbose ? "OK" : "0")
                       : state.errorMode == 1 ? "+CME ERROR: " + std::to_string(error->number)
                       : state.errorMode == 2 ? std::string("+CME ERROR: ") + error->text
                                              : (state.verbose ? "ERROR" : "4");
  return out + (state.verbose ? "\r\n" + result + "\r\n" : result + "\r");
}

}  // namespace

struct Responder::Session {
  PhoneProfile profile;
  PhoneState state;
  std::string pending;
};

Responder::Responder(PhoneProfile profile)
    : session_(std::make_unique<Session>(Session{profile, initialState(profile), {}})) {}
Responder::~Responder() = default;
Responder::Responder(Responder&&) noexcept = default;
Responder& Responder::operator=(Responder&&) noexcept = default;

std::vector<Exchange> Responder::receive(const std::string& bytes) {
  Session& s = *session_;
  std::vector<Exchange> exchanges;
  for (char c : bytes) {
    if (c == '\x1b') {  // ESC: the line so far is dropped, as when a client leaves text input
      s.pending.clear();
      continue;
    }
    if (c != '\r') {
      s.pending.push_back(c);
      continue;
    }
    const std::string line = trim(s.pending);
    s.pending.clear();
    if (line.empty()) continue;
    if (s.profile.silent) {
      exchanges.push_back({line, {}});
      continue;
    }
    // The line is echoed as it arrives, so an ATE0 on it is echoed still.
    std::string answer = s.state.echo ? line + "\r" : std::string();
    std::vector<std::string> info;
    const auto error = runCommandLine(line, s.profile, s.state, info);
    exchanges.push_back({line, answer + formatted(s.state, info, error)});
  }
  return exchanges;
}

std::vector<std::string> split(const std::string& answer, int pieces) {
  pieces = std::max(1, std::min<int>(pieces, static_cast<int>(answer.size())));
  std::vector<std::string> out;
  std::size_t start = 0;
  for (int i = 0; i < pieces; ++i) {
    const std::size_t end = answer.size() * static_cast<std::size_t>(i + 1) / static_cast<std::size_t>(pieces);
    out.push_back(answer.substr(start, end - start));
    start = end;
  }
  return out;
}

SimulatedPort::Peer phonePeer(PhoneProfile profile, std::int64_t replyDelayMs) {
  auto phone = std::make_shared<Responder>(std::move(profile));
  return [phone, replyDelayMs](SimulatedPort& port, std::string_view written) {
    for (const auto& exchange : phone->receive(std::string(written)))
      if (!exchange.answer.empty()) port.deliver(exchange.answer, replyDelayMs);
  };
}

}  // namespace tov::platform
