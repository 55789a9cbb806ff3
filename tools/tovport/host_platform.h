// What the host puts in place of the Windows system for the component: the registry view (the
// --registry files, or this machine described from sysfs), the --os version, and the COM ports
// mapped to the devices the view names, with --map in place of single ones.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "command.h"
#include "platform/machine_ports.h"

namespace tovport_cli {

// A bad input (a malformed .reg file, an unknown --os): main prints it and exits 2.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Installs the host's registry, version and serial devices for its lifetime.
class HostPlatform {
 public:
  explicit HostPlatform(const HostOptions& options);
  ~HostPlatform();
  HostPlatform(const HostPlatform&) = delete;
  HostPlatform& operator=(const HostPlatform&) = delete;

  // The platform the running command was given.
  static HostPlatform& current();
  // Linux, without --registry: replaces the view of the machine and the devices of its COM ports
  // by those of ports at once (watch, as ports come and go). Nothing may read the registry meanwhile.
  void describeMachine(const std::vector<tov::platform::SerialPortDevice>& ports);
  // See withholdDevice; a new view keeps the port withheld.
  void withhold(int port);

  struct Parts;

 private:
  std::unique_ptr<Parts> parts_;
};

// Linux, without --registry: the sysfs tree that describes the machine and the folder of its device
// nodes, --sysfs and --dev or /sys and /dev; a folder given that does not exist is an InputError.
struct MachineFolders {
  std::string sysfs;
  std::string dev;
};
MachineFolders machineFolders(const HostOptions& options);

// Tells on stderr why COM port `port` (the device at path) may not be opened and what to do.
void explainDeniedDevice(int port, const std::string& path);
// The same, ahead of any open, when this user lacks the permission to open the device.
void explainIfDenied(int port, const std::string& path);
// How `ports` reports the device node at path: "present", "missing" or "unreadable" (this user
// may not open it); empty where the system has no device nodes to look at.
std::string deviceNodeState(const std::string& path);
// Keeps the device of COM port `port` from the component's opens until the host ends: a request
// that did not name the port leaves the system console alone so.
void withholdDevice(int port);

}  // namespace tovport_cli
