#include "summary.h"

#include <cstdio>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include <tovport/automation/convert.h>
#include <tovport/component/types.h>
#include "discovery/port_table.h"

namespace tovport_cli {
namespace {

using namespace tov::automation;
using Call = RequestScope::Call;

bool isDetection(Call call) { return call == Call::DetectAll || call == Call::DetectPort || call == Call::DetectList; }

// Which ports the request tested, by the kinds each request leaves out.
bool tested(const RequestScope& scope, const std::set<int>& listed, int port, tov::ComPortType kind) {
  switch (scope.call) {
    case Call::DetectAll:
      return kind != tov::cptNone && kind != tov::cptUnknown && kind != tov::cptBTSerialIn && kind != tov::cptBTDialUp;
    case Call::DetectPort:
      return port == scope.port && kind != tov::cptNone && kind != tov::cptBTSerialIn && kind != tov::cptBTDialUp;
    case Call::DetectList:
      return listed.count(port) && kind != tov::cptNone && kind != tov::cptUnknown;
    case Call::TestAll:
      return true;
    case Call::TestPort:
      return port == scope.port;
  }
  return false;
}

struct Outcome {
  std::int32_t value = -1;  // the event's error or availability; -1 when none came
  std::string model;        // the device name of a phone found
};

// The last outcome of each port; end marks repeat an outcome and are left out.
std::map<int, Outcome> outcomes(const std::vector<HostEvent>& events) {
  std::map<int, Outcome> out;
  for (const auto& e : events) {
    if (isEndMark(e)) continue;
    if (e.id == 3 && e.args.size() == 5) out[toI2(e.args[0])] = {toI4(e.args[4]), toUtf8(toText(e.args[1]))};
    if (e.id == 4 && e.args.size() == 2) out[toI2(e.args[0])] = {toI4(e.args[1]), {}};
  }
  return out;
}

std::string plural(std::size_t n, const char* one, const char* many) {
  return std::to_string(n) + " " + (n == 1 ? one : many);
}

std::string joined(const std::vector<std::string>& items) {
  std::string text;
  for (const auto& item : items) text += (text.empty() ? "" : ", ") + item;
  return text;
}

}  // namespace

std::set<int> listedPorts(const std::string& list) {
  std::set<int> ports;
  std::istringstream entries(list);
  for (std::string entry; std::getline(entries, entry, ';');) {
    try {
      ports.insert(std::stoi(entry));
    } catch (const std::exception&) {  // an entry the component refuses: the request failed anyway
    }
  }
  return ports;
}

bool requestTests(const RequestScope& scope, int port, tov::ComPortType kind) {
  return tested(scope, listedPorts(scope.list), port, kind);
}

void printSummary(std::ostream& out, IDispatch& component, const RequestScope& scope,
                  const std::vector<HostEvent>& events, SummaryForm form) {
  const bool full = form == SummaryForm::Full;
  const bool detection = isDetection(scope.call);
  const std::set<int> listed = listedPorts(scope.list);
  const std::map<int, Outcome> found = outcomes(events);
  std::vector<std::string> rows, successes;
  std::size_t testedCount = 0, untested = 0, absent = 0;
  for (std::int16_t port = 1; port <= tov::MaxPorts; ++port) {
    const auto kind = static_cast<tov::ComPortType>(toI4(callByName(component, u"GetComPortType", {port})));
    const auto outcome = found.find(port);
    const std::int32_t value = outcome == found.end() ? -1 : outcome->second.value;
    const bool success = detection ? value == tov::dde_NoError : value == tov::pa_Available;
    if (!tested(scope, listed, port, kind)) {
      ++(kind == tov::cptNone ? absent : untested);
      continue;
    }
    ++testedCount;
    if (kind == tov::cptNone && !success) {  // a port test of a port that does not exist
      ++absent;
      continue;
    }
    const std::string name = "COM" + std::to_string(port);
    const std::string model = success && detection ? outcome->second.model : "";
    if (success) successes.push_back(detection ? name + " " + model : name);
    const std::string outcomeName =
        value < 0 ? "no outcome" : memberName(detection ? "DeviceDetectionError" : "PortAvailability", value);
    char row[160];
    std::snprintf(row, sizeof row, "%-6s %-20s %-24s %s", name.c_str(),
                  toUtf8(tov::discovery::portTypeName(kind)).c_str(), outcomeName.c_str(), model.c_str());
    std::string text = row;
    rows.push_back(text.erase(text.find_last_not_of(' ') + 1));
  }

  if (full) out << "\n";
  if (full && !rows.empty()) {
    char header[80];
    std::snprintf(header, sizeof header, "%-6s %-20s %-24s %s", "port", "kind", "outcome", "model");
    out << header << "\n";
    for (const auto& row : rows) out << row << "\n";
  }
  const std::string tally = plural(testedCount, "tested port", "tested ports");
  if (detection) {
    if (!successes.empty()) out << plural(successes.size(), "phone", "phones") << " found: " << joined(successes);
    else if (testedCount > 0) out << "no phone found on " << tally;
    else out << "no phone found: no port was tested";
  } else {
    out << (successes.empty() ? "none" : std::to_string(successes.size())) << " of " << tally << " can be opened";
    if (!successes.empty()) out << ": " << joined(successes);
  }
  out << "\n";
  std::vector<std::string> counts;
  if (untested > 0) counts.push_back(plural(untested, "port", "ports") + " not tested");
  if (absent > 0) counts.push_back(plural(absent, "absent port", "absent ports"));
  if (full && !counts.empty()) out << joined(counts) << "\n";
}

RequestFinished summaryUnlessJson(const HostOptions& options, RequestScope scope) {
  if (options.json) return {};
  return [scope = std::move(scope)](IDispatch& component, const std::vector<HostEvent>& events) {
    printSummary(std::cout, component, scope, events);
  };
}

}  // namespace tovport_cli
