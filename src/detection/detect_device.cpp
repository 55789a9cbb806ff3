// Starting a detection on one port: open it, check that the phone is ready and send "AT+CGMI".
// The rest of the dialogue runs in the port's timer ticks.
#include <tovport/component/tovcomprtv3.h>
#include "detection/link_support.h"
#include "platform/clock.h"
#include "platform/last_error.h"
#include <tovport/platform/message_queue.h>

namespace tov {

using automation::numberText;
using detection::kNextLogLine;

void tovComPrtv3::VBDetectDevice(std::int16_t PortNr) {
  try {
    if (!isTrue(VBOpenComPort(PortNr))) {
      VBClosePort(PortNr);
      log(u"Error in function VBDetectDevice." + BStr(kNextLogLine) + u"-> VBOpenComPort on COM " + numberText(PortNr) +
          u" returned FALSE" + BStr(kNextLogLine) + u"-> LastDLLError: " + numberText(platform::GetLastError()));
      fireEventDeviceDetected(PortNr, dtNone, dde_CouldNotOpenPort, VariantBool::False);
      platform::PumpMessages();
      return;
    }
    platform::PumpMessages();
    const bool pause = detection::needsPauseBeforeSend(detection::portKind(PortNr));
    if (pause) log(u"sleep USB/IRDA SET");
    VBFillOutputStrings(PortNr);
    const bool cts = isTrue(VBCommGetLine(PortNr, 16, VariantBool::False));
    if (!cts && !pause) {
      VBClosePort(PortNr);
      fireEventDeviceDetected(PortNr, dtNone, dde_CouldNotsendOutput, VariantBool::False);
      return;
    }
    if (pause) platform::Sleep(detection::kPauseBeforeSendMs);
    if (!isTrue(VBsendOutput(PortNr, 0))) {
      VBClosePort(PortNr);
      log(u"Error in function VBDetectDevice." + BStr(kNextLogLine) + u"-> VBsendOutput returned FALSE" +
          BStr(kNextLogLine) + u"-> LastDLLError: " + numberText(platform::GetLastError()));
      fireEventDeviceDetected(PortNr, dtNone, dde_CouldNotsendOutput, VariantBool::False);
    }
    platform::PumpMessages();
  } catch (const automation::RuntimeError&) {
    log(u"Unknown error in function VBDetectDevice on PortNr.: " + numberText(PortNr));
  }
}

}  // namespace tov
