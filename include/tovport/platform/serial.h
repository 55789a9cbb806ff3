// Serial devices, shaped after the kernel32 communications calls the component makes. Each call
// sets the calling thread's last error on failure (last_error.h). The calls go to the process's
// installed SerialBackend: the POSIX backend (termios devices, serial_posix.h) or the memory
// backend of simulated devices (serial_memory.h); with none installed, to the system's COM ports
// on Windows (serial_win32.cpp), to no devices elsewhere.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <tovport/platform/win32.h>

namespace tov::platform {

// name: "COMn" or "\\.\COMn" (the device namespace prefix is understood; anything else is not found).
HANDLE CreateFileA(const char* name, DWORD access, DWORD shareMode, SECURITY_ATTRIBUTES* security,
                   DWORD creation, DWORD flags, HANDLE templateFile);
BOOL SetupComm(HANDLE h, DWORD inQueue, DWORD outQueue);
BOOL PurgeComm(HANDLE h, DWORD flags);
BOOL SetCommTimeouts(HANDLE h, const COMMTIMEOUTS* timeouts);
BOOL GetCommTimeouts(HANDLE h, COMMTIMEOUTS* timeouts);
BOOL GetCommState(HANDLE h, DCB* dcb);
BOOL SetCommState(HANDLE h, const DCB* dcb);
BOOL BuildCommDCBA(const char* definition, DCB* dcb);  // pure parsing; see build_comm_dcb.cpp
BOOL ReadFile(HANDLE h, void* buffer, DWORD toRead, DWORD* read, OVERLAPPED* overlapped);
BOOL WriteFile(HANDLE h, const void* buffer, DWORD toWrite, DWORD* written, OVERLAPPED* overlapped);
BOOL GetOverlappedResult(HANDLE h, OVERLAPPED* overlapped, DWORD* transferred, BOOL wait);
BOOL ClearCommError(HANDLE h, DWORD* errors, COMSTAT* status);
BOOL GetCommModemStatus(HANDLE h, DWORD* status);
BOOL EscapeCommFunction(HANDLE h, DWORD function);
BOOL CloseHandle(HANDLE h);

// The system's English message text for a code, ending in CR LF; empty for an unknown code.
// Only FORMAT_MESSAGE_FROM_SYSTEM is supported; returns the number of characters stored
// (without the NUL), 0 with error 317 when the code has no text.
DWORD FormatMessageA(DWORD flags, const void* source, DWORD messageId, DWORD languageId, char* buffer,
                     DWORD size, void* arguments);
std::string systemMessage(DWORD code);

// One open device of a backend. Methods follow the Win32 calls above; each returns a Win32
// error code (0 = success) so that the handle layer sets the last error in one place. The handle
// layer checks the arguments every backend would reject alike (purge mask, escape code, DCB
// values) before calling; a device may be called from several threads at once.
class SerialDevice {
 public:
  virtual ~SerialDevice() = default;
  virtual DWORD setupComm(DWORD inQueue, DWORD outQueue) = 0;
  virtual DWORD purge(DWORD flags) = 0;
  virtual DWORD setTimeouts(const COMMTIMEOUTS& t) = 0;
  virtual DWORD getTimeouts(COMMTIMEOUTS& t) = 0;
  virtual DWORD getState(DCB& dcb) = 0;
  virtual DWORD setState(const DCB& dcb) = 0;
  virtual DWORD read(void* buffer, DWORD toRead, DWORD& read) = 0;
  virtual DWORD write(const void* buffer, DWORD toWrite, DWORD& written) = 0;
  virtual DWORD clearError(DWORD& errors, COMSTAT& status) = 0;
  virtual DWORD modemStatus(DWORD& status) = 0;
  virtual DWORD escape(DWORD function) = 0;
  virtual DWORD close() = 0;
  // The outcome of a read or write that reported ERROR_IO_PENDING. Devices that always finish
  // before returning report what a zeroed OVERLAPPED record says: success, nothing transferred.
  virtual DWORD overlappedResult(DWORD& transferred, bool /*wait*/) {
    transferred = 0;
    return ERROR_SUCCESS;
  }
};

class SerialBackend {
 public:
  virtual ~SerialBackend() = default;
  // port: the n of "COMn" (1..255); returns the device or sets error to a Win32 code.
  virtual std::unique_ptr<SerialDevice> open(int port, DWORD& error) = 0;
};

// The process's serial backend.
SerialBackend& serialBackend();
class ScopedSerialBackend {
 public:
  explicit ScopedSerialBackend(SerialBackend& b);
  ~ScopedSerialBackend();
  ScopedSerialBackend(const ScopedSerialBackend&) = delete;
  ScopedSerialBackend& operator=(const ScopedSerialBackend&) = delete;

 private:
  SerialBackend* previous_;
};

}  // namespace tov::platform
