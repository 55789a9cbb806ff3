#include "host_platform.h"

#include <filesystem>
#include <iostream>
#include <set>

#include "platform/machine_ports.h"
#include <tovport/platform/os_version.h>
#include "platform/posix/device_access.h"
#include "platform/posix/sysfs_serial.h"
#include <tovport/platform/reg_file.h>
#include <tovport/platform/registry.h>
#include <tovport/platform/serial_posix.h>

namespace tovport_cli {
namespace {

HostPlatform::Parts* installed = nullptr;  // the platform main() set up, for withholdDevice

std::string existingDirectory(const std::optional<std::string>& given, const char* fallback, const char* option) {
  const std::string dir = given.value_or(fallback);
  if (given && !std::filesystem::is_directory(dir)) throw InputError(std::string(option) + ": no folder '" + dir + "'");
  return dir;
}

}  // namespace

struct HostPlatform::Parts {
  tov::platform::Registry registry;
  std::unique_ptr<tov::platform::ScopedRegistry> registryScope;
  tov::platform::PosixSerialBackend serial;  // declared before serialScope, so it outlives the installation
  std::unique_ptr<tov::platform::ScopedSerialBackend> serialScope;
  std::set<int> deniedPorts;  // each refused port is explained once
};

// The view is the --registry files or, without them, this machine as sysfs describes it; either
// way its port key says which device each COM number is, and --map replaces single entries.
HostPlatform::HostPlatform(const HostOptions& options) : parts_(std::make_unique<Parts>()) {
  for (const auto& file : options.registryFiles) {
    try {
      tov::platform::loadRegFile(parts_->registry, file);
    } catch (const tov::platform::RegFileError& e) {
      throw InputError(e.what());
    }
  }
  if (options.registryFiles.empty()) {
    const std::string sysfs = existingDirectory(options.sysfs, "/sys", "--sysfs");
    const std::string dev = existingDirectory(options.dev, "/dev", "--dev");
    tov::platform::describeComPorts(parts_->registry, tov::platform::findSerialPorts(sysfs, dev));
  }
  for (const auto& [port, path] : options.maps) tov::platform::setComPortPath(parts_->registry, port, path);
  parts_->registryScope = std::make_unique<tov::platform::ScopedRegistry>(parts_->registry);
  if (options.os) {
    const auto version = tov::platform::parseOsVersion(*options.os);
    if (!version) throw InputError("unknown --os '" + *options.os + "'; use one of " +
                                   std::string(tov::platform::osPresetNames()) + " or P.MAJOR.MINOR[:CSD]");
    tov::platform::setOsVersion(*version);
  }
  try {
    for (const auto& [port, path] : tov::platform::comPortPaths()) parts_->serial.map(port, path);
  } catch (const std::invalid_argument& e) {
    throw InputError(e.what());
  }
  parts_->serial.onPermissionDenied([parts = parts_.get()](int port, const std::string& path) {
    if (parts->deniedPorts.insert(port).second) explainDeniedDevice(port, path);
  });
  parts_->serialScope = std::make_unique<tov::platform::ScopedSerialBackend>(parts_->serial);
  installed = parts_.get();
}

HostPlatform::~HostPlatform() { installed = nullptr; }

void withholdDevice(int port) {
  if (installed != nullptr) installed->serial.unmap(port);
}

std::string deviceNodeState(const std::string& path) {
  switch (tov::platform::deviceNodeState(path)) {
    case tov::platform::DeviceNode::Present:
      return "present";
    case tov::platform::DeviceNode::Missing:
      return "missing";
    case tov::platform::DeviceNode::Refused:
      return "unreadable";
  }
  return {};
}

void explainDeniedDevice(int port, const std::string& path) {
  std::cerr << "tovport: COM" << port << ": " << tov::platform::accessAdvice(path) << "\n";
}

void explainIfDenied(int port, const std::string& path) {
  if (!tov::platform::mayOpenDevice(path)) explainDeniedDevice(port, path);
}

}  // namespace tovport_cli
