// The requests for every port: a detection of each port the discovery finds testable
// (DetectAllDevices) and a port test of all 32 ports (TestAllPorts).
#include <tovport/automation/convert.h>
#include <tovport/component/tovcomprtv3.h>
#include "discovery/enumerators.h"
#include "discovery/port_table.h"
#include "requests/request_support.h"

namespace tov {

using automation::numberText;
using requests::raiseUntested;
using requests::startPortWorker;

VariantBool tovComPrtv3::DetectAllDevices() {
  if (isTrue(AnyPortPending())) {
    raiseUntested(*this, 1, dtNotTested, dde_Pending);
    return VariantBool::False;
  }

  bool anyToTest = false;
  std::int16_t msStackPort = 0;  // the last port the Microsoft stack confirmed
  for (std::int16_t p = 1; p <= MaxPorts; ++p) {
    const ComPortType kind = discovery::GetPortType(p, p == 1);  // a fresh discovery per request
    log(u"Comporttype returns " + numberText(std::int32_t{kind}));
    if (kind == cptNone || kind == cptUnknown || kind == cptBTSerialIn || kind == cptBTDialUp) {
      log(u"Not testing COM" + numberText(p));
      Pending(p) = VariantBool::False;
      continue;
    }
    if (kind == cptBluetooth) {
      log(u"MSBluetooth on Port" + numberText(p));
      if (discovery::isMicrosoftBluetoothPortXP(p)) {
        log(u"MS Stack on Port" + numberText(p));
        msStackPort = p;
      } else {
        log(u"Bluetooth, but no MSBluetooth on COM" + numberText(p));
      }
    } else {
      log(u"No Bluetooth on COM" + numberText(p));
    }
    Pending(p) = VariantBool::True;
    anyToTest = true;
  }

  if (anyToTest) Worker = threads::ThreadControl::create();

  for (std::int16_t p = 1; p <= MaxPorts; ++p) {
    if (isTrue(Pending(p))) {
      BStr name = requests::workerName(p);
      if (!isTrue(requests::currentWorker(*this).ThreadExists(name))) {
        log(u"Starting Thread " + numberText(p));
        startPortWorker(*this, p, requests::kDetectEntry);
      }
    } else if (p == msStackPort) {
      // Reporting a Microsoft-stack port untested: kept for that stack, but the first pass marks
      // every such port for testing, so this is not reached.
      log(u"MS Stack event raised for port" + numberText(p));
      BStr name = VBGetDeviceName(dtSiemens_Other);
      VariantBool apn = VariantBool::False;
      DeviceType device = dtSiemens_Other;
      DeviceDetectionError error = dde_NoError;
      std::int16_t port = p;
      raiseDeviceDetected(port, name, apn, device, error);
    } else {
      raiseUntested(*this, p, dtNone, dde_CouldNotOpenPort);
    }
  }

  if (!anyToTest) raiseUntested(*this, 1, dtNone, dde_NoMoreDevices);
  return VariantBool::True;
}

VariantBool tovComPrtv3::TestAllPorts() {
  if (isTrue(AnyPortPending())) {
    raiseUntested(*this, 1, pa_VBPending);
    return VariantBool::False;
  }
  for (VariantBool& pending : Pending) pending = VariantBool::True;
  Worker = threads::ThreadControl::create();
  for (std::int16_t p = 1; p <= MaxPorts; ++p) startPortWorker(*this, p, requests::kPortTestEntry);
  return VariantBool::True;
}

}  // namespace tov
