// On Windows the component uses the system itself: its registry, its version and its COM ports.
// The options that stand in for them on Linux are refused.
#include "host_platform.h"

#include <string>

namespace tovport_cli {

struct HostPlatform::Parts {};

HostPlatform::HostPlatform(const HostOptions& options) {
  const char* linuxOnly = !options.registryFiles.empty() ? "--registry"
                          : !options.maps.empty()        ? "--map"
                          : options.os                   ? "--os"
                          : options.sysfs                ? "--sysfs"
                          : options.dev                  ? "--dev"
                                                         : nullptr;
  if (linuxOnly != nullptr)
    throw InputError(std::string(linuxOnly) + " is for Linux only: on Windows the system's registry, version and "
                     "COM ports are used");
}

// On Windows the system's own "Access is denied." is the whole story: nothing to add.
void explainIfDenied(int, const std::string&) {}
// The view names no devices there, so there is no node to look at or to keep closed.
std::string deviceNodeState(const std::string&) { return {}; }
void withholdDevice(int) {}

HostPlatform::~HostPlatform() = default;

}  // namespace tovport_cli
