// A host that loads the in-process server module with dlopen, as a script host does, and runs a
// request through it using only the public headers: the registry, serial ports and message queue
// it sets up are the ones the server's component uses, so the request ends on the host's pump.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <tovport/tovport.h>

namespace {

using namespace tov;
using namespace tov::automation;

struct Event {
  DISPID id;
  std::vector<Variant> args;
};

class Recorder final : public EventSink {
 public:
  Recorder() : EventSink(DIID___tovComPrtv3) {}
  std::vector<Event> events;

 protected:
  // Arguments come by reference to the raiser's variables: their values are kept.
  void onEvent(DISPID id, std::vector<Variant>& args) override {
    Event& e = events.emplace_back(Event{id, {}});
    for (const auto& a : args) e.args.push_back(a.deref());
  }
};

constexpr DISPID kDeviceDetected = 3;
constexpr const char* kComThreeSerial = R"(REGEDIT4

[HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\Serial2"="COM3"
)";

TEST(ServerModule, DlopenedServerRunsARequestOnTheHostsPlatform) {
  void* module = dlopen(TOVPORT_SERVER_MODULE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  using GetClassObject = HRESULT (*)(const GUID*, const GUID*, void**);
  const auto getClassObject = reinterpret_cast<GetClassObject>(dlsym(module, "DllGetClassObject"));
  ASSERT_NE(getClassObject, nullptr);

  platform::Registry registry;
  platform::loadRegText(registry, kComThreeSerial, "host");
  platform::ScopedRegistry registryScope(registry);
  platform::MemorySerialBackend serial;
  serial.port(3).setModemLines(platform::MS_CTS_ON);
  platform::PhoneProfile s65;
  s65.model = "S65";
  serial.port(3).setPeer(platform::phonePeer(s65, 50));
  platform::ScopedSerialBackend serialScope(serial);

  void* p = nullptr;
  ASSERT_EQ(getClassObject(&CLSID_tovComPrtv3, &IID_IClassFactory, &p), S_OK);
  Ref<IClassFactory> factory(static_cast<IClassFactory*>(p), false);
  void* created = nullptr;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, &created), S_OK);
  Ref<IDispatch> component(static_cast<IDispatch*>(created), false);
  Ref<Recorder> sink(new Recorder());
  std::uint32_t cookie = 0;
  ASSERT_EQ(advise(*component, DIID___tovComPrtv3, *sink, &cookie), S_OK);

  ASSERT_EQ(toBool(callByName(*component, u"DetectDevice", {Variant(std::int16_t{3})})), VariantBool::True);
  const auto ended = [&] {
    return !sink->events.empty() && sink->events.back().id == kDeviceDetected &&
           toI4(sink->events.back().args[4]) == dde_NoMoreDevices;
  };
  const auto queue = platform::MessageQueue::current();
  for (int i = 0; i < 300 && !ended(); ++i) {
    queue->wait(100);
    queue->pump();
  }

  ASSERT_TRUE(ended()) << sink->events.size() << " events";
  ASSERT_EQ(sink->events.size(), 2u);
  const auto& outcome = sink->events.front().args;
  EXPECT_EQ(toI2(outcome[0]), 3);
  EXPECT_EQ(toUtf8(toText(outcome[1])), "BenQ-Siemens S65");
  EXPECT_EQ(toI4(outcome[3]), dtSiemens_S65);
  EXPECT_EQ(toI4(outcome[4]), dde_NoError);
  EXPECT_EQ(unadvise(*component, DIID___tovComPrtv3, cookie), S_OK);
}

}  // namespace
