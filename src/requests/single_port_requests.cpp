// The requests for one port: a detection (DetectDevice) and a port test (PortTest).
#include <tovport/component/tovcomprtv3.h>
#include "discovery/port_table.h"
#include "requests/request_support.h"

namespace tov {

using requests::raiseUntested;
using requests::startPortWorker;

namespace {
bool outsideTable(std::int16_t port) { return port < 1 || port > MaxPorts; }
}  // namespace

VariantBool tovComPrtv3::DetectDevice(std::int16_t PortNr) {
  if (isTrue(AnyPortPending()) || outsideTable(PortNr)) {
    raiseUntested(*this, PortNr, dtNotTested, dde_Pending);
    return VariantBool::False;
  }
  const ComPortType kind = discovery::GetPortType(PortNr, false);
  if (kind == cptNone || kind == cptBTSerialIn || kind == cptBTDialUp) {
    raiseUntested(*this, PortNr, dtNone, dde_CouldNotOpenPort);
    raiseUntested(*this, PortNr, dtNone, dde_NoMoreDevices);
    return VariantBool::True;
  }
  Pending(PortNr) = VariantBool::True;
  Worker = threads::ThreadControl::create();
  startPortWorker(*this, PortNr, requests::kDetectEntry);
  return VariantBool::True;
}

VariantBool tovComPrtv3::PortTest(std::int16_t PortNr) {
  if (isTrue(AnyPortPending()) || outsideTable(PortNr)) {
    raiseUntested(*this, PortNr, pa_VBPending);
    return VariantBool::False;
  }
  Worker = threads::ThreadControl::create();
  Pending(PortNr) = VariantBool::True;
  startPortWorker(*this, PortNr, requests::kPortTestEntry);
  return VariantBool::True;
}

}  // namespace tov
