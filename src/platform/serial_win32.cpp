// The system's COM ports (kernel32). Each port is opened for overlapped I/O so that a read and a
// write may run at once; every read or write waits for its own completion, bounded by the port's
// communication timeouts, so a device call finishes before it returns, as the other backends do.
#include <cstring>

#include <tovport/platform/serial.h>
#include "platform/system_backends.h"

// Last: windows.h macros would rewrite the platform headers.
#include <windows.h>

namespace {
// Outside the platform namespace, where the macro's HANDLE is the system's.
bool invalidHandle(HANDLE h) { return h == INVALID_HANDLE_VALUE; }
}  // namespace

namespace tov::platform {
namespace {

// The records the component passes are laid out as the system's.
static_assert(sizeof(DCB) == sizeof(::DCB) && sizeof(COMMTIMEOUTS) == sizeof(::COMMTIMEOUTS) &&
              sizeof(COMSTAT) == sizeof(::COMSTAT));

template <class To, class From>
To sameLayout(const From& from) {
  To to;
  std::memcpy(&to, &from, sizeof to);
  return to;
}

DWORD lastError() { return ::GetLastError(); }
DWORD outcome(BOOL ok) { return ok != FALSE ? ERROR_SUCCESS : lastError(); }

// One direction's overlapped record with its event.
class Transfer {
 public:
  Transfer() { overlapped_.hEvent = ::CreateEventA(nullptr, TRUE, FALSE, nullptr); }
  ~Transfer() {
    if (overlapped_.hEvent != nullptr) ::CloseHandle(overlapped_.hEvent);
  }
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  // Runs start (a ReadFile or WriteFile on the record) and waits for it to complete.
  template <class Start>
  DWORD run(::HANDLE port, DWORD& transferred, Start&& start) {
    transferred = 0;
    if (overlapped_.hEvent == nullptr) return ERROR_GEN_FAILURE;
    ::ResetEvent(overlapped_.hEvent);
    ::DWORD done = 0;
    if (start(&overlapped_, &done) == FALSE) {
      if (lastError() != ERROR_IO_PENDING) return lastError();
      if (::GetOverlappedResult(port, &overlapped_, &done, TRUE) == FALSE) return lastError();
    }
    transferred = done;
    return ERROR_SUCCESS;
  }

 private:
  ::OVERLAPPED overlapped_{};
};

class Win32SerialDevice final : public SerialDevice {
 public:
  explicit Win32SerialDevice(::HANDLE port) : port_(port) {}
  ~Win32SerialDevice() override {
    if (port_ != nullptr) ::CloseHandle(port_);
  }

  DWORD setupComm(DWORD inQueue, DWORD outQueue) override { return outcome(::SetupComm(port_, inQueue, outQueue)); }
  DWORD purge(DWORD flags) override { return outcome(::PurgeComm(port_, flags)); }
  DWORD setTimeouts(const COMMTIMEOUTS& t) override {
    auto system = sameLayout<::COMMTIMEOUTS>(t);
    return outcome(::SetCommTimeouts(port_, &system));
  }
  DWORD getTimeouts(COMMTIMEOUTS& t) override {
    ::COMMTIMEOUTS system{};
    if (::GetCommTimeouts(port_, &system) == FALSE) return lastError();
    t = sameLayout<COMMTIMEOUTS>(system);
    return ERROR_SUCCESS;
  }
  DWORD getState(DCB& dcb) override {
    ::DCB system{};
    system.DCBlength = sizeof system;
    if (::GetCommState(port_, &system) == FALSE) return lastError();
    dcb = sameLayout<DCB>(system);
    return ERROR_SUCCESS;
  }
  DWORD setState(const DCB& dcb) override {
    auto system = sameLayout<::DCB>(dcb);
    return outcome(::SetCommState(port_, &system));
  }
  DWORD read(void* buffer, DWORD toRead, DWORD& read) override {
    return reads_.run(port_, read, [&](::OVERLAPPED* o, ::DWORD* done) {
      return ::ReadFile(port_, buffer, toRead, done, o);
    });
  }
  DWORD write(const void* buffer, DWORD toWrite, DWORD& written) override {
    return writes_.run(port_, written, [&](::OVERLAPPED* o, ::DWORD* done) {
      return ::WriteFile(port_, buffer, toWrite, done, o);
    });
  }
  DWORD clearError(DWORD& errors, COMSTAT& status) override {
    ::DWORD flags = 0;
    ::COMSTAT system{};
    if (::ClearCommError(port_, &flags, &system) == FALSE) return lastError();
    errors = flags;
    status = sameLayout<COMSTAT>(system);
    return ERROR_SUCCESS;
  }
  DWORD modemStatus(DWORD& status) override {
    ::DWORD lines = 0;
    if (::GetCommModemStatus(port_, &lines) == FALSE) return lastError();
    status = lines;
    return ERROR_SUCCESS;
  }
  DWORD escape(DWORD function) override { return outcome(::EscapeCommFunction(port_, function)); }
  DWORD close() override {
    if (::CloseHandle(port_) == FALSE) return lastError();
    port_ = nullptr;
    return ERROR_SUCCESS;
  }

 private:
  ::HANDLE port_;
  Transfer reads_;
  Transfer writes_;
};

class Win32SerialBackend final : public SerialBackend {
 public:
  // Opened by the device name "\\.\COMn", which every port number understands.
  std::unique_ptr<SerialDevice> open(int port, DWORD& error) override {
    const std::string name = "\\\\.\\COM" + std::to_string(port);
    ::HANDLE h = ::CreateFileA(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                               FILE_FLAG_OVERLAPPED, nullptr);
    if (invalidHandle(h)) {
      error = lastError();
      return nullptr;
    }
    return std::make_unique<Win32SerialDevice>(h);
  }
};

}  // namespace

SerialBackend& systemSerialBackend() {
  static Win32SerialBackend ports;
  return ports;
}

}  // namespace tov::platform
