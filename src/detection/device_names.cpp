// Display names of the DeviceType codes, as the DeviceDetected event carries them.
#include <tovport/automation/convert.h>
#include <tovport/component/tovcomprtv3.h>

namespace tov {

BStr tovComPrtv3::VBGetDeviceName(DeviceType dt) {
  switch (dt) {
    case dtNone: return u"kein Gerät";
    case dtNoSiemens: return u"kein BenQ-Siemens-Gerät";
    case dtSiemens_Other: return u"unbekanntes BenQ-Siemens-Gerät";
    case dtSiemens_C91: return {};  // known to the enum, never given a name
    default: break;
  }
  const int model = static_cast<int>(dt) - dtSiemens_SL45i;
  if (model < 0 || model >= kModelCount) return {};  // dtNotTested and values outside the enum
  return u"BenQ-Siemens " + automation::fromUtf8(kModelNames[static_cast<std::size_t>(model)]);
}

// Declared with a 32-bit result: the name goes through the automation conversion to a number,
// which no display name survives (error 13). VBGetDeviceName gives the text.
std::int32_t tovComPrtv3::GetDeviceName(DeviceType& dt) { return automation::textToI4(VBGetDeviceName(dt)); }

}  // namespace tov
