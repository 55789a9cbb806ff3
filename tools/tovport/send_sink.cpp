#include "send_sink.h"

#include "automation/connection_point.h"
#include "automation/convert.h"
#include "automation/dispatch.h"
#include "component/guids.h"

namespace tovport_cli {

using namespace tov::automation;

namespace {
constexpr DISPID kMsgTimeout = 1;
constexpr DISPID kMsgReceived = 2;
}  // namespace

Ref<SendSink> SendSink::connect(IDispatch& component) {
  Ref<SendSink> sink(new SendSink());
  const HRESULT hr = advise(component, tov::DIID___tovComPrtv3, *sink, &sink->cookie_);
  if (hr == S_OK) sink->source_ = &component;
  return sink;
}

void SendSink::disconnect() {
  if (source_) unadvise(*source_, tov::DIID___tovComPrtv3, cookie_);
  source_ = nullptr;
}

HRESULT SendSink::QueryInterface(const GUID& iid, void** out) {
  if (iid == IID_IUnknown || iid == IID_IDispatch || iid == tov::DIID___tovComPrtv3) {
    *out = static_cast<IDispatch*>(this);
    AddRef();
    return S_OK;
  }
  *out = nullptr;
  return E_NOINTERFACE;
}

HRESULT SendSink::GetIDsOfNames(std::u16string_view, DISPID*) { return DISP_E_UNKNOWNNAME; }

HRESULT SendSink::Invoke(DISPID id, DispParams& params, Variant*, ExcepInfo*, unsigned*) {
  if (ending_) return S_OK;  // the exchange has already ended
  if (id == kMsgReceived && params.args.size() == 1)
    ending_ = ExchangeEnding{true, toText(params.args[0])};
  else if (id == kMsgTimeout)
    ending_ = ExchangeEnding{false, {}};
  return S_OK;
}

}  // namespace tovport_cli
