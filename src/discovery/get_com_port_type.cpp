// The component's public lookup of a port's kind.
#include <tovport/automation/convert.h>
#include <tovport/component/tovcomprtv3.h>
#include "discovery/port_table.h"

namespace tov {

std::int32_t tovComPrtv3::GetComPortType(std::int16_t PortNr) {
  const ComPortType kind = discovery::GetPortType(PortNr, false);
  log(u"GetComPorttype for Port " + automation::numberText(PortNr) + u"returns: " +
      BStr(discovery::portTypeName(kind)));
  return kind;
}

}  // namespace tov
