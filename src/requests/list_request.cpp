// DetectDevicesFromList: a detection of the ports a ";"-separated list names.
#include <vector>

#include <tovport/automation/convert.h>
#include <tovport/component/tovcomprtv3.h>
#include "discovery/port_table.h"
#include "requests/request_support.h"

namespace tov {
namespace {

// Entries between the separators, empty ones kept; an empty text has no entry at all.
std::vector<BStr> splitList(const BStr& list) {
  std::vector<BStr> entries;
  if (list.empty()) return entries;
  BStr::size_type from = 0;
  for (;;) {
    const auto at = list.find(u';', from);
    entries.push_back(list.substr(from, at == BStr::npos ? BStr::npos : at - from));
    if (at == BStr::npos) return entries;
    from = at + 1;
  }
}

}  // namespace

VariantBool tovComPrtv3::DetectDevicesFromList(BStr& ComPortList) {
  if (isTrue(AnyPortPending())) {
    requests::raiseUntested(*this, 1, dtNotTested, dde_Pending);
    return VariantBool::False;
  }
  const std::vector<BStr> entries = splitList(ComPortList);

  bool anyToTest = false;
  for (std::int16_t p = 1; p <= MaxPorts; ++p) {
    Pending(p) = VariantBool::False;
    const ComPortType kind = discovery::GetPortType(p, false);
    if (kind == cptNone || kind == cptUnknown) continue;
    // Converted again for every port of a tested kind: a bad entry fails at the first such port,
    // leaving the flags set so far.
    for (const BStr& entry : entries) {
      if (automation::textToI2(entry) == p) {
        Pending(p) = VariantBool::True;
        anyToTest = true;
      }
    }
  }

  Worker = threads::ThreadControl::create();
  for (std::int16_t p = 1; p <= MaxPorts; ++p) {
    if (isTrue(Pending(p)))
      requests::startPortWorker(*this, p, requests::kDetectEntry);
    else
      requests::raiseUntested(*this, p, dtNone, dde_CouldNotOpenPort);
  }

  if (!anyToTest) requests::raiseUntested(*this, 1, dtNone, dde_NoMoreDevices);
  return VariantBool::True;
}

}  // namespace tov
