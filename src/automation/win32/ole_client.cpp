#include "automation/win32/ole_client.h"

namespace tov::automation::ole {
namespace {

class Client final : public IDispatch, public RefCounted {
 public:
  explicit Client(::IDispatch* target) : target_(target) { target_->AddRef(); }
  ~Client() override { target_->Release(); }

  HRESULT QueryInterface(const GUID& iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IDispatch) {
      *out = static_cast<IDispatch*>(this);
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  std::uint32_t AddRef() override { return addRefImpl(); }
  std::uint32_t Release() override { return releaseImpl(); }

  HRESULT GetIDsOfNames(std::u16string_view name, DISPID* id) override {
    std::u16string text(name);
    LPOLESTR names[] = {reinterpret_cast<LPOLESTR>(text.data())};
    ::DISPID found = DISPID_UNKNOWN;
    const ::HRESULT hr = target_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &found);
    *id = found;
    return hr;
  }

  HRESULT Invoke(DISPID id, DispParams& params, Variant* result, ExcepInfo* excep, unsigned* argErr) override {
    OutgoingArguments args(params);
    VARIANT value;
    VariantInit(&value);
    EXCEPINFO error{};
    UINT badArgument = 0;
    const WORD flags = result ? DISPATCH_METHOD | DISPATCH_PROPERTYGET : DISPATCH_METHOD;
    const ::HRESULT hr = target_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, args.params(),
                                         result ? &value : nullptr, &error, &badArgument);
    if (SUCCEEDED(hr)) {
      args.writeBack(params);
      if (result) *result = fromOle(value);
    } else if (hr == DISP_E_EXCEPTION && excep) {
      *excep = fromOle(error);
    }
    if (argErr) *argErr = badArgument;
    VariantClear(&value);
    SysFreeString(error.bstrSource);
    SysFreeString(error.bstrDescription);
    SysFreeString(error.bstrHelpFile);
    return hr;
  }

 private:
  ::IDispatch* target_;
};

}  // namespace

Ref<IDispatch> client(::IDispatch* target) { return Ref<IDispatch>(new Client(target)); }

}  // namespace tov::automation::ole
