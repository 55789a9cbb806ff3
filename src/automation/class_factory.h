// The class factory of the in-process server (IClassFactory itself is in com.h, for hosts).
#pragma once

#include <functional>

#include <tovport/automation/com.h>

namespace tov::automation {

// Creates objects with create() and hands out the interface asked for.
class ClassFactory final : public IClassFactory, public RefCounted {
 public:
  explicit ClassFactory(std::function<Ref<IUnknown>()> create) : create_(std::move(create)) {}
  HRESULT QueryInterface(const GUID& iid, void** out) override;
  std::uint32_t AddRef() override { return addRefImpl(); }
  std::uint32_t Release() override { return releaseImpl(); }
  HRESULT CreateInstance(IUnknown* outer, const GUID& iid, void** out) override;
  HRESULT LockServer(bool lock) override;

 private:
  std::function<Ref<IUnknown>()> create_;
};

}  // namespace tov::automation
