#include "discovery/port_table.h"

#include <array>

#include <tovport/automation/convert.h>
#include "component/debug_log.h"

namespace tov::discovery {
namespace {

struct PortTableState {
  PortTableOf<ComPortType> table{};
  bool filled = false;
};

PortTableState& portTableState() {
  thread_local PortTableState state;
  return state;
}

constexpr std::array<std::u16string_view, 10> kPortTypeNames = {
    u"kein COM-Port", u"unbekannter Typ",    u"seriell",             u"Infrarot",         u"Bluetooth",
    u"USB Active",    u"Bluetooth SerialIn", u"Bluetooth SerialOut", u"Bluetooth DialUp", u"USB Passive"};

}  // namespace

PortTableOf<ComPortType>& PortTable() { return portTableState().table; }
bool& PortTableFilled() { return portTableState().filled; }

ComPortType GetPortType(std::int16_t PortNr, bool Refresh) {
  if (Refresh) PortTableFilled() = false;
  if (!PortTableFilled()) DiscoverPorts();
  return PortTable()(PortNr);
}

std::int16_t PortNumberFromName(std::u16string_view Text) {
  if (!automation::containsNoCase(Text, u"COM")) return 0;
  // The first three characters go, wherever "COM" was found: xCOM4 leaves M4.
  return automation::textToI2(Text.substr(3));
}

void PortTypeTrace(const automation::Variant& Text, std::u16string_view) {
  const automation::Variant text = Text.deref();
  if (const auto* s = text.get<automation::BStr>()) notifyLogObserver(*s);
}

std::u16string_view portTypeName(std::int32_t kind) {
  if (kind < 0 || kind >= static_cast<std::int32_t>(kPortTypeNames.size())) return {};
  return kPortTypeNames[static_cast<std::size_t>(kind)];
}

}  // namespace tov::discovery
