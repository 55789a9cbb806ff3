#include <tovport/platform/phone_simulator.h>

#include <algorithm>
#include <cctype>
#include <memory>

namespace tov::platform {

namespace {

std::string upper(std::string s) {
  for (auto& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

std::string trim(const std::string& s) {
  const auto first = s.find_first_not_of(" \t\n");
  if (first == std::string::npos) return {};
  return s.substr(first, s.find_last_not_of(" \t\n") - first + 1);
}

}  // namespace

std::vector<std::string> Responder::receive(const std::string& bytes) {
  std::vector<std::string> answers;
  for (char c : bytes) {
    if (c != '\r') {
      pending_.push_back(c);
      continue;
    }
    const std::string line = trim(pending_);
    pending_.clear();
    if (line.empty() || profile_.silent) continue;
    answers.push_back((profile_.echo ? line + "\r" : std::string()) + answer(line));
  }
  return answers;
}

std::string Responder::answer(const std::string& line) const {
  const std::string command = upper(line);
  auto body = [](const std::string& text) { return "\r\n" + text + "\r\n\r\nOK\r\n"; };
  if (profile_.failing.count(command)) return "\r\nERROR\r\n";
  if (command == "AT+CGMI") return body(profile_.maker);
  if (command == "AT+CGMM") return body(profile_.model);
  return "\r\nERROR\r\n";
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
    for (const auto& answer : phone->receive(std::string(written))) port.deliver(answer, replyDelayMs);
  };
}

}  // namespace tov::platform
