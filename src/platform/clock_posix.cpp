// The real clock on a POSIX system.
#include <ctime>
#include <thread>

#include "platform/clock.h"

namespace tov::platform {

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
  return dateFromCivil(local.tm_year + 1900, static_cast<unsigned>(local.tm_mon + 1),
                       static_cast<unsigned>(local.tm_mday)) +
         secondOfDay / kSecondsPerDay;
}

void RealClock::sleepMs(std::uint32_t ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

}  // namespace tov::platform
