// PortType: the kind of every COM port 1..32, filled by a discovery run and read through
// GetPortType. The table and its flag exist once per thread, shared by every component of it.
#pragma once

#include <cstdint>
#include <string_view>

#include <tovport/automation/variant.h>
#include <tovport/component/types.h>
#include "discovery/reg_access.h"

namespace tov::discovery {

// The calling thread's table (every entry cptNone at first) and whether a discovery run has gone
// through to its end since the last refresh.
PortTableOf<ComPortType>& PortTable();
bool& PortTableFilled();

// The kind of port PortNr; runs discovery first when asked to refresh or when the table is not
// filled. A PortNr outside 1..32 is error 9, raised after that run.
ComPortType GetPortType(std::int16_t PortNr, bool Refresh);

// Clears the table and runs the enumerators of the running OS family in their fixed order; the
// last one to name a port decides its kind. An error of an enumerator ends the run unfilled.
void DiscoverPorts();

// "COM7" to 7; 0 when the text holds no "COM" (any case). Otherwise the text after its first three
// characters converts as automation text to a 16-bit integer: error 13 (COMx) or 6.
std::int16_t PortNumberFromName(std::u16string_view Text);

// Whether a list of a RegKeyListing was dimensioned, that is has at least one entry.
template <class T>
bool ArrayHasElements(const RegList<T>& List) {
  return List.has_value();
}

// The discovery log sink: texts go to the thread's log observer and no further.
void PortTypeTrace(const automation::Variant& Text, std::u16string_view FileName = {});

// The name of a kind in the log text of GetComPortType ("seriell", "USB Active"); empty for
// cptPCMCIA and values outside the enum.
std::u16string_view portTypeName(std::int32_t kind);

}  // namespace tov::discovery
