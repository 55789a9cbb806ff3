// tovport call METHOD [ARG...]: one late-bound call on a new component.
#include <iostream>

#include <tovport/automation/convert.h>
#include <tovport/automation/dispatch.h>
#include "command.h"
#include <tovport/component/tovcomprtv3.h>
#include "component_host.h"
#include "value_text.h"

namespace tovport_cli {
namespace {

using namespace tov::automation;

int runCall(const HostOptions& options, const std::vector<std::string>& args) {
  if (args.empty()) throw UsageError("call needs a METHOD");
  auto component = createComponent();
  const std::u16string name = fromUtf8(args[0]);

  // Every argument goes by reference to a variable of ours, so that what the method writes into
  // a by-reference parameter can be shown afterwards.
  std::vector<Variant> values;
  for (std::size_t i = 1; i < args.size(); ++i) values.push_back(parseArgument(args[i]));
  const std::vector<Variant> before = values;
  std::vector<Variant> refs;
  for (auto& v : values) refs.push_back(Variant::byRef(&v));
  const Variant result = callByName(*component, name, refs);

  // A by-reference argument is shown when the call wrote something new into it.
  auto changed = [&](std::size_t i) {
    return values[i].type() != before[i].type() || displayText(values[i]) != displayText(before[i]);
  };

  DISPID id = 0;
  component->GetIDsOfNames(name, &id);
  const auto* method = Dispatcher<tov::tovComPrtv3>(tov::tovComPrtv3::methods()).find(id);
  if (options.json) {
    std::cout << "{\"method\":" << jsonString(std::string(method->name)) << ",\"result\":" << jsonValue(result);
    for (std::size_t i = 0; i < values.size() && i < method->params.size(); ++i)
      if (method->params[i].byRef && changed(i)) std::cout << "," << jsonString(std::string(method->params[i].name)) << ":" << jsonValue(values[i]);
    std::cout << "}\n";
  } else {
    std::cout << displayText(result) << "\n";
    for (std::size_t i = 0; i < values.size() && i < method->params.size(); ++i)
      if (method->params[i].byRef && changed(i)) std::cout << method->params[i].name << " = " << displayText(values[i]) << "\n";
  }
  return 0;
}

const Registration callCommand{{"call", "call METHOD [ARG...]",
                                 "Creates the component and calls METHOD by name (case-blind) with the\n"
                                 "arguments: whole numbers, True/False, anything else as text. Prints the\n"
                                 "result, then NAME = VALUE for every by-reference parameter that the call\nchanged.",
                                 runCall}};

}  // namespace
}  // namespace tovport_cli
