// What a simulated phone answers: bytes in, timed replies out.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace tovport_phone {

struct PhoneProfile {
  std::string maker = "SIEMENS";
  std::string model = "S65";
  bool echo = true;                  // repeat each command line back, as ATE1
  bool silent = false;               // answer nothing at all
  std::set<std::string> failing;     // commands (upper case) answered with ERROR
};

// One write to the line; the phone sends the pieces of an answer with a pause between them.
struct Reply {
  std::string bytes;
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

}  // namespace tovport_phone
