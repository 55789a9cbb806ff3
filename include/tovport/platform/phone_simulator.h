// A simulated BenQ-Siemens phone: what it answers to the AT commands a host sends (the basic
// command set a phone of the family knows: identification, echo and result-code settings, error
// reports, character set, functionality, SIM, signal and battery). Used by the phone simulator
// program on a pseudo-terminal and, as a peer, by simulated serial ports.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <tovport/platform/serial_memory.h>

namespace tov::platform {

struct PhoneProfile {
  std::string maker = "SIEMENS";
  std::string model = "S65";
  bool echo = true;                  // repeat each command line back, as ATE1 (ATE0 turns it off)
  bool silent = false;               // answer nothing at all
  std::set<std::string> failing;     // commands (upper case, "AT+CGMM") that fail, as ERROR
};

// One command line the phone received (without its CR) and all it sent back: the echo, the
// information lines and the result code; empty when the phone is silent.
struct Exchange {
  std::string command;
  std::string answer;
};

class Responder {
 public:
  explicit Responder(PhoneProfile profile);
  ~Responder();
  Responder(Responder&&) noexcept;
  Responder& operator=(Responder&&) noexcept;

  // Feeds received bytes; returns the exchange of every command line completed by them. ESC drops
  // the line begun so far.
  std::vector<Exchange> receive(const std::string& bytes);

 private:
  struct Session;
  std::unique_ptr<Session> session_;
};

// Splits an answer into n nearly equal pieces (n >= 1).
std::vector<std::string> split(const std::string& answer, int pieces);

// A peer for a simulated port that answers like the phone, replyDelayMs after each command.
SimulatedPort::Peer phonePeer(PhoneProfile profile, std::int64_t replyDelayMs);

}  // namespace tov::platform
