// Deadlines of the per-port timers are kept on the local clock in whole seconds: a deadline
// and "now" are both whole-second DATEs, so comparing them never trips over a fraction.
#pragma once

#include <cstdint>

#include <tovport/automation/variant.h>

namespace tov::timers {

// The local date and time as a DATE, cut down to the whole second.
automation::Date wholeSecondNow();
// d (a whole-second DATE) moved on by seconds, carrying over minutes, hours and days.
automation::Date addSeconds(automation::Date d, std::int64_t seconds);

}  // namespace tov::timers
