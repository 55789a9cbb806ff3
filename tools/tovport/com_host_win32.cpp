// The Windows host: the component comes from its registered in-process server through COM, in
// this thread's single-threaded apartment; the machine's own registry and COM ports are used.
#include <cstdio>
#include <stdexcept>
#include <string>

#include "component_host.h"
#include "automation/win32/ole_client.h"

#include <windows.h>

namespace tovport_cli {

ComponentApartment::ComponentApartment() {
  if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)))
    throw std::runtime_error("COM could not be initialised on this thread");
}

ComponentApartment::~ComponentApartment() { CoUninitialize(); }

tov::automation::Ref<tov::automation::IDispatch> createComponent() {
  static ComponentApartment apartment;
  CLSID clsid{};
  if (FAILED(CLSIDFromProgID(L"tovport.tovComPrtv3", &clsid)))
    throw std::runtime_error("tovport.tovComPrtv3 is not registered; run regsvr32 tovport.dll first");
  ::IDispatch* object = nullptr;
  const HRESULT hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                      reinterpret_cast<void**>(&object));
  if (FAILED(hr)) {
    char code[16];
    std::snprintf(code, sizeof code, "0x%08lX", static_cast<unsigned long>(hr));
    throw std::runtime_error(std::string("tovport.tovComPrtv3 could not be created (") + code + ")");
  }
  auto component = tov::automation::ole::client(object);
  object->Release();
  return component;
}

void pumpMessages(int milliseconds) {
  MsgWaitForMultipleObjects(0, nullptr, FALSE, static_cast<DWORD>(milliseconds), QS_ALLINPUT);
  MSG message;
  while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
    TranslateMessage(&message);
    DispatchMessageA(&message);
  }
}

bool messagesPending() { return HIWORD(GetQueueStatus(QS_ALLINPUT)) != 0; }

}  // namespace tovport_cli
