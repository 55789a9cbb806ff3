// LastError: the last serial failure of the instance, shared by all ports, and its read-out.
#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

#include <tovport/automation/convert.h>
#include <tovport/component/tovcomprtv3.h>
#include "platform/codepage.h"
#include "platform/last_error.h"
#include <tovport/platform/serial.h>

namespace tov {
namespace {

std::u16string upperHex(platform::DWORD value) {
  char digits[9];
  std::snprintf(digits, sizeof digits, "%X", static_cast<unsigned>(value));
  return platform::ansiToUtf16(digits);
}

}  // namespace

std::int32_t tovComPrtv3::VBRecordError(std::int16_t, BStr Source) {
  std::int32_t code = static_cast<std::int32_t>(platform::GetLastError());
  LastError.ErrorCode = code;
  LastError.ErrorSource = std::move(Source);
  LastError.ErrorMessage = VBGetSystemMessage(code);
  return code;
}

// A failed transfer also reports the port's line error flags; reading them clears the port's
// error state so that later reads and writes can go on.
std::int32_t tovComPrtv3::VBRecordCommError(std::int16_t PortNr, BStr Source, std::int32_t hCom) {
  const std::int32_t code = VBRecordError(PortNr, std::move(Source));
  platform::DWORD flags = 0;
  platform::COMSTAT status{};
  platform::ClearCommError(hCom, &flags, &status);  // a failure leaves the flags at 0
  LastError.ErrorMessage += u"  COMM Error Flags = " + upperHex(flags);
  return code;
}

// The text keeps the line break that ends every system message; only blanks are trimmed.
BStr tovComPrtv3::VBGetSystemMessage(std::int32_t& lngErrorCode) {
  constexpr platform::DWORD kFlags = platform::FORMAT_MESSAGE_FROM_SYSTEM | platform::FORMAT_MESSAGE_IGNORE_INSERTS;
  // Blank-filled, so that whatever a failed call leaves unwritten trims away.
  std::string buffer(256, ' ');
  platform::FormatMessageA(kFlags, nullptr, static_cast<platform::DWORD>(lngErrorCode), 0, buffer.data(), 255, nullptr);
  buffer.resize(std::min(buffer.find('\0'), buffer.size()));
  const auto first = buffer.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  const auto last = buffer.find_last_not_of(' ');
  return platform::ansiToUtf16(std::string_view(buffer).substr(first, last - first + 1));
}

std::int32_t tovComPrtv3::VBCommGetError(BStr& strMessage) {
  strMessage = u"Error (" + automation::numberText(LastError.ErrorCode) + u"): " +
               LastError.ErrorSource + u" - " + LastError.ErrorMessage;
  return LastError.ErrorCode;
}

}  // namespace tov
