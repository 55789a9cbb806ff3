// The commands of the dialogue and sending one of them: a command that went out whole arms the
// port's deadline and timer, whose ticks then collect the answer.
#include <algorithm>

#include <tovport/component/tovcomprtv3.h>
#include "detection/link_support.h"
#include "platform/last_error.h"
#include <tovport/platform/message_queue.h>

namespace tov {

using automation::numberText;
using detection::kNextLogLine;
using detection::skipOnFailure;

namespace {

// Seconds an answer may take: a free-form exchange gets longer than a detection, and the first
// four ports longer than the others.
std::int16_t answerSeconds(std::int16_t PortNr, VariantBool messageMode) {
  if (isTrue(messageMode)) return 6;
  return PortNr < 5 ? 4 : 2;
}

}  // namespace

void tovComPrtv3::VBFillOutputStrings(std::int16_t PortNr, BStr string1, BStr string2, BStr string3) {
  DialogueStep(PortNr) = -1;
  OutputStrings(0) = string1 + u"\r";
  OutputStrings(1) = string2 + u"\r";
  OutputStrings(2) = string3 + u"\r";
}

VariantBool tovComPrtv3::VBsendOutput(std::int16_t PortNr, std::int16_t Index) {
  const std::int16_t index = std::clamp<std::int16_t>(Index, 0, 3);
  skipOnFailure([&] { DialogueStep(PortNr) = index; });
  bool sent = false;
  // The command goes by reference: the set is shared, and a refill during the send's yields shows.
  skipOnFailure([&] { sent = isTrue(VBSendCommand(PortNr, OutputStrings(index))); });
  if (sent) return VariantBool::True;
  skipOnFailure([&] { VBClosePort(PortNr); });
  skipOnFailure([&] {
    log(u"Error in function VBsendOutput." + BStr(kNextLogLine) + u"-> VBSendCommand returned FALSE" +
        BStr(kNextLogLine) + u"-> LastDLLError: " + numberText(platform::GetLastError()));
  });
  skipOnFailure([&] { VBStopTimer(PortNr); });
  return VariantBool::False;
}

VariantBool tovComPrtv3::VBSendCommand(std::int16_t PortNr, BStr& strCommand) {
  VariantBool result = VariantBool::False;
  try {
    const auto size = static_cast<std::int32_t>(strCommand.size());
    const std::int32_t written = VBCommWrite(PortNr, strCommand);
    platform::PumpMessages();
    if (written == size) {
      log(u"VBSendCommand on PortNr.: " + numberText(PortNr) + u", Command: |" + strCommand + u"|");
      result = VariantBool::True;
      log(u"Setting Timeout for Port " + numberText(PortNr));
      VBSetTimeoutSeconds(PortNr, answerSeconds(PortNr, MessageMode));
      VBSetTimeout(PortNr);
      VBStartTimer(PortNr);  // a running timer keeps its period; the deadline above is renewed
    } else {
      BStr errorLine;
      VBCommGetError(errorLine);
      log(u"Error in function VBSendCommand on PortNr.: " + numberText(PortNr) + u", Command: " + strCommand +
          BStr(kNextLogLine) + u"-> LastDLLError: " + errorLine + u" LngStatus: " + numberText(written) +
          u" LngSize: " + numberText(size));
    }
  } catch (const automation::RuntimeError&) {
    log(u"Unknown error in function VBSendCommand on PortNr.: " + numberText(PortNr) + u", Command: " + strCommand);
  }
  return result;
}

}  // namespace tov
