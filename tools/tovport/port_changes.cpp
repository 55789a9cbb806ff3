#include "port_changes.h"

#include <algorithm>

namespace tovport_cli {

PortChanges comparePorts(const PortMap& before, const PortMap& after) {
  PortChanges changes;
  const auto keptIn = [](const PortMap& other, const PortMap::value_type& port) {
    const auto it = other.find(port.first);
    return it != other.end() && it->second == port.second;
  };
  for (const auto& port : before)
    if (!keptIn(after, port)) changes.removed.insert(port);
  for (const auto& port : after)
    if (!keptIn(before, port)) changes.added.insert(port);
  return changes;
}

void Debounce::notice(Clock::time_point now) {
  if (!first_) first_ = now;
  last_ = now;
}

bool Debounce::due(Clock::time_point now) {
  if (!first_ || (now < *last_ + quiet_ && now < *first_ + longest_)) return false;
  first_.reset();
  last_.reset();
  return true;
}

Debounce::Duration Debounce::wait(Clock::time_point now, Duration idle) const {
  if (!first_) return idle;
  const auto dueAt = std::min(*last_ + quiet_, *first_ + longest_);
  return std::clamp(std::chrono::ceil<Duration>(dueAt - now), Duration(0), idle);
}

}  // namespace tovport_cli
