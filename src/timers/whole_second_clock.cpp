#include "timers/whole_second_clock.h"

#include <cmath>

#include "platform/clock.h"

namespace tov::timers {
namespace {

// Seconds since the DATE origin; the millisecond rounding first keeps 12:00:01.000 from
// reading as 12:00:00.999 after the floating-point multiplication.
std::int64_t wholeSecondsOf(double date) {
  const std::int64_t ms = std::llround(date * platform::kSecondsPerDay * 1000.0);
  return ms >= 0 ? ms / 1000 : -((-ms + 999) / 1000);
}

automation::Date dateOfSeconds(std::int64_t seconds) {
  return automation::Date{static_cast<double>(seconds) / platform::kSecondsPerDay};
}

}  // namespace

automation::Date wholeSecondNow() { return dateOfSeconds(wholeSecondsOf(platform::clock().localDate())); }

automation::Date addSeconds(automation::Date d, std::int64_t seconds) {
  return dateOfSeconds(wholeSecondsOf(d.value) + seconds);
}

}  // namespace tov::timers
