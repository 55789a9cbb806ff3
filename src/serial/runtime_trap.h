// The serial API answers with status codes, never with an automation error: a run-time failure
// inside one of its operations (most often a port number outside 1 to 32) is caught and left in
// LastError under the operation's bare name, like the platform failures the operation records.
#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <string_view>

#include <tovport/automation/convert.h>
#include <tovport/automation/runtime_error.h>
#include <tovport/component/types.h>

namespace tov::serial {

inline constexpr int kErrOutOfMemory = 7;

// Runs body; if it fails with a run-time error, records the error number, `operation` and the
// error's description in lastError and returns onFailure(number) instead.
template <class Body, class OnFailure>
auto trapRuntimeErrors(CommErrorInfo& lastError, std::u16string_view operation, Body&& body, OnFailure&& onFailure)
    -> decltype(body()) {
  int number = 0;
  std::string description;
  try {
    return body();
  } catch (const automation::RuntimeError& e) {
    number = e.number();
    description = e.description();
  } catch (const std::bad_alloc&) {
    number = kErrOutOfMemory;
    description = automation::describeError(kErrOutOfMemory);
  }
  lastError = CommErrorInfo{number, BStr(operation), automation::fromUtf8(description)};
  return onFailure(number);
}

// The failure result of the operations that answer with a status code.
inline constexpr auto returnErrorNumber = [](int number) { return static_cast<std::int32_t>(number); };

}  // namespace tov::serial
