// Placeholder: the detection link, dialogue and classification are provided by the detection subsystem.
#include "component/tovcomprtv3.h"

namespace tov {
using automation::notAvailable;

void tovComPrtv3::VBDetectDevice(std::int16_t) { notAvailable("VBDetectDevice"); }
void tovComPrtv3::VBDeviceDetectTimeout(std::int16_t) { notAvailable("VBDeviceDetectTimeout"); }
void tovComPrtv3::VBDeviceDetected(std::int16_t, BStr) { notAvailable("VBDeviceDetected"); }
BStr tovComPrtv3::VBGetDeviceName(DeviceType) { notAvailable("VBGetDeviceName"); }
std::int32_t tovComPrtv3::GetDeviceName(DeviceType&) { notAvailable("GetDeviceName"); }
void tovComPrtv3::VBFillOutputStrings(std::int16_t, BStr, BStr, BStr) { notAvailable("VBFillOutputStrings"); }
VariantBool tovComPrtv3::VBOpenPort(std::int16_t&) { notAvailable("VBOpenPort"); }
VariantBool tovComPrtv3::VBClosePort(std::int16_t) { notAvailable("VBClosePort"); }
VariantBool tovComPrtv3::VBPortTest(std::int16_t) { notAvailable("VBPortTest"); }
VariantBool tovComPrtv3::VBSendCommand(std::int16_t, BStr&) { notAvailable("VBSendCommand"); }
void tovComPrtv3::VBMsgTimeout(std::int16_t) { notAvailable("VBMsgTimeout"); }
void tovComPrtv3::VBMsgReceived(std::int16_t, BStr&) { notAvailable("VBMsgReceived"); }
VariantBool tovComPrtv3::SendMessage(std::int16_t&, BStr&, VariantBool&) { notAvailable("SendMessage"); }
VariantBool tovComPrtv3::VBOpenComPort(std::int16_t) { notAvailable("VBOpenComPort"); }
VariantBool tovComPrtv3::VBsendOutput(std::int16_t, std::int16_t) { notAvailable("VBsendOutput"); }
void tovComPrtv3::VBcheckAnswer(std::int16_t, BStr) { notAvailable("VBcheckAnswer"); }
void tovComPrtv3::VBcheckDevice(std::int16_t, BStr) { notAvailable("VBcheckDevice"); }

}  // namespace tov
