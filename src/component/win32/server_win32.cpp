// The in-process server on Windows: registration in the system registry (the rows of
// registration.h, with this DLL's path), and the class factory handing out tovComPrtv3 objects
// served through real OLE Automation. The type library is a resource of this DLL (TYPELIB 1).
#include <tovport/component/guids.h>
#include "component/registration.h"
#include <tovport/component/tovcomprtv3.h>
#include "platform/module_path.h"
#include "automation/win32/ole_server.h"

#include <windows.h>
#include <olectl.h>

namespace {

namespace ole = tov::automation::ole;

std::string modulePath() { return tov::platform::modulePathOf(reinterpret_cast<const void*>(&modulePath)); }

// The type library embedded in this DLL, loaded once per process; null when it cannot be read
// (objects then offer no type information).
ITypeLib* typeLibrary() {
  static ITypeLib* library = [] {
    const std::string file = modulePath();
    wchar_t path[MAX_PATH] = {};
    MultiByteToWideChar(CP_ACP, 0, file.c_str(), -1, path, MAX_PATH);
    ITypeLib* loaded = nullptr;
    if (FAILED(LoadTypeLibEx(path, REGKIND_NONE, &loaded))) loaded = nullptr;
    return loaded;
  }();
  return library;
}

::IDispatch* createComponent() {
  auto component = tov::tovComPrtv3::create();
  const ole::ClassInfo info{tov::CLSID_tovComPrtv3, tov::IID__tovComPrtv3, tov::DIID___tovComPrtv3, typeLibrary()};
  return ole::serve(tov::automation::Ref<tov::automation::IDispatch>(component.get()), info);
}

}  // namespace

STDAPI DllRegisterServer() {
  const char* platform = sizeof(void*) == 8 ? "win64" : "win32";
  for (const auto& e : tov::registrationEntries(modulePath(), platform)) {
    HKEY key = nullptr;
    if (RegCreateKeyExA(HKEY_CLASSES_ROOT, e.key.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr) !=
        ERROR_SUCCESS)
      return SELFREG_E_CLASS;
    const LSTATUS status = RegSetValueExA(key, e.name.empty() ? nullptr : e.name.c_str(), 0, REG_SZ,
                                          reinterpret_cast<const BYTE*>(e.value.c_str()),
                                          static_cast<DWORD>(e.value.size() + 1));
    RegCloseKey(key);
    if (status != ERROR_SUCCESS) return SELFREG_E_CLASS;
  }
  return S_OK;
}

STDAPI DllUnregisterServer() {
  for (const auto& key : tov::ownedKeys()) RegDeleteTreeA(HKEY_CLASSES_ROOT, key.c_str());
  return S_OK;
}

STDAPI DllGetClassObject(REFCLSID clsid, REFIID iid, LPVOID* out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (clsid != ole::toOle(tov::CLSID_tovComPrtv3)) return CLASS_E_CLASSNOTAVAILABLE;
  IClassFactory* factory = ole::classFactory(createComponent);
  const HRESULT hr = factory->QueryInterface(iid, out);
  factory->Release();
  return hr;
}

STDAPI DllCanUnloadNow() {
  using tov::automation::ServerLifetime;
  return ServerLifetime::objects() == 0 && ServerLifetime::locks() == 0 ? S_OK : S_FALSE;
}
