// tovport: the command-line host of the tovComPrtv3 component.
#include <cstdio>
#include <iostream>
#include <string>
#include <vector>

#include <tovport/automation/convert.h>
#include <tovport/automation/dispatch.h>
#include <tovport/automation/runtime_error.h>
#include "command.h"
#include "host_platform.h"

namespace tovport_cli {
namespace {

std::vector<Command>& registry() {
  static std::vector<Command> all;
  return all;
}

void printUsage(std::ostream& out) {
  out << "usage: tovport [--registry FILE... | [--sysfs DIR] [--dev DIR]] [--os NAME] [--map COMn=PATH]... [--json]"
         " [--timeout SECONDS] COMMAND [ARG...]\n"
         "       tovport --help | --version\n";
}

void printHelp() {
  printUsage(std::cout);
  std::cout << "\nGlobal options:\n"
               "  --registry FILE    load a .reg file into the registry the component reads (repeatable, in order),\n"
               "                     in place of the view of this machine; its key Software\\tovport\\Ports maps ports\n"
               "  --sysfs DIR        describe the machine from the sysfs tree DIR (default /sys): every serial\n"
               "                     device becomes a COM port with the registry keys Windows would give it\n"
               "  --dev DIR          the folder of the device nodes of those ports (default /dev)\n"
               "  --os NAME          the Windows version the component sees: a preset (9x, nt4, 2000, xp, xp-sp2,\n"
               "                     xp-sp3, vista) or P.MAJOR.MINOR[:CSD text]; default xp-sp2\n"
               "  --map COMn=PATH    use the device PATH as COM port n, in place of the one the view names (repeatable);\n"
               "                     ports without a device do not exist\n"
               "  --json             print results and events as JSON, one object per line\n"
               "  --timeout SECONDS  how long a request may run before it is stopped (default 60)\n"
               "  --help             this text\n"
               "  --version          the version of tovport\n\nCommands:\n";
  for (const auto& c : registry()) {
    std::cout << "  " << c.synopsis << "\n";
    std::string line;
    for (char ch : c.help) {
      if (ch == '\n') {
        std::cout << "      " << line << "\n";
        line.clear();
      } else {
        line.push_back(ch);
      }
    }
    if (!line.empty()) std::cout << "      " << line << "\n";
  }
  std::cout << "\nExit codes: 0 success, 1 the component reported an error or refused the request,\n"
               "2 wrong usage or a bad input file, 3 a request did not finish within --timeout.\n";
}

std::string needValue(const std::vector<std::string>& args, std::size_t& i) {
  if (i + 1 >= args.size()) throw UsageError(args[i] + " needs a value");
  return args[++i];
}

int parseMap(const std::string& text, std::string& path) {
  const auto eq = text.find('=');
  if (eq == std::string::npos || text.size() < 4 || (text.compare(0, 3, "COM") != 0 && text.compare(0, 3, "com") != 0))
    throw UsageError("--map takes COMn=PATH, not '" + text + "'");
  int port = 0;
  try {
    std::size_t used = 0;
    port = std::stoi(text.substr(3, eq - 3), &used);
    if (used != eq - 3) port = 0;
  } catch (const std::exception&) {
    port = 0;
  }
  if (port < 1 || port > 255 || eq + 1 >= text.size()) throw UsageError("--map takes COMn=PATH with n from 1 to 255");
  path = text.substr(eq + 1);
  return port;
}

}  // namespace

Registration::Registration(Command c) { registry().push_back(std::move(c)); }

std::string errorText(const std::exception& e) {
  if (const auto* runtime = dynamic_cast<const tov::automation::RuntimeError*>(&e))
    return "error " + std::to_string(runtime->number()) + ": " + runtime->description();
  if (const auto* dispatch = dynamic_cast<const tov::automation::DispatchError*>(&e)) {
    char code[16];
    std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(dispatch->hresult()));
    return std::string("error ") + code + ": " + e.what();
  }
  return std::string("tovport: ") + e.what();
}
const std::vector<Command>& commands() { return registry(); }

int run(const std::vector<std::string>& args) {
  HostOptions options;
  std::size_t i = 0;
  for (; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (a == "--help" || a == "-h") {
      printHelp();
      return 0;
    } else if (a == "--version") {
      std::cout << "tovport " TOVPORT_VERSION "\n";
      return 0;
    } else if (a == "--registry") {
      options.registryFiles.push_back(needValue(args, i));
    } else if (a == "--sysfs") {
      options.sysfs = needValue(args, i);
    } else if (a == "--dev") {
      options.dev = needValue(args, i);
    } else if (a == "--os") {
      options.os = needValue(args, i);
      if (options.os->empty()) throw UsageError("--os needs a name, such as xp-sp2");
    } else if (a == "--map") {
      std::string path;
      const int port = parseMap(needValue(args, i), path);
      options.maps.emplace_back(port, path);
    } else if (a == "--json") {
      options.json = true;
    } else if (a == "--timeout") {
      const std::string v = needValue(args, i);
      try {
        std::size_t used = 0;
        options.timeoutSeconds = std::stoi(v, &used);
        if (used != v.size() || options.timeoutSeconds < 1) throw UsageError("");
      } catch (const std::exception&) {
        throw UsageError("--timeout takes a whole number of seconds, at least 1");
      }
    } else if (!a.empty() && a[0] == '-') {
      throw UsageError("unknown option " + a);
    } else {
      break;
    }
  }
  if (i >= args.size()) throw UsageError("no command given");
  if (!options.registryFiles.empty() && (options.sysfs || options.dev))
    throw UsageError("--registry replaces the view of this machine that --sysfs and --dev describe; give one or the other");
  const std::string name = args[i];
  const std::vector<std::string> rest(args.begin() + static_cast<long>(i) + 1, args.end());
  for (const auto& c : registry()) {
    if (c.name == name) {
      if (!rest.empty() && (rest[0] == "--help" || rest[0] == "-h")) {
        std::cout << "usage: tovport [GLOBAL OPTIONS] " << c.synopsis << "\n" << c.help << "\n";
        return 0;
      }
      HostPlatform platform(options);  // throws InputError for a bad .reg file or --os
      return c.run(options, rest);
    }
  }
  throw UsageError("unknown command '" + name + "'");
}

}  // namespace tovport_cli

int main(int argc, char** argv) {
  using namespace tovport_cli;
  try {
    return run(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const UsageError& e) {
    std::cerr << "tovport: " << e.what() << "\n";
    printUsage(std::cerr);
    return 2;
  } catch (const InputError& e) {
    std::cerr << "tovport: " << e.what() << "\n";
    return 2;
  } catch (const std::exception& e) {
    std::cerr << errorText(e) << "\n";
    return 1;
  }
}
