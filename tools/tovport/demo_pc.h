// The simulated PC of `tovport demo`: an XP Service Pack 2 registry and simulated serial ports,
// two of them with a BenQ-Siemens phone attached. Installing it replaces the host's registry,
// version and serial backend for its lifetime.
#pragma once

#include <memory>
#include <ostream>

namespace tovport_cli {

class DemoPc {
 public:
  DemoPc();
  ~DemoPc();
  DemoPc(const DemoPc&) = delete;
  DemoPc& operator=(const DemoPc&) = delete;

  // One line per port: what the registry says and what is attached.
  static void describe(std::ostream& out);

  struct Parts;

 private:
  std::unique_ptr<Parts> parts_;
};

}  // namespace tovport_cli
