// Opening and closing a port for the AT dialogue: 57600 baud, 8N1, with RTS and DTR raised so
// that the phone listens (USB passive ports use XON/XOFF and keep the lines as the driver set them).
#include <tovport/component/tovcomprtv3.h>
#include "detection/link_support.h"

namespace tov {

using automation::numberText;
using detection::kNextLogLine;

namespace {
constexpr std::u16string_view kDetectionSettings = u"baud=57600 parity=N data=8 stop=1";
constexpr std::u16string_view kUsbPassiveSettings = u"baud=57600 parity=N data=8 stop=1 xon=on";
}  // namespace

VariantBool tovComPrtv3::VBOpenPort(std::int16_t& PortNr) { return VBOpenComPort(PortNr); }

VariantBool tovComPrtv3::VBOpenComPort(std::int16_t PortNr) {
  try {
    const BStr settings(detection::portKind(PortNr) == cptUSBPassive ? kUsbPassiveSettings : kDetectionSettings);
    if (VBCommOpen(PortNr, u"COM" + numberText(PortNr), settings) != 0) {
      BStr errorLine;
      VBCommGetError(errorLine);
      log(u"Error in function VBOpenComPort on COM " + numberText(PortNr) + BStr(kNextLogLine) +
          u"-> CreateFile returned Error" + BStr(kNextLogLine) + u"-> LastDLLError: " + errorLine);
      return VariantBool::False;  // a port opened before a later step failed stays open
    }
    if (detection::portKind(PortNr) != cptUSBPassive) {
      VBCommSetLine(PortNr, 3, VariantBool::True);  // RTS
      VBCommSetLine(PortNr, 2, VariantBool::True);  // DTR
    }
    return VariantBool::True;
  } catch (const automation::RuntimeError&) {
    log(u"Unknown error in function VBOpenComPort on PortNr.: " + numberText(PortNr));
    return VariantBool::False;
  }
}

VariantBool tovComPrtv3::VBClosePort(std::int16_t PortNr) {
  try {
    VBCommClose(PortNr);
    return VariantBool::True;
  } catch (const automation::RuntimeError&) {
    log(u"Unknown error in function VBClosePort on PortNr.: " + numberText(PortNr));
    return VariantBool::False;
  }
}

}  // namespace tov
