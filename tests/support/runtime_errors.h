// The run-time error number a call raises (0 when it raises none), for tests that check errors.
#pragma once

#include <functional>

#include <tovport/automation/runtime_error.h>

namespace tov::testing {

inline int errorNumberOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const automation::RuntimeError& e) {
    return e.number();
  }
  return 0;
}

}  // namespace tov::testing
