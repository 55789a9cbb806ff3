// One tick of a port's timer: report the timeout once the deadline has passed, otherwise poll
// the port and hand what arrived to the dialogue.
#include <tovport/automation/convert.h>
#include <tovport/component/tovcomprtv3.h>
#include <tovport/platform/message_queue.h>
#include "timers/whole_second_clock.h"

namespace tov {

void tovComPrtv3::VBTimerFunc(std::int16_t PortNr, std::int32_t, std::int32_t, std::int32_t, std::int32_t) {
  const Date now = timers::wholeSecondNow();
  if (now.value > VBGetTimeout(PortNr).value) {
    if (isTrue(MessageMode))
      VBMsgTimeout(PortNr);
    else
      VBDeviceDetectTimeout(PortNr);
  } else {
    BStr text;
    const std::int16_t n = automation::toI2(Variant(VBCommRead(PortNr, text, 64)));
    if (n > 0) {
      VBcheckAnswer(PortNr, text);
    } else if (n < 0) {
      BStr message;
      VBCommGetError(message);
      VBMsgReceived(PortNr, message);
    }
  }
  platform::PumpMessages();  // queued ticks of other ports, worker calls and events get their turn
}

}  // namespace tov
