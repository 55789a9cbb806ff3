// A host that receives events the way Visual Basic's WithEvents does: it reads the class's default
// source interface from the type library (IProvideClassInfo), connects an IDispatch sink to that
// connection point, and calls through the dual interface. Every event argument must arrive by
// reference in its type; a handler's change reaches the raiser. TestAllPorts runs to its end mark
// while the host pumps its messages. Prints each failed check and exits 1 when there was one.
#include <string>
#include <vector>

#include "host.h"

namespace {

using host::check;

// The by-reference VARIANT types of each event's arguments, first argument first.
const std::vector<std::vector<VARTYPE>> kArgumentTypes = {
    {},
    {VT_BYREF | VT_BSTR},
    {VT_BYREF | VT_I2, VT_BYREF | VT_BSTR, VT_BYREF | VT_BOOL, VT_BYREF | VT_I4, VT_BYREF | VT_I4},
    {VT_BYREF | VT_I2, VT_BYREF | VT_I4},
};

class Recorder final : public host::Sink {
 public:
  using Sink::Sink;
  std::vector<DISPID> received;
  bool portsEnded = false;

 protected:
  void onEvent(DISPID id, DISPPARAMS& params) override {
    received.push_back(id);
    if (id < 1 || id > 4 || params.cArgs != kArgumentTypes[id - 1].size()) {
      check(false, "an event of the interface with its arguments");
      return;
    }
    const UINT n = params.cArgs;
    for (UINT i = 0; i < n; ++i)  // DISPPARAMS hold the last argument first
      check(params.rgvarg[n - 1 - i].vt == kArgumentTypes[id - 1][i], "an event argument by reference in its type");
    if (id == 2) {  // MsgReceived: the handler replaces the text
      SysFreeString(*params.rgvarg[0].pbstrVal);
      *params.rgvarg[0].pbstrVal = SysAllocString(L"changed by the handler");
    }
    if (id == 4 && *params.rgvarg[0].plVal == tovport::pa_NoMorePorts) portsEnded = true;
  }
};

// The default source interface of the class, as the type library describes it.
GUID sourceInterface(IUnknown* object) {
  GUID found = GUID_NULL;
  IProvideClassInfo* provide = nullptr;
  ITypeInfo* coclass = nullptr;
  TYPEATTR* attr = nullptr;
  if (FAILED(object->QueryInterface(IID_IProvideClassInfo, reinterpret_cast<void**>(&provide))) ||
      FAILED(provide->GetClassInfo(&coclass)) || FAILED(coclass->GetTypeAttr(&attr)))
    return found;
  for (UINT i = 0; i < attr->cImplTypes; ++i) {
    INT flags = 0;
    HREFTYPE ref = 0;
    ITypeInfo* impl = nullptr;
    TYPEATTR* implAttr = nullptr;
    if (SUCCEEDED(coclass->GetImplTypeFlags(i, &flags)) && flags == (IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE) &&
        SUCCEEDED(coclass->GetRefTypeOfImplType(i, &ref)) && SUCCEEDED(coclass->GetRefTypeInfo(ref, &impl)) &&
        SUCCEEDED(impl->GetTypeAttr(&implAttr))) {
      found = implAttr->guid;
      impl->ReleaseTypeAttr(implAttr);
    }
    if (impl) impl->Release();
  }
  coclass->ReleaseTypeAttr(attr);
  coclass->Release();
  provide->Release();
  return found;
}

void checks() {
  tovport::_tovComPrtv3* c = host::createComponent();
  if (!c) return;
  const GUID events = sourceInterface(c);
  check(events == tovport::DIID___tovComPrtv3, "the type library names __tovComPrtv3 as the default source");
  IProvideClassInfo2* provide2 = nullptr;
  GUID reported = GUID_NULL;
  check(SUCCEEDED(c->QueryInterface(IID_IProvideClassInfo2, reinterpret_cast<void**>(&provide2))) &&
            SUCCEEDED(provide2->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &reported)) && reported == events,
        "IProvideClassInfo2 names the same event interface");
  if (provide2) provide2->Release();

  Recorder sink(events);
  IConnectionPoint* point = nullptr;
  const DWORD cookie = host::advise(c, events, &sink, &point);
  if (cookie) {
    c->fireEventMsgTimeout();
    BSTR msg = SysAllocString(L"hello");
    c->fireEventMsgReceived(&msg);
    check(std::wstring(msg) == L"changed by the handler", "the handler's change of msg reaches the caller");
    SysFreeString(msg);
    // Without a worker controller the raiser fails after its events (error 91).
    c->fireEventDeviceDetected(5, tovport::dtSiemens_S65, tovport::dde_NoError, VARIANT_FALSE);
    check(sink.received == std::vector<DISPID>({1, 2, 3, 3}), "MsgTimeout, MsgReceived, DeviceDetected, its end mark");

    VARIANT_BOOL accepted = VARIANT_FALSE;
    check(SUCCEEDED(c->TestAllPorts(&accepted)) && accepted == VARIANT_TRUE, "TestAllPorts is accepted");
    check(host::pumpUntil([&] { return sink.portsEnded; }, 60000), "TestAllPorts reaches its end mark pa_NoMorePorts");
    check(sink.received.back() == 4, "the port test reports through PortAvailable");
    point->Unadvise(cookie);
  }
  if (point) point->Release();
  c->Release();
}

}  // namespace

int main() { return host::run("event host", checks); }
