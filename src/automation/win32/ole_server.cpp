#include "automation/win32/ole_server.h"

#include <tovport/automation/connection_point.h>
#include "automation/win32/function_table_entry.h"
#include "automation/win32/ole_client.h"

namespace tov::automation::ole {
namespace {

template <class Interface>
::HRESULT handOut(Interface* object, void** out) {
  object->AddRef();
  *out = object;
  return S_OK;
}

class ServedObject;

// Inside the classes below, IDispatch names the system's interface they implement.
using RuntimeDispatch = automation::IDispatch;

// The connection point of the event interface. A host's sink is connected to the runtime
// object's own connection point, so events reach it as the runtime raises them; its by-reference
// arguments come back into the raiser's variables.
class EventPoint final : public ::IConnectionPoint, public RefCounted {
 public:
  EventPoint(ServedObject* container, Ref<RuntimeDispatch> inner, const GUID& eventIid);
  ~EventPoint() override;

  ::HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == ::IID_IUnknown || iid == ::IID_IConnectionPoint) return handOut(this, out);
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return addRefImpl(); }
  ULONG STDMETHODCALLTYPE Release() override { return releaseImpl(); }

  ::HRESULT STDMETHODCALLTYPE GetConnectionInterface(::IID* iid) override {
    if (!iid) return E_POINTER;
    *iid = toOle(eventIid_);
    return S_OK;
  }
  ::HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(::IConnectionPointContainer** out) override;
  ::HRESULT STDMETHODCALLTYPE Advise(::IUnknown* sink, DWORD* cookie) override {
    if (!sink || !cookie) return E_POINTER;
    ::IDispatch* dispatch = nullptr;
    const ::IID eventIid = toOle(eventIid_);
    if (FAILED(sink->QueryInterface(eventIid, reinterpret_cast<void**>(&dispatch))) &&
        FAILED(sink->QueryInterface(::IID_IDispatch, reinterpret_cast<void**>(&dispatch))))
      return CONNECT_E_CANNOTCONNECT;
    Ref<RuntimeDispatch> bridge = client(dispatch);
    dispatch->Release();
    std::uint32_t innerCookie = 0;
    const HRESULT hr = advise(*inner_, eventIid_, *bridge, &innerCookie);
    *cookie = innerCookie;
    return hr;
  }
  ::HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override { return unadvise(*inner_, eventIid_, cookie); }
  ::HRESULT STDMETHODCALLTYPE EnumConnections(::IEnumConnections** out) override {
    if (out) *out = nullptr;
    return E_NOTIMPL;
  }

 private:
  ServedObject* container_;  // held by a counted reference for this point's lifetime
  Ref<RuntimeDispatch> inner_;
  GUID eventIid_;
};

// The dual interface of a served object: a function table whose first seven entries are
// IDispatch's (the object's own) and whose others are the method entries of the interface table.
struct DualView {
  const void* const* table;
  ServedObject* owner;
};

