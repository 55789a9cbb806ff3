#include "component/win32/registration_win32.h"

#include <windows.h>
#include <olectl.h>

namespace tov::server {
namespace {

REGSAM viewOf(Width width) { return width == Width::Bits64 ? KEY_WOW64_64KEY : KEY_WOW64_32KEY; }

bool keyExists(const std::string& key, REGSAM view) {
  HKEY opened = nullptr;
  if (RegOpenKeyExA(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_READ | view, &opened) != ERROR_SUCCESS) return false;
  RegCloseKey(opened);
  return true;
}

void deleteTree(const std::string& key, REGSAM view) {
  HKEY opened = nullptr;
  if (RegOpenKeyExA(HKEY_CLASSES_ROOT, key.c_str(), 0, KEY_ALL_ACCESS | view, &opened) != ERROR_SUCCESS) return;
  RegDeleteTreeA(opened, nullptr);
  RegCloseKey(opened);
  RegDeleteKeyExA(HKEY_CLASSES_ROOT, key.c_str(), view, 0);
}

}  // namespace

automation::HRESULT registerWidth(const std::string& modulePath, Width width) {
  for (const auto& e : registrationEntries(modulePath, width)) {
    HKEY key = nullptr;
    if (RegCreateKeyExA(HKEY_CLASSES_ROOT, e.key.c_str(), 0, nullptr, 0, KEY_WRITE | viewOf(width), nullptr, &key,
                        nullptr) != ERROR_SUCCESS)
      return SELFREG_E_CLASS;
    const LSTATUS status =
        RegSetValueExA(key, e.name.empty() ? nullptr : e.name.c_str(), 0, REG_SZ,
                       reinterpret_cast<const BYTE*>(e.value.c_str()), static_cast<DWORD>(e.value.size() + 1));
    RegCloseKey(key);
    if (status != ERROR_SUCCESS) return SELFREG_E_CLASS;
  }
  return S_OK;
}

automation::HRESULT unregisterWidth(Width width) {
  const Width other = otherWidth(width);
  // The own keys go first: on 32-bit Windows the other width's view is this one.
  for (const auto& key : ownKeys()) deleteTree(key, viewOf(width));
  const OtherWidth holds{keyExists(classServerKey(), viewOf(other)), keyExists(typeLibFileKey(other), viewOf(width))};
  // A shared key is one key on Windows; Wine keeps a ProgID in each view.
  for (const auto& key : sharedKeysToRemove(width, holds))
    for (REGSAM view : {viewOf(width), viewOf(other)}) deleteTree(key, view);
  return S_OK;
}

}  // namespace tov::server
