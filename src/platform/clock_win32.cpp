// The real clock on Windows: the tick count, the local time and Sleep of kernel32.
#include "platform/clock.h"

// Last: windows.h macros would rewrite the platform headers.
#include <windows.h>

namespace tov::platform {

std::int64_t RealClock::monotonicMs() const { return static_cast<std::int64_t>(GetTickCount64()); }

double RealClock::localDate() const {
  SYSTEMTIME t{};
  GetLocalTime(&t);
  const double secondOfDay = t.wHour * 3600.0 + t.wMinute * 60.0 + t.wSecond + t.wMilliseconds / 1000.0;
  return dateFromCivil(t.wYear, t.wMonth, t.wDay) + secondOfDay / kSecondsPerDay;
}

void RealClock::sleepMs(std::uint32_t ms) { ::Sleep(ms); }

}  // namespace tov::platform
