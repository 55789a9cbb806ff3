// The object model the automation runtime builds on: GUIDs, HRESULTs, reference-counted
// interfaces with QueryInterface, and a smart pointer that holds one counted reference.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

namespace tov::automation {

using HRESULT = std::int32_t;
using DISPID = std::int32_t;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFu);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110u);
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = static_cast<HRESULT>(0x80040111u);
inline constexpr HRESULT CONNECT_E_NOCONNECTION = static_cast<HRESULT>(0x80040200u);
inline constexpr HRESULT CONNECT_E_CANNOTCONNECT = static_cast<HRESULT>(0x80040202u);
inline constexpr HRESULT SELFREG_E_CLASS = static_cast<HRESULT>(0x80040201u);

constexpr bool succeeded(HRESULT hr) { return hr >= 0; }
constexpr bool failed(HRESULT hr) { return hr < 0; }

struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
  friend bool operator==(const GUID&, const GUID&) = default;
};
// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" in upper case, as the registry writes GUIDs.
std::string toString(const GUID& g);

inline constexpr GUID IID_IUnknown{0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID IID_IDispatch{0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID IID_IClassFactory{0x00000001, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr GUID IID_IConnectionPointContainer{
    0xB196B284, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};
inline constexpr GUID IID_IConnectionPoint{
    0xB196B286, 0xBAB4, 0x101A, {0xB6, 0x9C, 0x00, 0xAA, 0x00, 0x34, 0x1D, 0x07}};

class IUnknown {
 public:
  virtual HRESULT QueryInterface(const GUID& iid, void** out) = 0;
  virtual std::uint32_t AddRef() = 0;
  virtual std::uint32_t Release() = 0;

 protected:
  ~IUnknown() = default;
};

// What DllGetClassObject hands out: creates the component's objects.
class IClassFactory : public IUnknown {
 public:
  virtual HRESULT CreateInstance(IUnknown* outer, const GUID& iid, void** out) = 0;
  virtual HRESULT LockServer(bool lock) = 0;

 protected:
  ~IClassFactory() = default;
};

// Holds one counted reference to an interface (or nothing).
template <class T>
class Ref {
 public:
  Ref() = default;
  Ref(std::nullptr_t) {}
  explicit Ref(T* p, bool addRef = true) : p_(p) {
    if (p_ && addRef) p_->AddRef();
  }
  Ref(const Ref& o) : Ref(o.p_) {}
  Ref(Ref&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  template <class U>
  Ref(const Ref<U>& o) : Ref(static_cast<T*>(o.get())) {}
  ~Ref() { reset(); }
  Ref& operator=(Ref o) noexcept {
    std::swap(p_, o.p_);
    return *this;
  }
  void reset() {
    if (T* p = std::exchange(p_, nullptr)) p->Release();
  }
  T* get() const { return p_; }
  T* operator->() const { return p_; }
  T& operator*() const { return *p_; }
  explicit operator bool() const { return p_ != nullptr; }
  T* detach() { return std::exchange(p_, nullptr); }
  friend bool operator==(const Ref& a, const Ref& b) { return a.p_ == b.p_; }

 private:
  T* p_ = nullptr;
};

// Counts every live object and server lock of the in-process server (DllCanUnloadNow).
class ServerLifetime {
 public:
  static void objectCreated() { ++objects_; }
  static void objectDestroyed() { --objects_; }
  static void lock(bool on) { on ? ++locks_ : --locks_; }
  static long objects() { return objects_.load(); }
  static long locks() { return locks_.load(); }

 private:
  static inline std::atomic<long> objects_{0};
  static inline std::atomic<long> locks_{0};
};

// Reference counting for an object implementing one or more interfaces; counted in ServerLifetime.
class RefCounted {
 public:
  RefCounted() { ServerLifetime::objectCreated(); }
  RefCounted(const RefCounted&) = delete;
  RefCounted& operator=(const RefCounted&) = delete;
  virtual ~RefCounted() { ServerLifetime::objectDestroyed(); }
  std::uint32_t addRefImpl() { return ++refs_; }
  std::uint32_t releaseImpl() {
    const std::uint32_t left = --refs_;
    if (left == 0) delete this;
    return left;
  }
  std::uint32_t refCount() const { return refs_.load(); }

 private:
  std::atomic<std::uint32_t> refs_{0};
};

}  // namespace tov::automation
