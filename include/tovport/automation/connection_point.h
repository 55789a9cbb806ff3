// Outgoing events: a connectable object offers one connection point per event interface; hosts
// advise their sink (an IDispatch) and receive each event as an Invoke by the event's DISPID.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include <tovport/automation/com.h>
#include <tovport/automation/idispatch.h>
#include <tovport/automation/variant.h>

namespace tov::automation {

class IConnectionPoint : public IUnknown {
 public:
  virtual HRESULT GetConnectionInterface(GUID* iid) = 0;
  virtual HRESULT Advise(IUnknown* sink, std::uint32_t* cookie) = 0;
  virtual HRESULT Unadvise(std::uint32_t cookie) = 0;

 protected:
  ~IConnectionPoint() = default;
};

class IConnectionPointContainer : public IUnknown {
 public:
  virtual HRESULT FindConnectionPoint(const GUID& iid, IConnectionPoint** out) = 0;

 protected:
  ~IConnectionPointContainer() = default;
};

// The connection point of one event interface. Sinks must implement IDispatch (or the event
// interface, answered through QueryInterface).
class ConnectionPoint final : public IConnectionPoint, public RefCounted {
 public:
  explicit ConnectionPoint(const GUID& eventInterface) : iid_(eventInterface) {}

  HRESULT QueryInterface(const GUID& iid, void** out) override;
  std::uint32_t AddRef() override { return addRefImpl(); }
  std::uint32_t Release() override { return releaseImpl(); }
  HRESULT GetConnectionInterface(GUID* iid) override;
  HRESULT Advise(IUnknown* sink, std::uint32_t* cookie) override;
  HRESULT Unadvise(std::uint32_t cookie) override;

  // Invokes the event on every connected sink, in the order they connected. args are in natural
  // order (first argument first) and are normally by-reference variants of the raiser's own
  // variables, so a handler's changes reach the raiser. A sink's failure is ignored.
  void fire(DISPID id, const std::vector<Variant>& args);

 private:
  struct Connection {
    std::uint32_t cookie;
    Ref<IDispatch> sink;
  };
  GUID iid_;
  mutable std::mutex mutex_;
  std::vector<Connection> sinks_;
  std::uint32_t nextCookie_ = 1;
};

// A host's helper: connects sink to the connection point of eventInterface on source.
HRESULT advise(IUnknown& source, const GUID& eventInterface, IDispatch& sink, std::uint32_t* cookie);
HRESULT unadvise(IUnknown& source, const GUID& eventInterface, std::uint32_t cookie);

}  // namespace tov::automation
