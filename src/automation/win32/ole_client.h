// The runtime's IDispatch over a real one: calls by name or DISPID on a host's object (an event
// sink, or a component created through COM), with arguments and errors converted by ole_values.
// By-reference arguments come back into the runtime's variables. When the real object is a
// connection-point container, so is the client: the runtime's advise() connects its sinks there.
//
// Include after every header of the component (see ole_values.h).
#pragma once

#include <tovport/automation/com.h>
#include <tovport/automation/idispatch.h>
#include "automation/win32/ole_values.h"

namespace tov::automation::ole {

// Holds a reference to target for the returned object's lifetime.
Ref<IDispatch> client(::IDispatch* target);

}  // namespace tov::automation::ole
