#include <tovport/threads/thread_control.h>

#include <map>
#include <memory>
#include <mutex>

#include <tovport/automation/runtime_error.h>
#include <tovport/platform/message_queue.h>
#include "threads/worker_thread.h"

namespace tov::threads {

// Names are known only to the controller that registered them.
struct ThreadControl::Impl {
  std::mutex mutex;
  std::map<BStr, std::shared_ptr<WorkerState>> workers;

  std::shared_ptr<WorkerState> find(const BStr& name) {
    std::lock_guard lock(mutex);
    auto it = workers.find(name);
    return it == workers.end() ? nullptr : it->second;
  }
};

ThreadControl::ThreadControl() : impl_(new Impl) {}

// Ends the workers still registered; their threads are joined elsewhere, so this is safe on any
// thread, also inside one of the workers' own calls.
ThreadControl::~ThreadControl() {
  for (auto& [name, state] : impl_->workers) state->end();
  delete impl_;
}

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

void ThreadControl::StartThread(BStr& Name, Ref<automation::IDispatch>& Target, BStr& MethodName, Variant& Argument) {
  if (!Target) throw automation::RuntimeError(automation::kErrObjectNotSet);
  std::lock_guard lock(impl_->mutex);
  if (impl_->workers.count(Name)) throw automation::RuntimeError(automation::kErrInvalidCall);
  // The call goes to the apartment of the thread that starts the worker: the target's own.
  impl_->workers[Name] = startWorker(platform::GetCurrentThreadId(), Target, MethodName, Argument.deref());
}

void ThreadControl::KillThread(BStr& Name) {
  std::shared_ptr<WorkerState> state;
  {
    std::lock_guard lock(impl_->mutex);
    auto it = impl_->workers.find(Name);
    if (it == impl_->workers.end()) return;
    state = std::move(it->second);
    impl_->workers.erase(it);
  }
  state->end();
}

Ref<automation::IDispatch> ThreadControl::ThreadObject(BStr& Name) {
  auto state = impl_->find(Name);
  return state ? state->target() : nullptr;
}

VariantBool ThreadControl::ThreadExists(BStr& Name) { return automation::vb(impl_->find(Name) != nullptr); }

}  // namespace tov::threads
