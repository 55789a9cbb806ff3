// The tovport host's commands. Each command lives in a file of its own and registers itself
// with a static Registration; main() parses the global options, prepares the platform and
// runs the command.
#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tovport_cli {

// Global options, given before the command.
struct HostOptions {
  std::vector<std::string> registryFiles;          // --registry FILE (repeatable, loaded in order)
  std::optional<std::string> os;                   // --os NAME (none: the default system)
  std::vector<std::pair<int, std::string>> maps;   // --map COMn=PATH (repeatable)
  // The machine described from sysfs when no --registry is given: --sysfs DIR, --dev DIR.
  std::optional<std::string> sysfs;
  std::optional<std::string> dev;
  bool json = false;                               // --json
  int timeoutSeconds = 60;                         // --timeout SECONDS
};

// Wrong usage: main prints the message and the usage line on stderr and exits 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Command {
  std::string name;
  std::string synopsis;  // "call METHOD [ARG...]"
  std::string help;      // one or more lines, printed by --help
  // Runs with the arguments after the command name; returns the exit code.
  std::function<int(const HostOptions&, const std::vector<std::string>&)> run;
};

struct Registration {
  explicit Registration(Command c);
};

const std::vector<Command>& commands();

// An error that ends a command, as the host reports it on stderr: "error N: description" for an
// automation error of the component (N its number, or its HRESULT), "tovport: what" otherwise.
std::string errorText(const std::exception& e);

}  // namespace tovport_cli
