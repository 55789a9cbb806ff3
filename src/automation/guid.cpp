#include <cstdio>

#include <tovport/automation/com.h>

namespace tov::automation {

std::string toString(const GUID& g) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", g.Data1, g.Data2, g.Data3,
                g.Data4[0], g.Data4[1], g.Data4[2], g.Data4[3], g.Data4[4], g.Data4[5], g.Data4[6], g.Data4[7]);
  return buf;
}

}  // namespace tov::automation
