// The module's timer machinery: the start helper and one callback per port. A system timer
// carries no port with it, so the port is bound by choosing the callback, and each callback
// brings its tick to the instance created last on the thread (gComponent).
#pragma once

#include <cstdint>

#include <tovport/automation/variant.h>
#include <tovport/platform/message_queue.h>

namespace tov {

// Starts a thread timer with the period Interval ms whose ticks call TimerProc<PortNr>; returns
// SetTimer's id (0 on failure) as an I4, or Empty for a port number outside 1..MaxPorts.
automation::Variant StartPortTimer(std::int16_t PortNr, std::int32_t Interval);

// The callback of port PortNr (1..MaxPorts): TimerProc1 .. TimerProc32.
platform::TIMERPROC TimerProcOf(int PortNr);

}  // namespace tov
