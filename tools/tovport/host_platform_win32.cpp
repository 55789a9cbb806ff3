// On Windows the component uses the system itself: its registry, its version and its COM ports.
// The options that stand in for them on Linux are refused.
#include "host_platform.h"

#include <string>

namespace tovport_cli {

struct HostPlatform::Parts {};

HostPlatform::HostPlatform(const HostOptions& options) {
  const char* linuxOnly = !options.registryFiles.empty() ? "--registry"
                          : !options.maps.empty()        ? "--map"
                          : !options.os.empty()          ? "--os"
                                                         : nullptr;
  if (linuxOnly != nullptr)
    throw InputError(std::string(linuxOnly) + " is for Linux only: on Windows the system's registry, version and "
                     "COM ports are used");
}

HostPlatform::~HostPlatform() = default;

}  // namespace tovport_cli
