// Per-port timeout length and deadline of the running command exchange.
#include <tovport/component/tovcomprtv3.h>
#include "timers/whole_second_clock.h"

namespace tov {

void tovComPrtv3::VBSetTimeoutSeconds(std::int16_t PortNr, std::int16_t newValue) { TimeoutSeconds(PortNr) = newValue; }

std::int16_t tovComPrtv3::VBGetTimeoutSeconds(std::int16_t PortNr) { return TimeoutSeconds(PortNr); }

void tovComPrtv3::VBSetTimeout(std::int16_t PortNr) {
  TimeoutAt(PortNr) = timers::addSeconds(timers::wholeSecondNow(), VBGetTimeoutSeconds(PortNr));
}

Date tovComPrtv3::VBGetTimeout(std::int16_t PortNr) { return TimeoutAt(PortNr); }

}  // namespace tov
