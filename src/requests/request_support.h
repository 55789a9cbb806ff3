// What the requests, the worker entry points and the outcome raisers share: worker names, the
// request's thread controller, starting a port's worker, and the events a request raises itself.
#pragma once

#include <cstdint>
#include <string_view>

#include <tovport/component/tovcomprtv3.h>

namespace tov::requests {

// Worker name of a port: the number as decimal text.
BStr workerName(std::int16_t port);

// The request's controller; after KillThreads there is none, and asking it is error 91.
threads::ThreadControl& currentWorker(tovComPrtv3& component);

// Entry methods a worker calls back on the component (matched without regard to case).
inline constexpr std::u16string_view kDetectEntry = u"VBclsdetectDevice";
inline constexpr std::u16string_view kPortTestEntry = u"VBclsPortTest";

// Starts the worker of port unless the current controller already has one of that name.
void startPortWorker(tovComPrtv3& component, std::int16_t port, std::u16string_view entry);

// Outcomes a request knows without testing: DeviceDetected(port, "", False, device, error) and
// PortAvailable(port, available), raised straight to the host.
void raiseUntested(tovComPrtv3& component, std::int16_t port, DeviceType device, DeviceDetectionError error);
void raiseUntested(tovComPrtv3& component, std::int16_t port, PortAvailability available);

}  // namespace tov::requests
