// Module state of the apartment (the thread): the instance created last on it.
#pragma once

#include <tovport/automation/com.h>

namespace tov {

class tovComPrtv3;

// The calling thread's gComponent: a counted reference to the instance created last on this
// thread (Nothing before the first). Timer callbacks reach the component through it.
automation::Ref<tovComPrtv3>& gComponent();

}  // namespace tov
