// The system's own message texts (kernel32), in the language of the user's Windows.
#include "platform/last_error.h"
#include <tovport/platform/serial.h>

// Last: windows.h macros would rewrite the platform headers.
#include <windows.h>

namespace tov::platform {

DWORD FormatMessageA(DWORD flags, const void* source, DWORD messageId, DWORD languageId, char* buffer, DWORD size,
                     void* arguments) {
  const DWORD length =
      ::FormatMessageA(flags, source, messageId, languageId, buffer, size, static_cast<va_list*>(arguments));
  if (length == 0) SetLastError(::GetLastError());  // into the thread's record of last_error.h
  return length;
}

std::string systemMessage(DWORD code) {
  char text[512];
  const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                                      text, sizeof text, nullptr);
  return std::string(text, length);
}

}  // namespace tov::platform
