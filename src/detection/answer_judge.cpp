// Judging the complete answers of a detection: the maker answer to "AT+CGMI" and the model
// answer to "AT+CGMM".
#include <tovport/automation/convert.h>
#include <tovport/component/tovcomprtv3.h>
#include "detection/model_table.h"

namespace tov {

using automation::containsNoCase;
using automation::numberText;

void tovComPrtv3::VBDeviceDetected(std::int16_t PortNr, BStr rcvd) {
  log(u"VBDeviceDetected, Port " + numberText(PortNr));
  log(u"Result: " + rcvd);
  switch (DialogueStep(PortNr)) {
    case 0:
      if (containsNoCase(rcvd, u"SIEMENS") || containsNoCase(rcvd, u"BENQ")) {
        VBSetTimeout(PortNr);
        if (isTrue(VBsendOutput(PortNr, 1))) break;
      }
      fireEventDeviceDetected(PortNr, dtNone, dde_CouldNotsendOutput, VariantBool::False);
      VBClosePort(PortNr);
      VBStopTimer(PortNr);
      break;
    case 1:
      if (containsNoCase(rcvd, u"ERROR"))
        fireEventDeviceDetected(PortNr, dtNone, dde_CouldNotsendOutput, VariantBool::False);
      else if (containsNoCase(rcvd, u"OK"))
        VBcheckDevice(PortNr, rcvd);
      VBClosePort(PortNr);
      VBStopTimer(PortNr);
      break;
    default:
      break;  // no command of the detection awaits an answer
  }
}

void tovComPrtv3::VBcheckDevice(std::int16_t PortNr, BStr rcvd) {
  log(u"VBcheckDevice, Port " + numberText(PortNr));
  if (const auto* row = detection::findModel(rcvd))
    fireEventDeviceDetected(PortNr, row->device, dde_NoError, automation::vb(row->doSiemensAPN));
  else
    fireEventDeviceDetected(PortNr, dtSiemens_Other, dde_NoError, VariantBool::False);
}

}  // namespace tov
