#include "component/mod_public.h"

#include <utility>

#include "component/debug_log.h"
#include <tovport/component/tovcomprtv3.h>
#include "platform/thread_state.h"

namespace tov {
namespace {

// The apartment's module state. The instance is released first when the thread ends, while the
// observer of its log still listens.
struct ModuleState {
  LogObserver logObserver;
  automation::Ref<tovComPrtv3> component;
};

ModuleState& moduleState() { return platform::threadState<ModuleState>(); }

}  // namespace

automation::Ref<tovComPrtv3>& gComponent() { return moduleState().component; }

LogObserver observeLog(LogObserver observer) { return std::exchange(moduleState().logObserver, std::move(observer)); }

void notifyLogObserver(const std::u16string& text) {
  if (const LogObserver& observer = moduleState().logObserver) observer(text);
}

}  // namespace tov
