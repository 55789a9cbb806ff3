// The methods a worker calls back on the component, and the emergency stop of every worker.
#include <tovport/automation/convert.h>
#include <tovport/automation/dispatch.h>
#include <tovport/component/tovcomprtv3.h>
#include "requests/request_support.h"

namespace tov {
namespace {

// The worker's call: has the object registered with the worker run method for the port. A port
// outside the table only ends the worker of that name.
void runWorkerCall(tovComPrtv3& component, const Variant& Port, std::u16string_view method) {
  const std::int16_t p = automation::toI2(Port);
  BStr name = automation::toText(Port);
  threads::ThreadControl& worker = requests::currentWorker(component);
  if (p > MaxPorts || p <= 0) {
    if (isTrue(worker.ThreadExists(name))) worker.KillThread(name);
    return;
  }
  automation::Ref<automation::IDispatch> target = worker.ThreadObject(name);
  if (!target) throw automation::RuntimeError(automation::kErrObjectNotSet);
  automation::callByName(*target, method, {Variant(p)});
}

}  // namespace

void tovComPrtv3::VBclsDetectDevice(Variant& Port) { runWorkerCall(*this, Port, u"VBDetectDevice"); }

void tovComPrtv3::VBclsPortTest(Variant& Port) { runWorkerCall(*this, Port, u"VBPortTest"); }

// Stops every worker of the latest request and closes every port; pending flags stay as they are.
void tovComPrtv3::KillThreads() {
  if (!Worker) return;
  for (std::int16_t p = 1; p <= MaxPorts; ++p) {
    BStr name = requests::workerName(p);
    if (isTrue(requests::currentWorker(*this).ThreadExists(name))) {
      VBStopTimer(p);
      requests::currentWorker(*this).KillThread(name);
    }
    VBClosePort(p);
  }
  Worker.reset();
}

}  // namespace tov
