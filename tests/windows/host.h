// What the Windows host programs share: counting failed checks, creating the registered component
// for its dual interface, an IDispatch event sink, pumping the thread's messages with a bound, and
// the run of a host in an apartment of its kind.
#pragma once

#include <windows.h>
#include <ocidl.h>

#include <atomic>
#include <cstdio>

#include "tovport_com.h"

namespace host {

inline std::atomic<int> failures{0};

inline void check(bool ok, const char* what) {
  if (ok) return;
  std::printf("FAIL %s\n", what);
  ++failures;
}

inline tovport::_tovComPrtv3* createComponent() {
  tovport::_tovComPrtv3* c = nullptr;
  if (FAILED(CoCreateInstance(tovport::CLSID_tovComPrtv3, nullptr, CLSCTX_INPROC_SERVER, tovport::IID__tovComPrtv3,
                              reinterpret_cast<void**>(&c))))
    check(false, "CoCreateInstance for IID__tovComPrtv3");
  return c;
}

// A sink for the events of the dispatch interface events; it lives as long as the host's frame.
class Sink : public IDispatch {
 public:
  explicit Sink(const GUID& events) : events_(events) {}
  virtual ~Sink() = default;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == events_) {
      *out = static_cast<IDispatch*>(this);
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*, EXCEPINFO*,
                                   UINT*) override {
    onEvent(id, *params);
    return S_OK;
  }

 protected:
  virtual void onEvent(DISPID id, DISPPARAMS& params) = 0;

 private:
  GUID events_;
};

// Connects sink to the component's connection point for events; returns the cookie (0: failed).
inline DWORD advise(IUnknown* component, const GUID& events, IDispatch* sink, IConnectionPoint** point) {
  IConnectionPointContainer* container = nullptr;
  DWORD cookie = 0;
  *point = nullptr;
  if (SUCCEEDED(component->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(&container))) &&
      SUCCEEDED(container->FindConnectionPoint(events, point)) && FAILED((*point)->Advise(sink, &cookie)))
    cookie = 0;
  if (container) container->Release();
  check(cookie != 0, "a sink connects to the event interface");
  return cookie;
}

// Pumps the thread's messages until done() or for at most boundMs; false when the bound passed.
template <class F>
bool pumpUntil(F done, DWORD boundMs) {
  const DWORD start = GetTickCount();
  while (!done()) {
    if (GetTickCount() - start > boundMs) return false;
    MsgWaitForMultipleObjects(0, nullptr, FALSE, 50, QS_ALLINPUT);
    MSG msg;
    while (PeekMessageW(&msg, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&msg);
  }
  return true;
}

// Runs checks in a single-threaded apartment; prints "<name> checks passed" and returns 0 when
// none failed.
template <class F>
int run(const char* name, F checks) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  checks();
  CoUninitialize();
  if (failures > 0) return 1;
  std::printf("%s checks passed\n", name);
  return 0;
}

}  // namespace host
