// The in-process server on Windows: registration in the system registry (the rows of
// registration.h, with this DLL's path, in the view of this DLL's width), and the class factory
// handing out tovComPrtv3 objects served through real OLE Automation, by name and through the dual
// interface's function table. The type library is a resource of this DLL (TYPELIB 1).
#include <tovport/component/guids.h>
#include <tovport/component/tovcomprtv3.h>
#include "component/win32/registration_win32.h"
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

const ole::ClassInfo& classInfo() {
  static const ole::ClassInfo info = [] {
    ole::ClassInfo i{tov::CLSID_tovComPrtv3, tov::IID__tovComPrtv3, tov::DIID___tovComPrtv3, typeLibrary(), {}};
    for (const auto& m : tov::tovComPrtv3::methods()) i.functionTable.push_back(m.tableEntry);
    return i;
  }();
  return info;
}

::IDispatch* createComponent() {
  auto component = tov::tovComPrtv3::create();
  return ole::serve(tov::automation::Ref<tov::automation::IDispatch>(component.get()), classInfo());
}

constexpr tov::Width kWidth = sizeof(void*) == 8 ? tov::Width::Bits64 : tov::Width::Bits32;

}  // namespace

STDAPI DllRegisterServer() { return tov::server::registerWidth(modulePath(), kWidth); }

STDAPI DllUnregisterServer() { return tov::server::unregisterWidth(kWidth); }

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
