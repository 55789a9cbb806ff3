#include "component/registration.h"

#include <utility>

#include <tovport/component/guids.h>

namespace tov {

using automation::toString;

namespace {
// The standard marshaller of automation interfaces.
constexpr const char* kPSOAInterface = "{00020424-0000-0000-C000-000000000046}";
}  // namespace

std::vector<RegEntry> registrationEntries(const std::string& module, const std::string& typeLibPlatform) {
  const std::string clsid = toString(CLSID_tovComPrtv3);
  const std::string libid = toString(LIBID_tovport);
  std::vector<RegEntry> entries = {
      {kProgId, "", "tovComPrtv3"},
      {std::string(kProgId) + "\\CLSID", "", clsid},
      {"CLSID\\" + clsid, "", "tovComPrtv3"},
      {"CLSID\\" + clsid + "\\InprocServer32", "", module},
      {"CLSID\\" + clsid + "\\InprocServer32", "ThreadingModel", "Apartment"},
      {"CLSID\\" + clsid + "\\ProgID", "", kProgId},
      {"CLSID\\" + clsid + "\\TypeLib", "", libid},
      {"CLSID\\" + clsid + "\\VERSION", "", "2.7"},
      {"TypeLib\\" + libid + "\\2.7", "", "tovport"},
      {"TypeLib\\" + libid + "\\2.7\\0\\" + typeLibPlatform, "", module},
      {"TypeLib\\" + libid + "\\2.7\\FLAGS", "", "0"},
  };
  for (const auto& [iid, name] : {std::pair{IID__tovComPrtv3, "_tovComPrtv3"}, {DIID___tovComPrtv3, "__tovComPrtv3"}}) {
    const std::string key = "Interface\\" + toString(iid);
    entries.push_back({key, "", name});
    entries.push_back({key + "\\ProxyStubClsid32", "", kPSOAInterface});
    entries.push_back({key + "\\TypeLib", "", libid});
    entries.push_back({key + "\\TypeLib", "Version", "2.7"});
  }
  return entries;
}

std::vector<std::string> ownedKeys() {
  return {kProgId, "CLSID\\" + toString(CLSID_tovComPrtv3), "TypeLib\\" + toString(LIBID_tovport),
          "Interface\\" + toString(IID__tovComPrtv3), "Interface\\" + toString(DIID___tovComPrtv3)};
}

}  // namespace tov
