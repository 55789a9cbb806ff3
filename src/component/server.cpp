#include "component/server.h"

#include <dlfcn.h>

#include <string>
#include <vector>

#include "automation/class_factory.h"
#include <tovport/component/guids.h>
#include <tovport/component/tovcomprtv3.h>
#include <tovport/platform/registry.h>

namespace tov {
namespace {

using namespace automation;
using platform::HKEY_CLASSES_ROOT;

constexpr const char* kProgId = "tovport.tovComPrtv3";
// The standard marshaller of automation interfaces.
constexpr const char* kPSOAInterface = "{00020424-0000-0000-C000-000000000046}";

std::string modulePath(const void* moduleAddress) {
  Dl_info info{};
  if (dladdr(moduleAddress, &info) && info.dli_fname) return info.dli_fname;
  return "libtovport_server.so";
}

struct RegEntry {
  std::string key;    // below HKEY_CLASSES_ROOT
  std::string name;   // "" = the default value
  std::string value;
};

// Everything registration writes, one row per value.
std::vector<RegEntry> registrationEntries(const std::string& module) {
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
      {"TypeLib\\" + libid + "\\2.7\\0\\win32", "", module},
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

// The keys registration owns: removing them removes every entry above.
std::vector<std::string> ownedKeys() {
  return {kProgId, "CLSID\\" + toString(CLSID_tovComPrtv3), "TypeLib\\" + toString(LIBID_tovport),
          "Interface\\" + toString(IID__tovComPrtv3), "Interface\\" + toString(DIID___tovComPrtv3)};
}

// Parents that registration may have had to create; removed again only when left empty.
const char* const kSharedParents[] = {"CLSID", "TypeLib", "Interface"};

bool isEmptyKey(const char* path) {
  platform::HKEY key = 0;
  if (platform::RegOpenKeyExA(HKEY_CLASSES_ROOT, path, 0, platform::KEY_READ, &key) != 0) return false;
  platform::DWORD subKeys = 0, values = 0;
  platform::RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, &subKeys, nullptr, nullptr, &values, nullptr, nullptr,
                             nullptr, nullptr);
  platform::RegCloseKey(key);
  return subKeys == 0 && values == 0;
}

}  // namespace

namespace server {

HRESULT registerServer(const void* moduleAddress) {
  for (const auto& e : registrationEntries(modulePath(moduleAddress))) {
    platform::HKEY key = 0;
    if (platform::RegCreateKeyExA(platform::HKEY_CLASSES_ROOT, e.key.c_str(), &key) != 0) return SELFREG_E_CLASS;
    const auto* data = reinterpret_cast<const platform::BYTE*>(e.value.c_str());
    const auto status = platform::RegSetValueExA(key, e.name.c_str(), platform::REG_SZ, data,
                                                 static_cast<platform::DWORD>(e.value.size() + 1));
    platform::RegCloseKey(key);
    if (status != 0) return SELFREG_E_CLASS;
  }
  return S_OK;
}

HRESULT unregisterServer() {
  for (const auto& key : ownedKeys()) platform::RegDeleteTreeA(platform::HKEY_CLASSES_ROOT, key.c_str());
  for (const char* parent : kSharedParents)
    if (isEmptyKey(parent)) platform::RegDeleteTreeA(platform::HKEY_CLASSES_ROOT, parent);
  return S_OK;
}

HRESULT getClassObject(const GUID* clsid, const GUID* iid, void** out) {
  if (!clsid || !iid || !out) return E_POINTER;
  *out = nullptr;
  if (*clsid != CLSID_tovComPrtv3) return CLASS_E_CLASSNOTAVAILABLE;
  Ref<ClassFactory> factory(new ClassFactory([] { auto instance = tovComPrtv3::create();
    return Ref<IUnknown>(static_cast<IDispatch*>(instance.get())); }));
  return factory->QueryInterface(*iid, out);
}

HRESULT canUnloadNow() { return ServerLifetime::objects() == 0 && ServerLifetime::locks() == 0 ? S_OK : S_FALSE; }

}  // namespace server
}  // namespace tov
