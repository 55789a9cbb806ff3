#include "requests/request_support.h"

#include <tovport/automation/convert.h>

namespace tov::requests {

BStr workerName(std::int16_t port) { return automation::numberText(port); }

threads::ThreadControl& currentWorker(tovComPrtv3& component) {
  if (!component.Worker) throw automation::RuntimeError(automation::kErrObjectNotSet);
  return *component.Worker;
}

void startPortWorker(tovComPrtv3& component, std::int16_t port, std::u16string_view entry) {
  threads::ThreadControl& worker = currentWorker(component);
  BStr name = workerName(port);
  if (isTrue(worker.ThreadExists(name))) return;
  automation::Ref<automation::IDispatch> target(static_cast<automation::IDispatch*>(&component));
  BStr method(entry);
  std::int16_t portNr = port;
  Variant argument = Variant::byRef(&portNr);
  worker.StartThread(name, target, method, argument);
}

void raiseUntested(tovComPrtv3& component, std::int16_t port, DeviceType device, DeviceDetectionError error) {
  BStr name;
  VariantBool apn = VariantBool::False;
  component.raiseDeviceDetected(port, name, apn, device, error);
}

void raiseUntested(tovComPrtv3& component, std::int16_t port, PortAvailability available) {
  component.raisePortAvailable(port, available);
}

}  // namespace tov::requests
