// Worker threads by name: each worker makes one call by name on a target object, marshalled to
// the target's own thread, and is known under its name until it is ended.
#pragma once

#include <tovport/automation/com.h>
#include <tovport/automation/idispatch.h>
#include <tovport/automation/variant.h>

namespace tov::threads {

using automation::BStr;
using automation::Ref;
using automation::Variant;
using automation::VariantBool;

class ThreadControl final : public automation::IUnknown, public automation::RefCounted {
 public:
  static Ref<ThreadControl> create();
  ~ThreadControl() override;

  automation::HRESULT QueryInterface(const automation::GUID& iid, void** out) override;
  std::uint32_t AddRef() override { return addRefImpl(); }
  std::uint32_t Release() override { return releaseImpl(); }

  // Registers a worker under Name that calls MethodName(Argument) on Target by name, on Target's
  // thread; returns without waiting for the call.
  void StartThread(BStr& Name, Ref<automation::IDispatch>& Target, BStr& MethodName, Variant& Argument);
  // Ends the worker and forgets its name.
  void KillThread(BStr& Name);
  // The target object registered with the worker Name (Nothing when there is none).
  Ref<automation::IDispatch> ThreadObject(BStr& Name);
  VariantBool ThreadExists(BStr& Name);

  struct Impl;

 private:
  ThreadControl();
  Impl* impl_;
};

}  // namespace tov::threads