class ServedObject final : public ::IDispatch,
                           public ::IConnectionPointContainer,
                           public ::IProvideClassInfo2,
                           public ::ISupportErrorInfo,
                           public RefCounted {
 public:
  ServedObject(Ref<RuntimeDispatch> inner, const ClassInfo& info);
  ~ServedObject() override {
    if (info_.typeLibrary) info_.typeLibrary->Release();
  }

  static ServedObject& behind(void* dual) { return *static_cast<DualView*>(dual)->owner; }

  ::HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == ::IID_IUnknown || iid == ::IID_IDispatch) return handOut(static_cast<::IDispatch*>(this), out);
    if (iid == toOle(info_.iid)) {
      if (dualTable_.empty()) return handOut(static_cast<::IDispatch*>(this), out);
      AddRef();
      *out = &dual_;
      return S_OK;
    }
    if (iid == ::IID_IConnectionPointContainer) return handOut(static_cast<::IConnectionPointContainer*>(this), out);
    if (iid == ::IID_IProvideClassInfo || iid == ::IID_IProvideClassInfo2)
      return handOut(static_cast<::IProvideClassInfo2*>(this), out);
    if (iid == ::IID_ISupportErrorInfo) return handOut(static_cast<::ISupportErrorInfo*>(this), out);
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return addRefImpl(); }
  ULONG STDMETHODCALLTYPE Release() override { return releaseImpl(); }

  // IDispatch
  ::HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (!count) return E_POINTER;
    *count = info_.typeLibrary ? 1 : 0;
    return S_OK;
  }
  ::HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ::ITypeInfo** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (index != 0 || !info_.typeLibrary) return DISP_E_BADINDEX;
    return info_.typeLibrary->GetTypeInfoOfGuid(toOle(info_.iid), out);
  }
  ::HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, ::DISPID* ids) override {
    if (!names || !ids || count == 0) return E_INVALIDARG;
    // Only the member name is known: the component takes no named arguments.
    for (UINT i = 1; i < count; ++i) ids[i] = DISPID_UNKNOWN;
    DISPID id = DISPID_UNKNOWN;
    const HRESULT hr = inner_->GetIDsOfNames(reinterpret_cast<const char16_t*>(names[0]), &id);
    ids[0] = id;
    return FAILED(hr) || count == 1 ? hr : DISP_E_UNKNOWNNAME;
  }
  ::HRESULT STDMETHODCALLTYPE Invoke(::DISPID id, REFIID iid, LCID, WORD flags, DISPPARAMS* params, VARIANT* result,
                                     EXCEPINFO* excep, UINT* argErr) override {
    if (iid != IID_NULL) return DISP_E_UNKNOWNINTERFACE;
    if (!(flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET))) return DISP_E_MEMBERNOTFOUND;
    DISPPARAMS none{};
    if (!params) params = &none;
    if (params->cNamedArgs > 0) return DISP_E_NONAMEDARGS;
    Variant value;
    ExcepInfo error;
    unsigned badArgument = 0;
    HRESULT hr = call(id, *params, &value, error, badArgument);
    if (SUCCEEDED(hr) && result) hr = convertResult([&] { toOle(value, result); }, error);
    if (hr == DISP_E_EXCEPTION && excep) toOle(error, excep);
    if ((hr == DISP_E_TYPEMISMATCH || hr == DISP_E_PARAMNOTFOUND || hr == DISP_E_OVERFLOW) && argErr)
      *argErr = badArgument;
    return hr;
  }

  // A call through the dual interface's function table: the same call, its error as an HRESULT
  // with the error object.
  HRESULT callThroughTable(DISPID id, DISPPARAMS& params, TableArgument result) {
    Variant value;
    ExcepInfo error;
    unsigned badArgument = 0;
    HRESULT hr = call(id, params, result.type == VT_EMPTY ? nullptr : &value, error, badArgument);
    if (SUCCEEDED(hr) && result.type != VT_EMPTY)
      hr = convertResult([&] { toOle(value, static_cast<VARTYPE>(result.type), result.value); }, error);
    if (hr == DISP_E_EXCEPTION) return raiseErrorInfo(error, info_.iid);
    if (FAILED(hr)) SetErrorInfo(0, nullptr);
    return hr;
  }

  // IConnectionPointContainer
  ::HRESULT STDMETHODCALLTYPE EnumConnectionPoints(::IEnumConnectionPoints** out) override {
    if (out) *out = nullptr;
    return E_NOTIMPL;
  }
  ::HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, ::IConnectionPoint** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (iid != toOle(info_.eventIid)) return CONNECT_E_NOCONNECTION;
    *out = new EventPoint(this, inner_, info_.eventIid);
    (*out)->AddRef();
    return S_OK;
  }

  // IProvideClassInfo2
  ::HRESULT STDMETHODCALLTYPE GetClassInfo(::ITypeInfo** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!info_.typeLibrary) return E_NOTIMPL;
    return info_.typeLibrary->GetTypeInfoOfGuid(toOle(info_.clsid), out);
  }
  ::HRESULT STDMETHODCALLTYPE GetGUID(DWORD kind, ::GUID* out) override {
    if (!out) return E_POINTER;
    if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID) return E_INVALIDARG;
    *out = toOle(info_.eventIid);
    return S_OK;
  }

  // ISupportErrorInfo: calls through the function table set the error object.
  ::HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override {
    return !dualTable_.empty() && iid == toOle(info_.iid) ? S_OK : S_FALSE;
  }

 private:
  // Runs method id with the host's arguments; by-reference arguments are written back after a
  // successful call.
  HRESULT call(DISPID id, const DISPPARAMS& params, Variant* value, ExcepInfo& error, unsigned& badArgument) {
    IncomingArguments args(params);
    const HRESULT hr = inner_->Invoke(id, args.params(), value, &error, &badArgument);
    if (FAILED(hr)) return hr;
    return convertResult([&] { args.writeBack(); }, error);
  }

  // A value the host's type cannot take ends the call with its run-time error.
  template <class F>
  static HRESULT convertResult(F&& convert, ExcepInfo& error) {
    try {
      convert();
      return S_OK;
    } catch (const RuntimeError& e) {
      error = ExcepInfo{e.number(), u"tovport", fromUtf8(e.description()), e.hresult()};
      return DISP_E_EXCEPTION;
    }
  }

  Ref<RuntimeDispatch> inner_;
  ClassInfo info_;
  std::vector<const void*> dualTable_;
  DualView dual_{nullptr, this};
};

