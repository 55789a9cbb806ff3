#include "component/mod_public.h"

#include "component/debug_log.h"
#include <tovport/component/tovcomprtv3.h>

namespace tov {
namespace {
thread_local LogObserver logObserver;
}

automation::Ref<tovComPrtv3>& gComponent() {
  thread_local automation::Ref<tovComPrtv3> component;
  return component;
}

LogObserver observeLog(LogObserver observer) { return std::exchange(logObserver, std::move(observer)); }

void notifyLogObserver(const std::u16string& text) {
  if (logObserver) logObserver(text);
}

}  // namespace tov
