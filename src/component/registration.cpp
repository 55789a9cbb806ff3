#include "component/registration.h"

#include <utility>

#include <tovport/component/guids.h>

namespace tov {

using automation::toString;

namespace {
// The standard marshaller of automation interfaces: the registered type library describes them.
constexpr const char* kPSOAInterface = "{00020424-0000-0000-C000-000000000046}";

std::string classKey() { return "CLSID\\" + toString(CLSID_tovComPrtv3); }
std::string typeLibKey() { return "TypeLib\\" + toString(LIBID_tovport); }
std::string typeLibVersionKey() { return typeLibKey() + "\\2.7"; }

const std::pair<automation::GUID, const char*> kInterfaces[] = {{IID__tovComPrtv3, "_tovComPrtv3"},
                                                                 {DIID___tovComPrtv3, "__tovComPrtv3"}};
}  // namespace

std::string_view typeLibPlatform(Width width) { return width == Width::Bits64 ? "win64" : "win32"; }

std::string classServerKey() { return classKey() + "\\InprocServer32"; }

std::string typeLibFileKey(Width width) { return typeLibVersionKey() + "\\0\\" + std::string(typeLibPlatform(width)); }

std::vector<RegEntry> registrationEntries(const std::string& module, Width width) {
  const std::string clsid = toString(CLSID_tovComPrtv3);
  const std::string libid = toString(LIBID_tovport);
  std::vector<RegEntry> entries = {
      {kProgId, "", "tovComPrtv3"},
      {std::string(kProgId) + "\\CLSID", "", clsid},
      {classKey(), "", "tovComPrtv3"},
      {classServerKey(), "", module},
      {classServerKey(), "ThreadingModel", "Apartment"},
      {classKey() + "\\ProgID", "", kProgId},
      {classKey() + "\\TypeLib", "", libid},
      {classKey() + "\\VERSION", "", "2.7"},
      {typeLibVersionKey(), "", "tovport"},
      {typeLibFileKey(width), "", module},
      {typeLibVersionKey() + "\\FLAGS", "", "0"},
  };
  for (const auto& [iid, name] : kInterfaces) {
    const std::string key = "Interface\\" + toString(iid);
    entries.push_back({key, "", name});
    entries.push_back({key + "\\ProxyStubClsid32", "", kPSOAInterface});
    entries.push_back({key + "\\TypeLib", "", libid});
    entries.push_back({key + "\\TypeLib", "Version", "2.7"});
  }
  return entries;
}

std::vector<std::string> ownKeys() {
  std::vector<std::string> keys{classKey()};
  for (const auto& [iid, name] : kInterfaces) keys.push_back("Interface\\" + toString(iid));
  return keys;
}

std::vector<std::string> sharedKeysToRemove(Width width, OtherWidth other) {
  std::vector<std::string> keys{typeLibFileKey(width)};
  if (!other.typeLibRegistered) keys.push_back(typeLibKey());
  if (!other.classRegistered) keys.push_back(kProgId);
  return keys;
}

}  // namespace tov
