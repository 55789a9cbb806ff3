#include "threads/thread_control.h"

#include "automation/runtime_error.h"

namespace tov::threads {

struct ThreadControl::Impl {};

ThreadControl::ThreadControl() : impl_(nullptr) {}
ThreadControl::~ThreadControl() = default;

Ref<ThreadControl> ThreadControl::create() { return Ref<ThreadControl>(new ThreadControl()); }

automation::HRESULT ThreadControl::QueryInterface(const automation::GUID& iid, void** out) {
  if (iid == automation::IID_IUnknown) {
    *out = static_cast<automation::IUnknown*>(this);
    AddRef();
    return automation::S_OK;
  }
  *out = nullptr;
  return automation::E_NOINTERFACE;
}

void ThreadControl::StartThread(BStr&, Ref<automation::IDispatch>&, BStr&, Variant&) {
  automation::notAvailable("ThreadControl.StartThread");
}
void ThreadControl::KillThread(BStr&) { automation::notAvailable("ThreadControl.KillThread"); }
Ref<automation::IDispatch> ThreadControl::ThreadObject(BStr&) {
  automation::notAvailable("ThreadControl.ThreadObject");
}
VariantBool ThreadControl::ThreadExists(BStr&) { automation::notAvailable("ThreadControl.ThreadExists"); }

}  // namespace tov::threads
