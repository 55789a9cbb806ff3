#include "component/server.h"

#include <string>
#include <vector>

#include "automation/class_factory.h"
#include <tovport/component/guids.h>
#include "component/registration.h"
#include <tovport/component/tovcomprtv3.h>
#include "platform/module_path.h"
#include <tovport/platform/registry.h>

namespace tov {
namespace {

using namespace automation;
using platform::HKEY_CLASSES_ROOT;

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
  // The simulated system is 32-bit Windows: one view of the registry, no other width.
  for (const auto& e : registrationEntries(platform::modulePathOf(moduleAddress), Width::Bits32)) {
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
  std::vector<std::string> keys = ownKeys();
  for (auto& key : sharedKeysToRemove(Width::Bits32, {})) keys.push_back(std::move(key));
  for (const auto& key : keys) platform::RegDeleteTreeA(platform::HKEY_CLASSES_ROOT, key.c_str());
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
