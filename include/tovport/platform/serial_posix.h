// Serial devices of the host: termios character devices (ttyS, ttyUSB, ttyACM, pseudo-terminals)
// behind COM numbers that the host assigns. Each open device is held exclusively (flock and, where
// the driver has it, TIOCEXCL), so a second open from this or another process is access denied.
// Reads and writes keep their timeouts on the real clock with poll().
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>

#include <tovport/platform/serial.h>

namespace tov::platform {

class PosixSerialBackend final : public SerialBackend {
 public:
  // COM number `port` is the device at `path`; numbers without a path are not found.
  void map(int port, std::string path);
  void unmap(int port);
  std::unique_ptr<SerialDevice> open(int port, DWORD& error) override;
  // Called, before the open fails with access denied, when the user lacks permission on a device
  // (not when another opener holds it). Set before the backend is installed.
  void onPermissionDenied(std::function<void(int port, const std::string& path)> listener);

 private:
  std::mutex mutex_;
  std::map<int, std::string> paths_;
  std::function<void(int, const std::string&)> permissionDenied_;
};

// The system error code for an errno value.
DWORD win32ErrorFromErrno(int err);

}  // namespace tov::platform
