// Small pieces shared by the detection link and the dialogue.
#pragma once

#include <cstdint>
#include <string_view>

#include <tovport/automation/convert.h>
#include <tovport/automation/runtime_error.h>
#include <tovport/component/types.h>

namespace tov::detection {

// Line break and indent of the multi-line error log texts.
inline constexpr std::u16string_view kNextLogLine = u"\r\n\t";

// The kind of the port as discovery knows it (discovery runs only when the table is not filled).
ComPortType portKind(std::int16_t PortNr);

// Infrared, USB passive and unlisted ports show no usable CTS and need time before a first
// command: they get a 2000 ms pause instead of the CTS test.
bool needsPauseBeforeSend(ComPortType kind);
inline constexpr std::uint32_t kPauseBeforeSendMs = 2000;

// Runs one step of an operation that goes on with its next step when a step fails.
template <class Step>
void skipOnFailure(Step&& step) {
  try {
    step();
  } catch (const automation::RuntimeError&) {
  }
}

}  // namespace tov::detection
