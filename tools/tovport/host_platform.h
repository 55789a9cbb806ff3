// What the host puts in place of the Windows system for the component: the registry loaded from
// the --registry files, the --os version, and COM ports mapped to devices with --map.
#pragma once

#include <memory>
#include <stdexcept>

#include "command.h"

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

  struct Parts;

 private:
  std::unique_ptr<Parts> parts_;
};

}  // namespace tovport_cli
