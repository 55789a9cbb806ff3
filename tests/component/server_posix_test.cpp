#include <gtest/gtest.h>

#include "automation/class_factory.h"
#include <tovport/automation/dispatch.h>
#include <tovport/component/guids.h>
#include "component/mod_public.h"
#include "component/server.h"
#include <tovport/component/tovcomprtv3.h>
#include <tovport/platform/registry.h>

namespace tov {
namespace {

using namespace automation;

TEST(InProcessServer, ClassFactoryCreatesInstancesThatBecomeGComponent) {
  void* p = nullptr;
  ASSERT_EQ(server::getClassObject(&CLSID_tovComPrtv3, &IID_IClassFactory, &p), S_OK);
  Ref<IClassFactory> factory(static_cast<IClassFactory*>(p), false);
  void* obj = nullptr;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_IDispatch, &obj), S_OK);
  Ref<IDispatch> component(static_cast<IDispatch*>(obj), false);
  EXPECT_EQ(static_cast<IDispatch*>(gComponent().get()), component.get());
  EXPECT_EQ(toBool(callByName(*component, u"IsPending", {})), VariantBool::False);
  EXPECT_EQ(server::canUnloadNow(), S_FALSE);
  EXPECT_EQ(factory->CreateInstance(component.get(), IID_IDispatch, &obj), CLASS_E_NOAGGREGATION);
  const GUID other{1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
  EXPECT_EQ(server::getClassObject(&other, &IID_IClassFactory, &p), CLASS_E_CLASSNOTAVAILABLE);
  gComponent().reset();
}

TEST(InProcessServer, RegistrationRoundTripLeavesTheRegistryAsItWas) {
  platform::Registry registry;
  registry.setString("HKEY_CLASSES_ROOT\\CLSID\\{00000000-0000-0000-0000-000000000001}", "", "another class");
  registry.setString("HKEY_LOCAL_MACHINE\\Software\\Vendor", "Setting", "kept");
  platform::ScopedRegistry scope(registry);
  const std::string before = registry.dump();

  ASSERT_EQ(server::registerServer(reinterpret_cast<const void*>(&server::registerServer)), S_OK);
  const std::string clsid = "HKEY_CLASSES_ROOT\\CLSID\\" + toString(CLSID_tovComPrtv3);
  EXPECT_TRUE(registry.keyExists("HKEY_CLASSES_ROOT\\tovport.tovComPrtv3\\CLSID"));
  EXPECT_TRUE(registry.keyExists(clsid + "\\InprocServer32"));
  EXPECT_TRUE(registry.keyExists("HKEY_CLASSES_ROOT\\TypeLib\\" + toString(LIBID_tovport) + "\\2.7"));
  EXPECT_TRUE(registry.keyExists("HKEY_CLASSES_ROOT\\Interface\\" + toString(IID__tovComPrtv3)));
  EXPECT_TRUE(registry.keyExists("HKEY_CLASSES_ROOT\\Interface\\" + toString(DIID___tovComPrtv3)));
  EXPECT_NE(registry.dump().find("Apartment"), std::string::npos);

  ASSERT_EQ(server::unregisterServer(), S_OK);
  EXPECT_EQ(registry.dump(), before);
}

}  // namespace
}  // namespace tov
