// Placeholder: port kinds are provided by the discovery subsystem.
#include "component/tovcomprtv3.h"

namespace tov {

std::int32_t tovComPrtv3::GetComPortType(std::int16_t) { automation::notAvailable("GetComPortType"); }

}  // namespace tov
