#include <tovport/component/tovcomprtv3.h>

#include <tovport/automation/dispatch.h>
#include "component/debug_log.h"
#include <tovport/component/guids.h>
#include "component/mod_public.h"
#include <tovport/platform/message_queue.h>
#include "threads/apartment_call.h"

namespace tov {

using namespace automation;

tovComPrtv3::tovComPrtv3()
    : events_(new ConnectionPoint(DIID___tovComPrtv3)), apartment_(platform::GetCurrentThreadId()) {}

// Termination releases memory only: open ports, timers and workers are left as they are.
tovComPrtv3::~tovComPrtv3() = default;

Ref<tovComPrtv3> tovComPrtv3::create() {
  Ref<tovComPrtv3> instance(new tovComPrtv3());
  gComponent() = instance;
  return instance;
}

HRESULT tovComPrtv3::QueryInterface(const GUID& iid, void** out) {
  if (!out) return E_POINTER;
  if (iid == IID_IUnknown || iid == IID_IDispatch || iid == IID__tovComPrtv3) {
    *out = static_cast<IDispatch*>(this);
  } else if (iid == IID_IConnectionPointContainer) {
    *out = static_cast<IConnectionPointContainer*>(this);
  } else {
    *out = nullptr;
    return E_NOINTERFACE;
  }
  AddRef();
  return S_OK;
}

HRESULT tovComPrtv3::GetIDsOfNames(std::u16string_view name, DISPID* id) {
  return Dispatcher<tovComPrtv3>(methods()).getIDsOfNames(name, id);
}

HRESULT tovComPrtv3::Invoke(DISPID id, DispParams& params, Variant* result, ExcepInfo* excep, unsigned* argErr) {
  Ref<tovComPrtv3> keepAlive(this);  // a call may release the host's last reference
  auto call = [keepAlive, id](DispParams& args, Variant* value, ExcepInfo* error, unsigned* badArg) {
    return Dispatcher<tovComPrtv3>(methods()).invoke(*keepAlive, id, args, value, error, badArg);
  };
  // A call from another thread is carried to the instance's own thread and runs there.
  if (platform::GetCurrentThreadId() != apartment_)
    return threads::invokeOnThread(apartment_, call, params, result, excep, argErr);
  return call(params, result, excep, argErr);
}

HRESULT tovComPrtv3::FindConnectionPoint(const GUID& iid, IConnectionPoint** out) {
  if (!out) return E_POINTER;
  if (iid != DIID___tovComPrtv3) {
    *out = nullptr;
    return CONNECT_E_NOCONNECTION;
  }
  *out = events_.get();
  events_->AddRef();
  return S_OK;
}

VariantBool tovComPrtv3::IsPending() { return AnyPortPending(); }

VariantBool tovComPrtv3::AnyPortPending() {
  for (VariantBool p : Pending)
    if (p == VariantBool::True) return VariantBool::True;
  return VariantBool::False;
}

void tovComPrtv3::debugprint(Variant& str, BStr&) {
  const Variant value = str.deref();
  if (auto text = value.get<BStr>()) notifyLogObserver(*text);
}

void tovComPrtv3::log(std::u16string_view text) {
  Variant str{BStr(text)};
  BStr filename;
  debugprint(str, filename);
}

void tovComPrtv3::raiseMsgTimeout() { events_->fire(1, {}); }

void tovComPrtv3::raiseMsgReceived(BStr& msg) { events_->fire(2, {Variant::byRef(&msg)}); }

void tovComPrtv3::raiseDeviceDetected(std::int16_t& PortNr, BStr& devicename, VariantBool& DoSiemensAPN,
                                      DeviceType& device, DeviceDetectionError& error) {
  std::int32_t deviceValue = device;
  std::int32_t errorValue = error;
  events_->fire(3, {Variant::byRef(&PortNr), Variant::byRef(&devicename), Variant::byRef(&DoSiemensAPN),
                    Variant::byRef(&deviceValue), Variant::byRef(&errorValue)});
  device = static_cast<DeviceType>(deviceValue);
  error = static_cast<DeviceDetectionError>(errorValue);
}

void tovComPrtv3::raisePortAvailable(std::int16_t& PortNr, PortAvailability& available) {
  std::int32_t availableValue = available;
  events_->fire(4, {Variant::byRef(&PortNr), Variant::byRef(&availableValue)});
  available = static_cast<PortAvailability>(availableValue);
}

}  // namespace tov
