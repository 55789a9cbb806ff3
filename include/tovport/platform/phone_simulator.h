// A simulated BenQ-Siemens phone: what it answers to the AT commands a host sends. Used by the
// phone simulator program on a pseudo-terminal and, as a peer, by simulated serial ports.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include <tovport/platform/serial_memory.h>

namespace tov::platform {

struct PhoneProfile {
  std::string maker = "SIEMENS";
  std::string model = "S65";
  bool echo = true;                  // repeat each command line back, as ATE1
  bool silent = false;               // answer nothing at all
  std::set<std::string> failing;     // commands (upper case) answered with ERROR
};

class Responder {
 public:
  explicit Responder(PhoneProfile profile) : profile_(std::move(profile)) {}
  // Feeds received bytes; returns the answers to every command line completed by them.
  std::vector<std::string> receive(const std::string& bytes);

 private:
  std::string answer(const std::string& line) const;
  PhoneProfile profile_;
  std::string pending_;
};

// Splits an answer into n nearly equal pieces (n >= 1).
std::vector<std::string> split(const std::string& answer, int pieces);

// A peer for a simulated port that answers like the phone, replyDelayMs after each command.
SimulatedPort::Peer phonePeer(PhoneProfile profile, std::int64_t replyDelayMs);

}  // namespace tov::platform
