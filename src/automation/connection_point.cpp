#include <tovport/automation/connection_point.h>

#include <algorithm>

namespace tov::automation {

HRESULT ConnectionPoint::QueryInterface(const GUID& iid, void** out) {
  if (!out) return E_POINTER;
  if (iid == IID_IUnknown || iid == IID_IConnectionPoint) {
    *out = static_cast<IConnectionPoint*>(this);
    AddRef();
    return S_OK;
  }
  *out = nullptr;
  return E_NOINTERFACE;
}

HRESULT ConnectionPoint::GetConnectionInterface(GUID* iid) {
  if (!iid) return E_POINTER;
  *iid = iid_;
  return S_OK;
}

HRESULT ConnectionPoint::Advise(IUnknown* sink, std::uint32_t* cookie) {
  if (!sink || !cookie) return E_POINTER;
  void* p = nullptr;
  if (failed(sink->QueryInterface(iid_, &p)) && failed(sink->QueryInterface(IID_IDispatch, &p)))
    return CONNECT_E_CANNOTCONNECT;
  Ref<IDispatch> dispatch(static_cast<IDispatch*>(p), false);
  std::lock_guard lock(mutex_);
  *cookie = nextCookie_++;
  sinks_.push_back({*cookie, std::move(dispatch)});
  return S_OK;
}

HRESULT ConnectionPoint::Unadvise(std::uint32_t cookie) {
  Ref<IDispatch> released;  // released outside the lock: a sink's destructor may call back
  {
    std::lock_guard lock(mutex_);
    auto it = std::find_if(sinks_.begin(), sinks_.end(), [&](const Connection& c) { return c.cookie == cookie; });
    if (it == sinks_.end()) return CONNECT_E_NOCONNECTION;
    released = std::move(it->sink);
    sinks_.erase(it);
  }
  return S_OK;
}

void ConnectionPoint::fire(DISPID id, const std::vector<Variant>& args) {
  std::vector<Ref<IDispatch>> targets;
  {
    std::lock_guard lock(mutex_);
    for (const auto& c : sinks_) targets.push_back(c.sink);
  }
  for (auto& sink : targets) {
    DispParams params;
    params.args.assign(args.rbegin(), args.rend());
    ExcepInfo excep;
    sink->Invoke(id, params, nullptr, &excep);
  }
}

namespace {

Ref<IConnectionPoint> findPoint(IUnknown& source, const GUID& eventInterface) {
  void* p = nullptr;
  if (failed(source.QueryInterface(IID_IConnectionPointContainer, &p))) return {};
  Ref<IConnectionPointContainer> container(static_cast<IConnectionPointContainer*>(p), false);
  IConnectionPoint* point = nullptr;
  if (failed(container->FindConnectionPoint(eventInterface, &point))) return {};
  return Ref<IConnectionPoint>(point, false);
}

}  // namespace

HRESULT advise(IUnknown& source, const GUID& eventInterface, IDispatch& sink, std::uint32_t* cookie) {
  auto point = findPoint(source, eventInterface);
  if (!point) return CONNECT_E_CANNOTCONNECT;
  return point->Advise(&sink, cookie);
}

HRESULT unadvise(IUnknown& source, const GUID& eventInterface, std::uint32_t cookie) {
  auto point = findPoint(source, eventInterface);
  if (!point) return CONNECT_E_NOCONNECTION;
  return point->Unadvise(cookie);
}

}  // namespace tov::automation
