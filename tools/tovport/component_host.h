// The component as this host uses it, the way any automation host does: created on this thread,
// called late bound by name, its events received through its connection point. On Linux it is
// created in-process; on Windows through COM by its ProgID.
#pragma once

#include <tovport/automation/dispatch.h>

namespace tovport_cli {

// The thread's apartment for components, entered for the object's lifetime: on Windows a
// single-threaded COM apartment; nothing to enter on Linux. createComponent enters one, for the
// life of the process, on the first thread that creates a component; any other thread that
// creates components enters its own first.
class ComponentApartment {
 public:
  ComponentApartment();
  ~ComponentApartment();
  ComponentApartment(const ComponentApartment&) = delete;
  ComponentApartment& operator=(const ComponentApartment&) = delete;
};

tov::automation::Ref<tov::automation::IDispatch> createComponent();

// Waits up to milliseconds for the thread's messages, then processes them: timer ticks, calls of
// worker threads and the events they raise.
void pumpMessages(int milliseconds);
// Whether the thread still has messages waiting or timers that will tick.
bool messagesPending();

}  // namespace tovport_cli
