// Placeholder: per-port timeouts and timers are provided by the timers subsystem.
#include "component/tovcomprtv3.h"

namespace tov {
using automation::notAvailable;

void tovComPrtv3::VBSetTimeoutSeconds(std::int16_t, std::int16_t) { notAvailable("VBSetTimeoutSeconds"); }
std::int16_t tovComPrtv3::VBGetTimeoutSeconds(std::int16_t) { notAvailable("VBGetTimeoutSeconds"); }
void tovComPrtv3::VBSetTimeout(std::int16_t) { notAvailable("VBSetTimeout"); }
Date tovComPrtv3::VBGetTimeout(std::int16_t) { notAvailable("VBGetTimeout"); }
void tovComPrtv3::VBStartTimer(std::int16_t) { notAvailable("VBStartTimer"); }
void tovComPrtv3::VBStopTimer(std::int16_t) { notAvailable("VBStopTimer"); }
void tovComPrtv3::VBTimerFunc(std::int16_t, std::int32_t, std::int32_t, std::int32_t, std::int32_t) {
  notAvailable("VBTimerFunc");
}

}  // namespace tov
