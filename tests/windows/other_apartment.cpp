// The dual interface from another apartment: the component lives in this thread's single-threaded
// apartment; a thread of the multithreaded apartment receives it marshalled (the registered type
// library's marshaller builds the proxy), calls through the function table, connects a sink of its
// own and hears an event, while this thread pumps its messages. Prints each failed check and exits
// 1 when there was one.
#include <atomic>
#include <string>

#include "host.h"

namespace {

using host::check;

// A free-threaded sink of the caller's apartment; it answers MsgReceived by changing the text.
class Answering final : public host::Sink {
 public:
  Answering() : Sink(tovport::DIID___tovComPrtv3) {}
  std::atomic<DWORD> thread{0};

 protected:
  void onEvent(DISPID id, DISPPARAMS& params) override {
    if (id != 2 || params.cArgs != 1 || params.rgvarg[0].vt != (VT_BYREF | VT_BSTR)) return;
    thread = GetCurrentThreadId();
    SysFreeString(*params.rgvarg[0].pbstrVal);
    *params.rgvarg[0].pbstrVal = SysAllocString(L"heard in the other apartment");
  }
};

struct Call {
  IStream* stream;
  DWORD componentThread;
};

DWORD WINAPI callFromMta(void* parameter) {
  auto* call = static_cast<Call*>(parameter);
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  tovport::_tovComPrtv3* c = nullptr;
  if (FAILED(CoGetInterfaceAndReleaseStream(call->stream, tovport::IID__tovComPrtv3, reinterpret_cast<void**>(&c)))) {
    check(false, "the dual interface unmarshals in the other apartment");
    CoUninitialize();
    return 0;
  }
  BSTR name = nullptr;
  check(
      SUCCEEDED(c->VBGetDeviceName(tovport::dtSiemens_S65, &name)) && name && std::wstring(name) == L"BenQ-Siemens S65",
      "VBGetDeviceName through the proxy");
  SysFreeString(name);
  short seconds = 0;
  check(c->VBGetTimeoutSeconds(99, &seconds) == static_cast<HRESULT>(0x800A0009u),
        "an automation error comes back through the proxy");

  Answering sink;
  IConnectionPoint* point = nullptr;
  if (const DWORD cookie = host::advise(c, tovport::DIID___tovComPrtv3, &sink, &point)) {
    BSTR msg = SysAllocString(L"hello");
    check(SUCCEEDED(c->fireEventMsgReceived(&msg)), "fireEventMsgReceived through the proxy");
    check(msg && std::wstring(msg) == L"heard in the other apartment", "the sink's change comes back to the caller");
    check(sink.thread != 0 && sink.thread != call->componentThread, "the sink hears the event in its own apartment");
    SysFreeString(msg);
    point->Unadvise(cookie);
  }
  if (point) point->Release();
  c->Release();
  CoUninitialize();
  return 0;
}

void checks() {
  tovport::_tovComPrtv3* c = host::createComponent();
  if (!c) return;
  Call call{nullptr, GetCurrentThreadId()};
  if (FAILED(CoMarshalInterThreadInterfaceInStream(tovport::IID__tovComPrtv3, c, &call.stream))) {
    check(false, "the dual interface marshals");
  } else {
    HANDLE thread = CreateThread(nullptr, 0, callFromMta, &call, 0, nullptr);
    // The component's apartment serves the calls while it pumps.
    check(host::pumpUntil([&] { return WaitForSingleObject(thread, 0) == WAIT_OBJECT_0; }, 60000),
          "the other apartment's calls finish");
    CloseHandle(thread);
  }
  c->Release();
}

}  // namespace

int main() { return host::run("other-apartment", checks); }
