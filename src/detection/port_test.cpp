// The port test: can the port be opened at all? The answer goes out as PortAvailable.
#include <tovport/component/tovcomprtv3.h>
#include "detection/link_support.h"
#include <tovport/platform/message_queue.h>

namespace tov {

using detection::skipOnFailure;

VariantBool tovComPrtv3::VBPortTest(std::int16_t PortNr) {
  skipOnFailure([&] { log(u"VBPortTest called for Port" + automation::numberText(PortNr)); });
  bool opened = false;
  skipOnFailure([&] { opened = isTrue(VBOpenComPort(PortNr)); });
  if (opened) {
    skipOnFailure([] { platform::PumpMessages(); });
    skipOnFailure([&] { VBClosePort(PortNr); });
    skipOnFailure([&] { fireEventPortAvailable(PortNr, pa_Available); });
  } else {
    // A port whose open failed after the handle was obtained stays open.
    skipOnFailure([&] { fireEventPortAvailable(PortNr, pa_NotAvailable); });
  }
  skipOnFailure([] { platform::PumpMessages(); });
  return VariantBool::False;
}

}  // namespace tov
