// The event sink of the send command: keeps the ending of a free-form exchange, that is the
// first MsgReceived (with its text) or MsgTimeout the component raises.
#pragma once

#include <optional>
#include <string>

#include "automation/com.h"
#include "automation/idispatch.h"
#include "automation/variant.h"

namespace tovport_cli {

struct ExchangeEnding {
  bool received = false;  // MsgReceived; otherwise MsgTimeout
  std::u16string msg;
};

class SendSink final : public tov::automation::IDispatch, public tov::automation::RefCounted {
 public:
  // A sink connected to component's events until disconnect().
  static tov::automation::Ref<SendSink> connect(tov::automation::IDispatch& component);
  void disconnect();

  const std::optional<ExchangeEnding>& ending() const { return ending_; }

  tov::automation::HRESULT QueryInterface(const tov::automation::GUID& iid, void** out) override;
  std::uint32_t AddRef() override { return addRefImpl(); }
  std::uint32_t Release() override { return releaseImpl(); }
  tov::automation::HRESULT GetIDsOfNames(std::u16string_view, tov::automation::DISPID*) override;
  tov::automation::HRESULT Invoke(tov::automation::DISPID id, tov::automation::DispParams& params,
                                  tov::automation::Variant* result, tov::automation::ExcepInfo* excep,
                                  unsigned* argErr) override;

 private:
  tov::automation::IDispatch* source_ = nullptr;
  std::uint32_t cookie_ = 0;
  std::optional<ExchangeEnding> ending_;
};

}  // namespace tovport_cli
