// Placeholder: requests, worker entry points and events are provided by the requests subsystem.
#include "component/tovcomprtv3.h"

namespace tov {
using automation::notAvailable;

VariantBool tovComPrtv3::DetectDevice(std::int16_t) { notAvailable("DetectDevice"); }
void tovComPrtv3::VBclsDetectDevice(Variant&) { notAvailable("VBclsDetectDevice"); }
VariantBool tovComPrtv3::DetectAllDevices() { notAvailable("DetectAllDevices"); }
VariantBool tovComPrtv3::DetectDevicesFromList(BStr&) { notAvailable("DetectDevicesFromList"); }
VariantBool tovComPrtv3::PortTest(std::int16_t) { notAvailable("PortTest"); }
void tovComPrtv3::VBclsPortTest(Variant&) { notAvailable("VBclsPortTest"); }
VariantBool tovComPrtv3::TestAllPorts() { notAvailable("TestAllPorts"); }
void tovComPrtv3::KillThreads() { notAvailable("KillThreads"); }
}  // namespace tov
