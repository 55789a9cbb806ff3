// Where a tick's chunk or timeout goes: to the free-form exchange while one runs (MessageMode,
// shared by every port of the instance), otherwise to the detection dialogue.
#include <tovport/component/tovcomprtv3.h>
#include "detection/link_support.h"

namespace tov {

using automation::containsNoCase;

void tovComPrtv3::VBcheckAnswer(std::int16_t PortNr, BStr Answer) {
  log(u"VBcheckAnswer, Port " + automation::numberText(PortNr));
  if (isTrue(MessageMode)) {
    VBMsgReceived(PortNr, Answer);
    return;
  }
  // Only a chunk that ends an answer is judged; anything else is dropped, not joined to the next.
  if (containsNoCase(Answer, u"OK") || containsNoCase(Answer, u"ERROR")) VBDeviceDetected(PortNr, Answer);
}

// The port stays open: the host may go on talking to it. A detection whose answer this takes
// (a read failure in its tick, or a chunk while an exchange of the host runs) has lost its timer
// and would stay pending for good: it ends here, its port closed, with dde_CouldNotsendOutput.
void tovComPrtv3::VBMsgReceived(std::int16_t PortNr, BStr& strReceived) {
  const bool detecting = isTrue(Pending(PortNr)) && TimerIds(PortNr) != 0 &&
                         (DialogueStep(PortNr) == 0 || DialogueStep(PortNr) == 1);
  VBStopTimer(PortNr);
  fireEventMsgReceived(strReceived);
  MessageMode = VariantBool::False;
  if (!detecting) return;
  VBClosePort(PortNr);
  fireEventDeviceDetected(PortNr, dtNone, dde_CouldNotsendOutput, VariantBool::False);
}

void tovComPrtv3::VBMsgTimeout(std::int16_t PortNr) {
  VBStopTimer(PortNr);
  VBClosePort(PortNr);
  fireEventMsgTimeout();
  MessageMode = VariantBool::False;
}

void tovComPrtv3::VBDeviceDetectTimeout(std::int16_t PortNr) {
  VBClosePort(PortNr);
  VBStopTimer(PortNr);
  fireEventDeviceDetected(PortNr, dtNone, dde_Timeout, VariantBool::False);
}

}  // namespace tov
