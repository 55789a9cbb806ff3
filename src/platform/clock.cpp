#include "platform/clock.h"

#include <ctime>
#include <thread>

namespace tov::platform {
namespace {

RealClock realClock;
std::atomic<Clock*> current{&realClock};

// Days from 1899-12-30 (DATE 0) to the calendar date of a broken-down local time.
double dateDays(const std::tm& local) {
  using namespace std::chrono;
  const sys_days day = year{local.tm_year + 1900} / (local.tm_mon + 1) / local.tm_mday;
  return static_cast<double>((day - sys_days{1899y / December / 30}).count());
}

}  // namespace

std::int64_t RealClock::monotonicMs() const {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

double RealClock::localDate() const {
  using namespace std::chrono;
  const auto now = system_clock::now();
  const std::time_t t = system_clock::to_time_t(now);
  std::tm local{};
  localtime_r(&t, &local);
  const double ms = static_cast<double>(duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000);
  const double secondOfDay = local.tm_hour * 3600.0 + local.tm_min * 60.0 + local.tm_sec + ms / 1000.0;
  return dateDays(local) + secondOfDay / kSecondsPerDay;
}

void RealClock::sleepMs(std::uint32_t ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

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
