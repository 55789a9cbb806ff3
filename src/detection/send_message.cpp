// A free-form exchange of the host: its text goes out unchanged on an open port, and the first
// answer (MsgReceived) or the 6-second deadline (MsgTimeout) ends it through the port's timer.
#include <tovport/component/tovcomprtv3.h>
#include "detection/link_support.h"
#include "platform/clock.h"
#include <tovport/platform/message_queue.h>

namespace tov {

VariantBool tovComPrtv3::SendMessage(std::int16_t& PortNr, BStr& Message, VariantBool& PortOpen) {
  try {
    if (!isTrue(PortOpen)) {
      const bool pause = detection::needsPauseBeforeSend(detection::portKind(PortNr));
      const bool cts = isTrue(VBCommGetLine(PortNr, 16, VariantBool::False));
      if (!cts && !pause) {
        VBClosePort(PortNr);
        fireEventMsgTimeout();
        return VariantBool::False;
      }
      if (pause) platform::Sleep(detection::kPauseBeforeSendMs);
    }
    MessageMode = VariantBool::True;
    if (!isTrue(VBSendCommand(PortNr, Message))) {
      VBClosePort(PortNr);
      MessageMode = VariantBool::False;
      fireEventMsgTimeout();
      return VariantBool::False;
    }
    platform::PumpMessages();
    return VariantBool::True;
  } catch (const automation::RuntimeError&) {
    log(u"Unknown error in function SendMessage on PortNr.: " + automation::numberText(PortNr));
    return VariantBool::False;
  }
}

}  // namespace tov
