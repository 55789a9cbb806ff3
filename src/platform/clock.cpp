#include "platform/clock.h"

namespace tov::platform {
namespace {

RealClock realClock;
std::atomic<Clock*> current{&realClock};

}  // namespace

double dateFromCivil(int y, unsigned m, unsigned d) {
  using namespace std::chrono;
  const sys_days day = year{y} / month{m} / std::chrono::day{d};
  return static_cast<double>((day - sys_days{1899y / December / 30}).count());
}
bool RealClock::waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& cv,
                          std::int64_t deadlineMs, const std::function<bool()>& pred) {
  const auto remaining = deadlineMs - monotonicMs();
  if (remaining <= 0) return pred();
  return cv.wait_for(lock, std::chrono::milliseconds(remaining), pred);
}

ManualClock::ManualClock(double startDate) : startDate_(startDate) {}

double ManualClock::localDate() const {
  return startDate_ + static_cast<double>(now_.load()) / 1000.0 / kSecondsPerDay;
}

bool ManualClock::waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& cv,
                            std::int64_t deadlineMs, const std::function<bool()>& pred) {
  // Another thread may be about to make pred true (a worker posting a call): give it a short
  // real-time chance, then let simulated time jump to the deadline.
  if (cv.wait_for(lock, std::chrono::milliseconds(1), pred)) return true;
  advanceTo(deadlineMs);
  return pred();
}

Clock& clock() { return *current.load(); }

ScopedClock::ScopedClock(Clock& c) : previous_(current.exchange(&c)) {}
ScopedClock::~ScopedClock() { current.store(previous_); }

void Sleep(std::uint32_t ms) { clock().sleepMs(ms); }

}  // namespace tov::platform
