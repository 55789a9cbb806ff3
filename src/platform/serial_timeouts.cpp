#include "platform/serial_timeouts.h"

#include <algorithm>

namespace tov::platform {
namespace {

// multiplier x count + constant, in 64 bits so that MAXDWORD values cannot wrap.
std::optional<std::int64_t> totalTimeout(DWORD multiplier, DWORD constant, DWORD count) {
  if (multiplier == 0 && constant == 0) return std::nullopt;
  return static_cast<std::int64_t>(multiplier) * count + static_cast<std::int64_t>(constant);
}

}  // namespace

ReadDeadline::ReadDeadline(const COMMTIMEOUTS& t, DWORD toRead, std::int64_t startMs) {
  const bool intervalMax = t.ReadIntervalTimeout == MAXDWORD;
  if (intervalMax && t.ReadTotalTimeoutMultiplier == 0 && t.ReadTotalTimeoutConstant == 0) {
    mode_ = Mode::ReturnBuffered;
    return;
  }
  if (intervalMax && t.ReadTotalTimeoutMultiplier == MAXDWORD && t.ReadTotalTimeoutConstant > 0 &&
      t.ReadTotalTimeoutConstant < MAXDWORD) {
    mode_ = Mode::ReturnOnFirstByte;
    totalDeadline_ = startMs + t.ReadTotalTimeoutConstant;
    return;
  }
  if (const auto total = totalTimeout(t.ReadTotalTimeoutMultiplier, t.ReadTotalTimeoutConstant, toRead))
    totalDeadline_ = startMs + *total;
  if (t.ReadIntervalTimeout != 0) intervalMs_ = t.ReadIntervalTimeout;
}

void ReadDeadline::bytesArrived(std::int64_t nowMs) { lastArrival_ = nowMs; }

bool ReadDeadline::expired(DWORD have, std::int64_t nowMs) const {
  switch (mode_) {
    case Mode::ReturnBuffered:
      return true;
    case Mode::ReturnOnFirstByte:
      return have > 0 || nowMs >= *totalDeadline_;
    case Mode::Timed:
      break;
  }
  if (totalDeadline_ && nowMs >= *totalDeadline_) return true;
  return intervalMs_ && lastArrival_ && nowMs >= *lastArrival_ + *intervalMs_;
}

std::optional<std::int64_t> ReadDeadline::wakeAt() const {
  std::optional<std::int64_t> at = totalDeadline_;
  if (mode_ == Mode::Timed && intervalMs_ && lastArrival_) {
    const std::int64_t gapEnd = *lastArrival_ + *intervalMs_;
    at = at ? std::min(*at, gapEnd) : gapEnd;
  }
  return at;
}

std::optional<std::int64_t> writeTimeoutMs(const COMMTIMEOUTS& t, DWORD bytes) {
  return totalTimeout(t.WriteTotalTimeoutMultiplier, t.WriteTotalTimeoutConstant, bytes);
}

}  // namespace tov::platform
