#include "host_platform.h"

#include <tovport/platform/os_version.h>
#include <tovport/platform/reg_file.h>
#include <tovport/platform/registry.h>
#include <tovport/platform/serial_posix.h>

namespace tovport_cli {

struct HostPlatform::Parts {
  tov::platform::Registry registry;
  std::unique_ptr<tov::platform::ScopedRegistry> registryScope;
  tov::platform::PosixSerialBackend serial;  // declared before serialScope, so it outlives the installation
  std::unique_ptr<tov::platform::ScopedSerialBackend> serialScope;
};

HostPlatform::HostPlatform(const HostOptions& options) : parts_(std::make_unique<Parts>()) {
  for (const auto& file : options.registryFiles) {
    try {
      tov::platform::loadRegFile(parts_->registry, file);
    } catch (const tov::platform::RegFileError& e) {
      throw InputError(e.what());
    }
  }
  parts_->registryScope = std::make_unique<tov::platform::ScopedRegistry>(parts_->registry);
  if (!options.os.empty()) {
    const auto version = tov::platform::parseOsVersion(options.os);
    if (!version) throw InputError("unknown --os '" + options.os + "'; use one of " +
                                   std::string(tov::platform::osPresetNames()) + " or P.MAJOR.MINOR[:CSD]");
    tov::platform::setOsVersion(*version);
  }
  for (const auto& [port, path] : options.maps) parts_->serial.map(port, path);
  parts_->serialScope = std::make_unique<tov::platform::ScopedSerialBackend>(parts_->serial);
}

HostPlatform::~HostPlatform() = default;

}  // namespace tovport_cli