// IDispatch's entries of a dual interface's function table answer for the object behind it.
namespace dual {
::HRESULT STDMETHODCALLTYPE QueryInterface(void* self, REFIID iid, void** out) {
  return ServedObject::behind(self).QueryInterface(iid, out);
}
ULONG STDMETHODCALLTYPE AddRef(void* self) { return ServedObject::behind(self).AddRef(); }
ULONG STDMETHODCALLTYPE Release(void* self) { return ServedObject::behind(self).Release(); }
::HRESULT STDMETHODCALLTYPE GetTypeInfoCount(void* self, UINT* count) {
  return ServedObject::behind(self).GetTypeInfoCount(count);
}
::HRESULT STDMETHODCALLTYPE GetTypeInfo(void* self, UINT index, LCID lcid, ::ITypeInfo** out) {
  return ServedObject::behind(self).GetTypeInfo(index, lcid, out);
}
::HRESULT STDMETHODCALLTYPE GetIDsOfNames(void* self, REFIID iid, LPOLESTR* names, UINT count, LCID lcid,
                                          ::DISPID* ids) {
  return ServedObject::behind(self).GetIDsOfNames(iid, names, count, lcid, ids);
}
::HRESULT STDMETHODCALLTYPE Invoke(void* self, ::DISPID id, REFIID iid, LCID lcid, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* excep, UINT* argErr) {
  return ServedObject::behind(self).Invoke(id, iid, lcid, flags, params, result, excep, argErr);
}
}  // namespace dual

ServedObject::ServedObject(Ref<RuntimeDispatch> inner, const ClassInfo& info) : inner_(std::move(inner)), info_(info) {
  if (info_.typeLibrary) info_.typeLibrary->AddRef();
  if (info_.functionTable.empty()) return;
  auto address = [](auto function) { return reinterpret_cast<const void*>(function); };
  dualTable_ = {address(&dual::QueryInterface),   address(&dual::AddRef),        address(&dual::Release),
                address(&dual::GetTypeInfoCount), address(&dual::GetTypeInfo),   address(&dual::GetIDsOfNames),
                address(&dual::Invoke)};
  for (FunctionTableEntry entry : info_.functionTable) dualTable_.push_back(address(entry));
  dual_.table = dualTable_.data();
}

EventPoint::EventPoint(ServedObject* container, Ref<RuntimeDispatch> inner, const GUID& eventIid)
    : container_(container), inner_(std::move(inner)), eventIid_(eventIid) {
  static_cast<::IDispatch*>(container_)->AddRef();
}

EventPoint::~EventPoint() { static_cast<::IDispatch*>(container_)->Release(); }

::HRESULT EventPoint::GetConnectionPointContainer(::IConnectionPointContainer** out) {
  if (!out) return E_POINTER;
  return handOut(static_cast<::IConnectionPointContainer*>(container_), reinterpret_cast<void**>(out));
}

class ClassFactory final : public ::IClassFactory, public RefCounted {
 public:
  explicit ClassFactory(std::function<::IDispatch*()> create) : create_(std::move(create)) {}

  ::HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == ::IID_IUnknown || iid == ::IID_IClassFactory) return handOut(this, out);
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return addRefImpl(); }
  ULONG STDMETHODCALLTYPE Release() override { return releaseImpl(); }

  ::HRESULT STDMETHODCALLTYPE CreateInstance(::IUnknown* outer, REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    try {
      ::IDispatch* object = create_();
      const ::HRESULT hr = object->QueryInterface(iid, out);
      object->Release();
      return hr;
    } catch (const std::exception&) {
      return E_FAIL;
    }
  }
  ::HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    ServerLifetime::lock(lock != FALSE);
    return S_OK;
  }

 private:
  std::function<::IDispatch*()> create_;
};

}  // namespace

::IDispatch* serve(Ref<RuntimeDispatch> inner, const ClassInfo& info) {
  auto* object = new ServedObject(std::move(inner), info);
  object->AddRef();
  return object;
}

HRESULT callThroughFunctionTable(void* self, DISPID id, const TableArgument* args, std::size_t count,
                                 TableArgument result) {
  std::vector<VARIANT> given(count);  // DISPPARAMS order: the last argument first
  for (std::size_t i = 0; i < count; ++i) given[count - 1 - i] = tableArgument(args[i].type, args[i].value);
  DISPPARAMS params{given.data(), nullptr, static_cast<UINT>(count), 0};
  return ServedObject::behind(self).callThroughTable(id, params, result);
}

::IClassFactory* classFactory(std::function<::IDispatch*()> create) {
  auto* factory = new ClassFactory(std::move(create));
  factory->AddRef();
  return factory;
}

}  // namespace tov::automation::ole
