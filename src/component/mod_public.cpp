#include "component/mod_public.h"

#include <pthread.h>

#include "component/debug_log.h"
#include <tovport/component/tovcomprtv3.h>

namespace tov {
namespace {

// The module state of the thread. It lives on the heap behind a thread-specific key whose
// destructor receives it when the thread ends: a thread_local object with a destructor is not
// safe at thread exit under mingw's emulated TLS, where its storage may be freed before the
// destructor runs (a component thread that ends would release its instance from freed memory).
struct ModuleState {
  automation::Ref<tovComPrtv3> component;
  LogObserver logObserver;
};

ModuleState& moduleState() {
  static const pthread_key_t key = [] {
    pthread_key_t k;
    pthread_key_create(&k, [](void* state) { delete static_cast<ModuleState*>(state); });
    return k;
  }();
  auto* state = static_cast<ModuleState*>(pthread_getspecific(key));
  if (state == nullptr) {
    state = new ModuleState;
    pthread_setspecific(key, state);
  }
  return *state;
}

}  // namespace

automation::Ref<tovComPrtv3>& gComponent() { return moduleState().component; }

LogObserver observeLog(LogObserver observer) { return std::exchange(moduleState().logObserver, std::move(observer)); }

void notifyLogObserver(const std::u16string& text) {
  if (const LogObserver& observer = moduleState().logObserver) observer(text);
}

}  // namespace tov
