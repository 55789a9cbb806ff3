#include <tovport/component/tovcomprtv3.h>
#include "component_host.h"
#include <tovport/platform/message_queue.h>

namespace tovport_cli {

ComponentApartment::ComponentApartment() = default;
ComponentApartment::~ComponentApartment() = default;

tov::automation::Ref<tov::automation::IDispatch> createComponent() {
  auto component = tov::tovComPrtv3::create();
  return tov::automation::Ref<tov::automation::IDispatch>(component.get());
}

void pumpMessages(int milliseconds) {
  tov::platform::MessageQueue::current()->wait(milliseconds);
  tov::platform::PumpMessages();
}

bool messagesPending() {
  const auto queue = tov::platform::MessageQueue::current();
  return queue->hasWaiting() || queue->timerCount() > 0;
}

}  // namespace tovport_cli
