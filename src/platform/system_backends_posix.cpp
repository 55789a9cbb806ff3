// A POSIX system has no registry, COM ports or Windows version of its own: until the host
// installs them, the registry is the process's in-memory one, there are no serial devices and
// the component sees the system it was made for.
#include <tovport/platform/os_version.h>
#include <tovport/platform/serial.h>
#include "platform/system_backends.h"

namespace tov::platform {
namespace {

class NoDevicesBackend final : public SerialBackend {
 public:
  std::unique_ptr<SerialDevice> open(int, DWORD& error) override {
    error = ERROR_FILE_NOT_FOUND;
    return nullptr;
  }
};

}  // namespace

SystemRegistry* systemRegistry() { return nullptr; }

SerialBackend& systemSerialBackend() {
  static NoDevicesBackend none;
  return none;
}

std::optional<OsVersion> systemOsVersion() { return std::nullopt; }

}  // namespace tov::platform
