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

std::string existingDirectory(const std::optional<std::string>& given, const char* fallback, const char* option) {
  const std::string dir = given.value_or(fallback);
  if (given && !std::filesystem::is_directory(dir)) throw InputError(std::string(option) + ": no folder '" + dir + "'");
  return dir;
}

HostPlatform* currentPlatform = nullptr;

}  // namespace

MachineFolders machineFolders(const HostOptions& options) {
  return {existingDirectory(options.sysfs, "/sys", "--sysfs"), existingDirectory(options.dev, "/dev", "--dev")};
}

struct HostPlatform::Parts {
  std::unique_ptr<tov::platform::Registry> registry = std::make_unique<tov::platform::Registry>();
  std::unique_ptr<tov::platform::ScopedRegistry> registryScope;
  tov::platform::PosixSerialBackend serial;  // declared before serialScope, so it outlives the installation
  std::unique_ptr<tov::platform::ScopedSerialBackend> serialScope;
  std::set<int> deniedPorts;  // each refused port is explained once
  std::set<int> withheld;     // ports whose device the component may not open (withholdDevice)

  // The devices follow the installed view's port key; numbers it no longer names have none.
  void mapDevices() {
    try {
      const auto paths = tov::platform::comPortPaths();
      for (int port = 1; port <= 255; ++port) {
        const auto path = paths.find(port);
        if (path == paths.end() || withheld.count(port)) serial.unmap(port);
        else serial.map(port, path->second);
      }
    } catch (const std::invalid_argument& e) {
      throw InputError(e.what());
    }
  }
};

// The view is the --registry files or, without them, this machine as sysfs describes it; either
// way its port key says which device each COM number is, and --map replaces single entries.
HostPlatform::HostPlatform(const HostOptions& options) : parts_(std::make_unique<Parts>()) {
  for (const auto& file : options.registryFiles) {
    try {
      tov::platform::loadRegFile(*parts_->registry, file);
    } catch (const tov::platform::RegFileError& e) {
      throw InputError(e.what());
    }
  }
  if (options.registryFiles.empty()) {
    const MachineFolders folders = machineFolders(options);
    tov::platform::describeComPorts(*parts_->registry, tov::platform::findSerialPorts(folders.sysfs, folders.dev));
  }
  for (const auto& [port, path] : options.maps) tov::platform::setComPortPath(*parts_->registry, port, path);
  parts_->registryScope = std::make_unique<tov::platform::ScopedRegistry>(*parts_->registry);
  if (options.os) {
    const auto version = tov::platform::parseOsVersion(*options.os);
    if (!version) throw InputError("unknown --os '" + *options.os + "'; use one of " +
                                   std::string(tov::platform::osPresetNames()) + " or P.MAJOR.MINOR[:CSD]");
    tov::platform::setOsVersion(*version);
  }
  parts_->mapDevices();
  parts_->serial.onPermissionDenied([parts = parts_.get()](int port, const std::string& path) {
    if (parts->deniedPorts.insert(port).second) explainDeniedDevice(port, path);
  });
  parts_->serialScope = std::make_unique<tov::platform::ScopedSerialBackend>(parts_->serial);
  currentPlatform = this;
}

HostPlatform::~HostPlatform() { currentPlatform = nullptr; }

HostPlatform& HostPlatform::current() { return *currentPlatform; }

// A new view takes the old one's place: the installation is undone and redone with it.
void HostPlatform::describeMachine(const std::vector<tov::platform::SerialPortDevice>& ports) {
  auto view = std::make_unique<tov::platform::Registry>();
  tov::platform::describeComPorts(*view, ports);
  parts_->registryScope.reset();
  parts_->registryScope = std::make_unique<tov::platform::ScopedRegistry>(*view);
  parts_->registry = std::move(view);
  parts_->mapDevices();
}

void HostPlatform::withhold(int port) {
  parts_->withheld.insert(port);
  parts_->serial.unmap(port);
}

void withholdDevice(int port) {
  if (currentPlatform != nullptr) currentPlatform->withhold(port);
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
