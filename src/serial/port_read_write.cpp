// Moving text across a port: polled reads and blocking writes, each yielding to the thread's
// message pump so that timer ticks and events of the same thread run meanwhile.
#include <algorithm>
#include <array>
#include <string>

#include <tovport/component/tovcomprtv3.h>
#include "platform/codepage.h"
#include "platform/last_error.h"
#include <tovport/platform/message_queue.h>
#include <tovport/platform/serial.h>
#include "serial/runtime_trap.h"

namespace tov {
namespace {

using namespace platform;

// The receive buffer of one read. A read never asks for more than it holds.
constexpr std::size_t kReadBufferBytes = 1024;
constexpr int kYieldsAfterWrite = 10;

// Waits out a transfer that reported ERROR_IO_PENDING. False when it failed (the last error says
// why); a transfer that is merely incomplete is asked again.
bool finishPending(HANDLE h, OVERLAPPED& overlapped, DWORD& transferred) {
  for (;;) {
    if (GetOverlappedResult(h, &overlapped, &transferred, TRUE) != FALSE) return true;
    if (GetLastError() != ERROR_IO_INCOMPLETE) return false;
  }
}

// How much a read asks for when `waiting` bytes are queued: at least lngSize, so that the port's
// read timeouts can collect the rest of an answer that is still arriving, and at most the buffer.
DWORD readCount(std::int32_t waiting, std::int32_t lngSize) {
  return static_cast<DWORD>(std::min<std::int64_t>(std::max(waiting, lngSize), kReadBufferBytes));
}

}  // namespace

std::int32_t tovComPrtv3::VBCommRead(std::int16_t PortNr, BStr& strData, std::int32_t lngSize) {
  return serial::trapRuntimeErrors(
      LastError, u"VBCommRead",
      [&]() -> std::int32_t {
        strData.clear();
        PumpMessages();
        const HANDLE h = CommPorts(PortNr).hCom;
        DWORD errors = 0;
        COMSTAT status{};
        if (ClearCommError(h, &errors, &status) == FALSE) {
          VBRecordError(PortNr, u"VBCommRead (ClearCommError)");
          return -1;
        }
        const auto waiting = static_cast<std::int32_t>(status.cbInQue);
        if (waiting <= 0) return 0;  // an idle poll costs no read

        std::array<char, kReadBufferBytes> buffer{};
        DWORD bytesRead = 0;
        OVERLAPPED& overlapped = PortOverlapped(PortNr);
        if (ReadFile(h, buffer.data(), readCount(waiting, lngSize), &bytesRead, &overlapped) == FALSE) {
          if (GetLastError() != ERROR_IO_PENDING) {
            VBRecordCommError(PortNr, u"VBCommRead (ReadFile)", h);
            return -1;
          }
          if (!finishPending(h, overlapped, bytesRead)) {
            VBRecordCommError(PortNr, u"VBCommRead (GetOverlappedResult)", h);
            return -1;
          }
        }
        strData = ansiToUtf16(std::string_view(buffer.data(), std::min<std::size_t>(bytesRead, buffer.size())));
        return static_cast<std::int32_t>(bytesRead);
      },
      [](int) { return -1; });
}

// Callers judge a write by comparing the count with the length they sent.
std::int32_t tovComPrtv3::VBCommWrite(std::int16_t PortNr, BStr& strData) {
  DWORD written = 0;
  return serial::trapRuntimeErrors(
      LastError, u"VBCommWrite",
      [&]() -> std::int32_t {
        const HANDLE h = CommPorts(PortNr).hCom;
        OVERLAPPED& overlapped = PortOverlapped(PortNr);
        const std::string bytes = utf16ToAnsi(strData);  // one byte per character
        const BOOL ok = WriteFile(h, bytes.data(), static_cast<DWORD>(bytes.size()), &written, &overlapped);
        const DWORD error = ok != FALSE ? ERROR_SUCCESS : GetLastError();
        PumpMessages();
        if (ok == FALSE) {
          SetLastError(error);  // the write's own error, whatever ran during the yield
          if (error == ERROR_SUCCESS) return static_cast<std::int32_t>(written);
          if (error != ERROR_IO_PENDING) {
            VBRecordCommError(PortNr, u"VBCommWrite (WriteFile)", h);
            return -1;
          }
          if (!finishPending(h, overlapped, written)) {
            VBRecordCommError(PortNr, u"VBCommWrite (GetOverlappedResult)", h);
            return static_cast<std::int32_t>(written);  // what went out before the failure
          }
        }
        for (int i = 0; i < kYieldsAfterWrite; ++i) PumpMessages();
        return static_cast<std::int32_t>(written);
      },
      [&](int) { return static_cast<std::int32_t>(written); });
}

}  // namespace tov
