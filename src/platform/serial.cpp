// The handle layer: Win32-shaped calls over the open devices of the installed backend.
#include <tovport/platform/serial.h>

#include <atomic>
#include <cctype>
#include <mutex>
#include <optional>
#include <unordered_map>

#include "platform/last_error.h"
#include <tovport/platform/serial_dcb.h>
#include "platform/system_backends.h"

namespace tov::platform {
namespace {

std::atomic<SerialBackend*> installedBackend{nullptr};  // none: the system's devices

struct OpenDevice {
  std::shared_ptr<SerialDevice> device;
  int port;
};

// Handles are small multiples of 4 like the system's; 0 and -1 never occur. A call holds a
// reference to its device, so the table lock is not held while a read or write blocks.
class HandleTable {
 public:
  HANDLE add(std::shared_ptr<SerialDevice> device, int port) {
    std::lock_guard lock(mutex_);
    HANDLE h;
    do {
      next_ = next_ >= 0x7FFFFFF0 ? kFirst : next_ + 4;
      h = next_;
    } while (devices_.contains(h));
    devices_.emplace(h, OpenDevice{std::move(device), port});
    return h;
  }

  std::shared_ptr<SerialDevice> find(HANDLE h) const {
    std::lock_guard lock(mutex_);
    const auto it = devices_.find(h);
    return it == devices_.end() ? nullptr : it->second.device;
  }

  bool portInUse(int port) const {
    std::lock_guard lock(mutex_);
    for (const auto& [h, open] : devices_)
      if (open.port == port) return true;
    return false;
  }

  std::optional<OpenDevice> remove(HANDLE h) {
    std::lock_guard lock(mutex_);
    const auto it = devices_.find(h);
    if (it == devices_.end()) return std::nullopt;
    OpenDevice open = std::move(it->second);
    devices_.erase(it);
    return open;
  }

  void restore(HANDLE h, OpenDevice open) {
    std::lock_guard lock(mutex_);
    devices_.emplace(h, std::move(open));
  }

