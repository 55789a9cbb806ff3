// How long one read or write may take under a port's COMMTIMEOUTS. Shared by the backends so that
// simulated and real devices time out alike; each measures time on its own millisecond scale.
#pragma once

#include <cstdint>
#include <optional>

#include <tovport/platform/win32.h>

namespace tov::platform {

// The deadlines of one ReadFile of toRead bytes (toRead > 0). The backend loop: take what is
// buffered, report arrivals, return when the count is reached or expired(), else wait until
// wakeAt() or until more bytes come. A timeout is no failure: the read returns what it has.
class ReadDeadline {
 public:
  ReadDeadline(const COMMTIMEOUTS& timeouts, DWORD toRead, std::int64_t startMs);

  void bytesArrived(std::int64_t nowMs);
  bool expired(DWORD have, std::int64_t nowMs) const;
  // When to look again if nothing arrives; nullopt: no timeout runs, wait for bytes.
  std::optional<std::int64_t> wakeAt() const;

 private:
  enum class Mode { ReturnBuffered, ReturnOnFirstByte, Timed };
  Mode mode_ = Mode::Timed;
  std::optional<std::int64_t> totalDeadline_;
  std::optional<std::int64_t> intervalMs_;
  std::optional<std::int64_t> lastArrival_;
};

// The total timeout of a write of `bytes` bytes; nullopt when multiplier and constant are both 0.
std::optional<std::int64_t> writeTimeoutMs(const COMMTIMEOUTS& timeouts, DWORD bytes);

}  // namespace tov::platform
