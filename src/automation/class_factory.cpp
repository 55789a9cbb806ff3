#include "automation/class_factory.h"

#include <exception>

namespace tov::automation {

HRESULT ClassFactory::QueryInterface(const GUID& iid, void** out) {
  if (!out) return E_POINTER;
  if (iid == IID_IUnknown || iid == IID_IClassFactory) {
    *out = static_cast<IClassFactory*>(this);
    AddRef();
    return S_OK;
  }
  *out = nullptr;
  return E_NOINTERFACE;
}

HRESULT ClassFactory::CreateInstance(IUnknown* outer, const GUID& iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (outer) return CLASS_E_NOAGGREGATION;
  try {
    Ref<IUnknown> object = create_();
    return object->QueryInterface(iid, out);
  } catch (const std::exception&) {
    return E_FAIL;
  }
}

HRESULT ClassFactory::LockServer(bool lock) {
  ServerLifetime::lock(lock);
  return S_OK;
}

}  // namespace tov::automation