 private:
  static constexpr HANDLE kFirst = 0x100;
  mutable std::mutex mutex_;
  std::unordered_map<HANDLE, OpenDevice> devices_;
  HANDLE next_ = kFirst - 4;
};

HandleTable& handles() {
  static HandleTable table;
  return table;
}

BOOL result(DWORD error) {
  if (error == ERROR_SUCCESS) return TRUE;
  SetLastError(error);
  return FALSE;
}

// Looks the handle up and runs call on its device; an unknown handle is ERROR_INVALID_HANDLE.
template <class Call>
BOOL onDevice(HANDLE h, Call&& call) {
  const auto device = handles().find(h);
  if (!device) return result(ERROR_INVALID_HANDLE);
  return result(call(*device));
}

// "COMn" or "\\.\COMn", case-blind, n from 1 to 255 without leading zeros.
std::optional<int> comPortNumber(const char* name) {
  if (name == nullptr) return std::nullopt;
  std::string_view text(name);
  if (text.starts_with("\\\\.\\")) text.remove_prefix(4);
  if (text.size() < 4 || text.size() > 6) return std::nullopt;
  for (int i = 0; i < 3; ++i)
    if (std::toupper(static_cast<unsigned char>(text[i])) != "COM"[i]) return std::nullopt;
  const std::string_view digits = text.substr(3);
  if (digits.front() == '0') return std::nullopt;
  int n = 0;
  for (const char c : digits) {
    if (c < '0' || c > '9') return std::nullopt;
    n = n * 10 + (c - '0');
  }
  if (n < 1 || n > 255) return std::nullopt;
  return n;
}

}  // namespace

SerialBackend& serialBackend() {
  SerialBackend* b = installedBackend.load();
  return b != nullptr ? *b : systemSerialBackend();
}
ScopedSerialBackend::ScopedSerialBackend(SerialBackend& b) : previous_(installedBackend.exchange(&b)) {}
ScopedSerialBackend::~ScopedSerialBackend() { installedBackend.store(previous_); }

// Serial devices are exclusive whatever the share mode asks for, as with the system's serial
// driver: a port that has a handle in this process is busy here, other programs are the
// backend's business.
HANDLE CreateFileA(const char* name, DWORD, DWORD, SECURITY_ATTRIBUTES*, DWORD, DWORD, HANDLE) {
  const auto port = comPortNumber(name);
  if (!port) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
  if (handles().portInUse(*port)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  DWORD error = ERROR_SUCCESS;
  std::unique_ptr<SerialDevice> device = serialBackend().open(*port, error);
  if (!device) {
    SetLastError(error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE);
    return INVALID_HANDLE_VALUE;
  }
  return handles().add(std::move(device), *port);
}

BOOL SetupComm(HANDLE h, DWORD inQueue, DWORD outQueue) {
  return onDevice(h, [&](SerialDevice& d) { return d.setupComm(inQueue, outQueue); });
}

BOOL PurgeComm(HANDLE h, DWORD flags) {
  constexpr DWORD known = PURGE_TXABORT | PURGE_RXABORT | PURGE_TXCLEAR | PURGE_RXCLEAR;
  return onDevice(h, [&](SerialDevice& d) {
    return (flags & ~known) != 0 ? ERROR_INVALID_PARAMETER : d.purge(flags);
  });
}

BOOL SetCommTimeouts(HANDLE h, const COMMTIMEOUTS* timeouts) {
  return onDevice(h, [&](SerialDevice& d) {
    return timeouts == nullptr ? ERROR_INVALID_PARAMETER : d.setTimeouts(*timeouts);
  });
}

BOOL GetCommTimeouts(HANDLE h, COMMTIMEOUTS* timeouts) {
  return onDevice(h, [&](SerialDevice& d) {
    return timeouts == nullptr ? ERROR_INVALID_PARAMETER : d.getTimeouts(*timeouts);
  });
}

BOOL GetCommState(HANDLE h, DCB* dcb) {
  return onDevice(h, [&](SerialDevice& d) { return dcb == nullptr ? ERROR_INVALID_PARAMETER : d.getState(*dcb); });
}

BOOL SetCommState(HANDLE h, const DCB* dcb) {
  return onDevice(h, [&](SerialDevice& d) {
    return dcb == nullptr || !isValidDcb(*dcb) ? ERROR_INVALID_PARAMETER : d.setState(*dcb);
  });
}

BOOL ReadFile(HANDLE h, void* buffer, DWORD toRead, DWORD* read, OVERLAPPED*) {
  if (read != nullptr) *read = 0;
  return onDevice(h, [&](SerialDevice& d) {
    if (buffer == nullptr && toRead > 0) return ERROR_INVALID_PARAMETER;
    DWORD count = 0;
    const DWORD error = d.read(buffer, toRead, count);
    if (read != nullptr) *read = count;
    return error;
  });
}

BOOL WriteFile(HANDLE h, const void* buffer, DWORD toWrite, DWORD* written, OVERLAPPED*) {
  if (written != nullptr) *written = 0;
  return onDevice(h, [&](SerialDevice& d) {
    if (buffer == nullptr && toWrite > 0) return ERROR_INVALID_PARAMETER;
    DWORD count = 0;
    const DWORD error = d.write(buffer, toWrite, count);
    if (written != nullptr) *written = count;
    return error;
  });
}

BOOL GetOverlappedResult(HANDLE h, OVERLAPPED* overlapped, DWORD* transferred, BOOL wait) {
  return onDevice(h, [&](SerialDevice& d) {
    if (overlapped == nullptr || transferred == nullptr) return ERROR_INVALID_PARAMETER;
    *transferred = 0;
    return d.overlappedResult(*transferred, wait != FALSE);
  });
}

BOOL ClearCommError(HANDLE h, DWORD* errors, COMSTAT* status) {
  return onDevice(h, [&](SerialDevice& d) {
    DWORD flags = 0;
    COMSTAT stat{};
    const DWORD error = d.clearError(flags, stat);
    if (error == ERROR_SUCCESS) {
      if (errors != nullptr) *errors = flags;
      if (status != nullptr) *status = stat;
    }
    return error;
  });
}

BOOL GetCommModemStatus(HANDLE h, DWORD* status) {
  return onDevice(h, [&](SerialDevice& d) {
    return status == nullptr ? ERROR_INVALID_PARAMETER : d.modemStatus(*status);
  });
}

BOOL EscapeCommFunction(HANDLE h, DWORD function) {
  return onDevice(h, [&](SerialDevice& d) {
    return function < SETXOFF || function > CLRBREAK ? ERROR_INVALID_PARAMETER : d.escape(function);
  });
}

// The handle stays valid when the device refuses to close, so the caller may try again.
BOOL CloseHandle(HANDLE h) {
  auto open = handles().remove(h);
  if (!open) return result(ERROR_INVALID_HANDLE);
  const DWORD error = open->device->close();
  if (error != ERROR_SUCCESS) handles().restore(h, std::move(*open));
  return result(error);
}

}  // namespace tov::platform
