// Placeholder: the serial API is provided by the serial subsystem.
#include "component/tovcomprtv3.h"

namespace tov {
using automation::notAvailable;

BStr tovComPrtv3::VBGetSystemMessage(std::int32_t&) { notAvailable("VBGetSystemMessage"); }
std::int32_t tovComPrtv3::VBCommOpen(std::int16_t, BStr, BStr) { notAvailable("VBCommOpen"); }
std::int32_t tovComPrtv3::VBCommSet(std::int16_t, BStr) { notAvailable("VBCommSet"); }
std::int32_t tovComPrtv3::VBCommClose(std::int16_t) { notAvailable("VBCommClose"); }
std::int32_t tovComPrtv3::VBCommFlush(std::int16_t) { notAvailable("VBCommFlush"); }
std::int32_t tovComPrtv3::VBCommRead(std::int16_t, BStr&, std::int32_t) { notAvailable("VBCommRead"); }
std::int32_t tovComPrtv3::VBCommWrite(std::int16_t, BStr&) { notAvailable("VBCommWrite"); }
VariantBool tovComPrtv3::VBCommGetLine(std::int16_t, std::int16_t, VariantBool) { notAvailable("VBCommGetLine"); }
std::int32_t tovComPrtv3::VBCommSetLine(std::int16_t, std::int16_t, VariantBool) { notAvailable("VBCommSetLine"); }
std::int32_t tovComPrtv3::VBCommGetError(BStr&) { notAvailable("VBCommGetError"); }
std::int32_t tovComPrtv3::VBRecordError(std::int16_t, BStr) { notAvailable("VBRecordError"); }
std::int32_t tovComPrtv3::VBRecordCommError(std::int16_t, BStr, std::int32_t) { notAvailable("VBRecordCommError"); }

}  // namespace tov
