// What a request found, printed in text mode once its end mark has come: one row per port the
// request tested (port, kind, outcome, model), one line with the answer ("1 phone found: COM3
// BenQ-Siemens S65", "no phone found on 1 tested port", "2 of 32 tested ports can be opened: COM1,
// COM3") and one line counting the ports that were not tested or are absent.
#pragma once

#include <cstdint>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <tovport/component/types.h>
#include "event_printer.h"

namespace tovport_cli {

// The request a summary describes: the call, and the port or list it named.
struct RequestScope {
  enum class Call { DetectAll, DetectPort, DetectList, TestAll, TestPort };
  Call call = Call::DetectAll;
  std::int16_t port = 0;  // DetectPort, TestPort
  std::string list;       // DetectList, as given ("1;3;12")
};

// The ports of a list the way the component reads it: entries separated by ';', blanks allowed;
// entries that are no number are left out.
std::set<int> listedPorts(const std::string& list);

// Whether the request tests a port of the kind given, as the component decides it.
bool requestTests(const RequestScope& scope, int port, tov::ComPortType kind);

// The summary of a finished request, or its answer line alone; the kinds come from the
// component's port table.
enum class SummaryForm { Full, AnswerOnly };
void printSummary(std::ostream& out, tov::automation::IDispatch& component, const RequestScope& scope,
                  const std::vector<HostEvent>& events, SummaryForm form = SummaryForm::Full);

// Prints the summary to stdout after the end mark, unless the host prints JSON (whose lines are
// events only, for scripts to parse).
RequestFinished summaryUnlessJson(const HostOptions& options, RequestScope scope);

}  // namespace tovport_cli
