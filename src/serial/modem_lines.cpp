// Reading and setting the modem control lines of a port.
#include <tovport/component/tovcomprtv3.h>
#include <tovport/platform/serial.h>
#include "serial/runtime_trap.h"

namespace tov {
namespace {

using namespace platform;

// The EscapeCommFunction code for a line number: 1 break, 2 DTR, 3 RTS. Any other line gives 0,
// which the platform refuses, so it ends as a recorded failure.
DWORD escapeCode(std::int16_t intLine, bool raise) {
  switch (intLine) {
    case 1: return raise ? SETBREAK : CLRBREAK;
    case 2: return raise ? SETDTR : CLRDTR;
    case 3: return raise ? SETRTS : CLRRTS;
    default: return 0;
  }
}

}  // namespace

// intLine is a mask of modem-status bits (0x10 CTS, 0x20 DSR, 0x40 ring, 0x80 carrier): any one
// of them on answers True. When the status can't be read, the caller's blnState comes back.
// Failures are recorded under the operation's older name, VBCommReadCD.
VariantBool tovComPrtv3::VBCommGetLine(std::int16_t PortNr, std::int16_t intLine, VariantBool blnState) {
  return serial::trapRuntimeErrors(
      LastError, u"VBCommReadCD",
      [&]() -> VariantBool {
        DWORD status = 0;
        if (GetCommModemStatus(CommPorts(PortNr).hCom, &status) == FALSE) {
          VBRecordError(PortNr, u"VBCommReadCD (GetCommModemStatus)");
          return blnState;
        }
        return automation::vb((static_cast<DWORD>(intLine) & status) != 0);
      },
      [&](int) { return blnState; });
}

std::int32_t tovComPrtv3::VBCommSetLine(std::int16_t PortNr, std::int16_t intLine, VariantBool blnState) {
  return serial::trapRuntimeErrors(
      LastError, u"VBCommSetLine",
      [&]() -> std::int32_t {
        if (EscapeCommFunction(CommPorts(PortNr).hCom, escapeCode(intLine, isTrue(blnState))) == FALSE)
          return VBRecordError(PortNr, u"VBCommSetLine (EscapeCommFunction)");
        return 0;
      },
      serial::returnErrorNumber);
}

}  // namespace tov
