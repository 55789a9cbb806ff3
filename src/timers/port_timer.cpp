// Starting and stopping a port's system timer.
#include <tovport/automation/convert.h>
#include <tovport/component/tovcomprtv3.h>
#include "timers/timer_procs.h"

namespace tov {

using automation::numberText;

void tovComPrtv3::VBStartTimer(std::int16_t PortNr) {
  if (TimerIds(PortNr) != 0) return;  // a running timer keeps its id and period
  const std::int32_t period = std::int32_t{VBGetTimeoutSeconds(PortNr)} * 50;
  TimerIds(PortNr) = automation::toI4(StartPortTimer(PortNr, period));
  log(u"Started Timer for Port" + numberText(PortNr));
}

void tovComPrtv3::VBStopTimer(std::int16_t PortNr) {
  if (TimerIds(PortNr) == 0) return;
  if (platform::KillTimer(0, static_cast<platform::UINT_PTR>(TimerIds(PortNr)))) TimerIds(PortNr) = 0;
  log(u"Killed Timer for Port" + numberText(PortNr));
}

}  // namespace tov
