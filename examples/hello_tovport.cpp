// A host of the tovComPrtv3 component: one call early bound, one late bound by name, and an
// event sink connected to the component's events.
#include <iostream>

#include <tovport/tovport.h>

using namespace tov;
using namespace tov::automation;

// Receives the component's events (DISPID 1 MsgTimeout, 2 MsgReceived, 3 DeviceDetected,
// 4 PortAvailable), every argument by reference, first argument first.
class Sink final : public EventSink {
 public:
  Sink() : EventSink(DIID___tovComPrtv3) {}

 protected:
  void onEvent(DISPID id, std::vector<Variant>& args) override {
    std::cout << "event " << id << " with " << args.size() << " arguments\n";
  }
};

int main() {
  auto component = tovComPrtv3::create();
  Ref<Sink> sink(new Sink());
  std::uint32_t cookie = 0;
  advise(static_cast<IDispatch&>(*component), DIID___tovComPrtv3, *sink, &cookie);

  // Early bound: a C++ call; an automation error would come as RuntimeError.
  std::cout << "early bound IsPending: " << (isTrue(component->IsPending()) ? "True" : "False") << "\n";

  // Late bound: by name, as a script host calls it.
  const Variant pending = callByName(*component, u"ispending", {});
  std::cout << "late bound IsPending: " << toUtf8(toText(pending)) << "\n";

  unadvise(static_cast<IDispatch&>(*component), DIID___tovComPrtv3, cookie);
  return 0;
}
