// The four event raisers. The outcome raisers also close a port's part of a request: they clear
// its pending flag, raise the end mark after the last pending port, and stop the port's timer
// and worker.
#include <tovport/component/tovcomprtv3.h>
#include <tovport/platform/message_queue.h>
#include "requests/request_support.h"

namespace tov {

using platform::PumpMessages;
using requests::workerName;

namespace {
threads::ThreadControl& worker(tovComPrtv3& c) { return requests::currentWorker(c); }
BStr portName(std::int16_t port) { return workerName(port); }
}  // namespace

void tovComPrtv3::fireEventMsgTimeout() { raiseMsgTimeout(); }

void tovComPrtv3::fireEventMsgReceived(BStr& msg) { raiseMsgReceived(msg); }

void tovComPrtv3::fireEventDeviceDetected(std::int16_t PortNr, DeviceType device, DeviceDetectionError error,
                                          VariantBool DoSiemensAPN) {
  PumpMessages();
  BStr name;
  if (error == dde_NoError) {
    log(u"fireeventDeviceDetected, device found for Port " + portName(PortNr));
    name = VBGetDeviceName(device);
  } else {
    log(u"fireeventDeviceDetected, nodevice found for Port " + portName(PortNr));
  }
  raiseDeviceDetected(PortNr, name, DoSiemensAPN, device, error);
  PumpMessages();
  Pending(PortNr) = VariantBool::False;
  if (AnyPortPending() == VariantBool::False) {
    DeviceDetectionError endMark = dde_NoMoreDevices;
    raiseDeviceDetected(PortNr, name, DoSiemensAPN, device, endMark);
  }
  BStr workerName = portName(PortNr);
  if (isTrue(worker(*this).ThreadExists(workerName))) {
    VBStopTimer(PortNr);
    VBClosePort(PortNr);
    worker(*this).KillThread(workerName);
  }
  PumpMessages();
}

VariantBool tovComPrtv3::fireEventPortAvailable(std::int16_t PortNr, PortAvailability available) {
  PumpMessages();
  raisePortAvailable(PortNr, available);
  PumpMessages();
  Pending(PortNr) = VariantBool::False;
  if (AnyPortPending() == VariantBool::False) {
    PortAvailability endMark = pa_NoMorePorts;
    raisePortAvailable(PortNr, endMark);
    PumpMessages();
  }
  log(u"fireEventPortAvailable for Port " + portName(PortNr));
  BStr workerName = portName(PortNr);
  if (isTrue(worker(*this).ThreadExists(workerName))) {
    VBStopTimer(PortNr);
    worker(*this).KillThread(workerName);
  }
  return VariantBool::False;
}

}  // namespace tov
