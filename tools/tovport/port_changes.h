// What `watch` makes of the system's notices: a burst of them becomes one rescan, and two scans
// of the machine's COM ports give the ports that went and the ports that came.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>

namespace tovport_cli {

// The COM ports present: number → the device behind it.
using PortMap = std::map<int, std::string>;

struct PortChanges {
  PortMap removed;
  PortMap added;
};
// A number whose device changed is removed (the old device) and added (the new one).
PortChanges comparePorts(const PortMap& before, const PortMap& after);

// Notices come in bursts (a USB adapter brings several device nodes, the system then sets their
// owner and mode): a burst is due once `quiet` has passed without a notice, or `longest` after
// its first notice, whichever comes first.
class Debounce {
 public:
  using Clock = std::chrono::steady_clock;
  using Duration = std::chrono::milliseconds;
  Debounce(Duration quiet, Duration longest) : quiet_(quiet), longest_(longest) {}

  void notice(Clock::time_point now);
  // Whether the open burst is due; a due burst is closed.
  bool due(Clock::time_point now);
  // How long to wait for the next notice: until the open burst is due, at most `idle`.
  Duration wait(Clock::time_point now, Duration idle) const;

 private:
  Duration quiet_, longest_;
  std::optional<Clock::time_point> first_, last_;
};

}  // namespace tovport_cli
