// FormatMessageA over the English message table of Windows for the codes the serial layer produces
// (on Windows the system answers itself: system_messages_win32.cpp).
#include <cstring>

#include "platform/last_error.h"
#include <tovport/platform/serial.h>

namespace tov::platform {
namespace {

constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
constexpr DWORD ERROR_RESOURCE_LANG_NOT_FOUND = 1815;
constexpr DWORD LANG_ENGLISH = 0x09;

struct Message {
  DWORD code;
  const char* text;
};

constexpr Message kMessages[] = {
    {0, "The operation completed successfully.\r\n"},
    {1, "Incorrect function.\r\n"},
    {2, "The system cannot find the file specified.\r\n"},
    {3, "The system cannot find the path specified.\r\n"},
    {5, "Access is denied.\r\n"},
    {6, "The handle is invalid.\r\n"},
    {21, "The device is not ready.\r\n"},
    {31, "A device attached to the system is not functioning.\r\n"},
    {32, "The process cannot access the file because it is being used by another process.\r\n"},
    {50, "The request is not supported.\r\n"},
    {87, "The parameter is incorrect.\r\n"},
    {121, "The semaphore timeout period has expired.\r\n"},
    {170, "The requested resource is in use.\r\n"},
    {995, "The I/O operation has been aborted because of either a thread exit or an application request.\r\n"},
    {996, "Overlapped I/O event is not in a signaled state.\r\n"},
    {997, "Overlapped I/O operation is in progress.\r\n"},
    {1117, "The request could not be performed because of an I/O device error.\r\n"},
    {1167, "The device is not connected.\r\n"},
};

const char* findMessage(DWORD code) {
  for (const Message& m : kMessages)
    if (m.code == code) return m.text;
  return nullptr;
}

}  // namespace

std::string systemMessage(DWORD code) {
  const char* text = findMessage(code);
  return text != nullptr ? text : "";
}

// Language 0 (neutral, i.e. the user's) and every English sublanguage have texts; other
// languages have none.
DWORD FormatMessageA(DWORD flags, const void*, DWORD messageId, DWORD languageId, char* buffer, DWORD size,
                     void*) {
  constexpr DWORD supported = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  if ((flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0 || (flags & ~supported & ~0xFFu) != 0 || buffer == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  if (languageId != 0 && (languageId & 0x3FF) != LANG_ENGLISH) {
    SetLastError(ERROR_RESOURCE_LANG_NOT_FOUND);
    return 0;
  }
  const char* text = findMessage(messageId);
  if (text == nullptr) {
    SetLastError(ERROR_MR_MID_NOT_FOUND);
    return 0;
  }
  const std::size_t length = std::strlen(text);
  if (length + 1 > size) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  std::memcpy(buffer, text, length + 1);
  return static_cast<DWORD>(length);
}

}  // namespace tov::platform
