#include "detection/link_support.h"

#include "discovery/port_table.h"

namespace tov::detection {

ComPortType portKind(std::int16_t PortNr) { return discovery::GetPortType(PortNr, false); }

bool needsPauseBeforeSend(ComPortType kind) { return kind == cptUSBPassive || kind == cptIrDa || kind == cptUnknown; }

}  // namespace tov::detection
