#include "threads/apartment_call.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <type_traits>
#include <variant>
#include <vector>

namespace tov::threads {

using automation::DispParams;
using automation::ExcepInfo;
using automation::HRESULT;
using automation::Variant;

namespace {

// One by-reference argument: the caller's variable and the copy the call works on.
struct CarriedRef {
  std::shared_ptr<void> copy;
  std::function<void()> copyBack;  // on the caller's thread, after the call
};

CarriedRef carry(Variant& arg) {
  CarriedRef carried;
  const Variant::ByRef* ref = arg.get<Variant::ByRef>();
  if (!ref) return carried;
  Variant toCopy;
  std::visit(
      [&](auto* callers) {
        using T = std::remove_pointer_t<decltype(callers)>;
        auto copy = std::make_shared<T>(*callers);
        toCopy = Variant::byRef(copy.get());
        carried.copy = copy;
        carried.copyBack = [callers, copy] { *callers = *copy; };
      },
      *ref);
  arg = toCopy;
  return carried;
}

// What the two threads share: the call's own arguments and results, and how far it got.
struct CarriedCall {
  std::mutex mutex;
  std::condition_variable finished;
  bool done = false;
  bool dropped = false;    // the object's thread ended with the call still queued
  bool abandoned = false;  // the caller stopped waiting
  DispParams params;
  std::vector<std::shared_ptr<void>> copies;  // what params' references point at, kept with the call
  Variant result;
  ExcepInfo excep;
  unsigned argErr = 0;
  HRESULT hr = automation::S_OK;
};

}  // namespace

HRESULT invokeOnThread(platform::DWORD owner, const DispatchCall& call, DispParams& params, Variant* result,
                       ExcepInfo* excep, unsigned* argErr, std::uint32_t boundMs) {
  auto shared = std::make_shared<CarriedCall>();
  shared->params = params;
  std::vector<CarriedRef> refs;
  for (Variant& arg : shared->params.args) {
    refs.push_back(carry(arg));
    shared->copies.push_back(refs.back().copy);
  }

  auto message = std::make_unique<platform::ThreadCall>();
  // Goes with the message: when the message is dropped unrun, the caller hears of it at once.
  std::shared_ptr<void> dropGuard(nullptr, [shared](void*) {
    std::lock_guard lock(shared->mutex);
    if (!shared->done) shared->dropped = true;
    shared->finished.notify_all();
  });
  message->run = [shared, call, dropGuard] {
    {
      std::lock_guard lock(shared->mutex);
      if (shared->abandoned) return;
    }
    HRESULT hr = automation::S_OK;
    try {
      hr = call(shared->params, &shared->result, &shared->excep, &shared->argErr);
    } catch (...) {
      hr = automation::E_FAIL;  // nothing may unwind into the pump
    }
    std::lock_guard lock(shared->mutex);
    shared->hr = hr;
    shared->done = true;
    shared->finished.notify_all();
  };
  if (!platform::PostThreadMessage(owner, platform::WM_TOV_THREADCALL, 0,
                                   reinterpret_cast<platform::LPARAM>(message.get())))
    return RPC_E_DISCONNECTED;
  message.release();
  dropGuard.reset();

  std::unique_lock lock(shared->mutex);
  shared->finished.wait_for(lock, std::chrono::milliseconds(boundMs),
                            [&] { return shared->done || shared->dropped; });
  if (!shared->done) {
    shared->abandoned = true;
    return shared->dropped ? RPC_E_DISCONNECTED : RPC_E_TIMEOUT;
  }
  for (const CarriedRef& ref : refs)
    if (ref.copyBack) ref.copyBack();
  if (result) *result = shared->result;
  if (excep) *excep = shared->excep;
  if (argErr) *argErr = shared->argErr;
  return shared->hr;
}

}  // namespace tov::threads
