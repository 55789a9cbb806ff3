// Registration of two widths side by side: each width's own rows, and which shared keys one
// width's unregistration removes for each state of the other width's registration.
#include <gtest/gtest.h>

#include <algorithm>

#include <tovport/component/guids.h>
#include "component/registration.h"

namespace tov {
namespace {

using automation::toString;

const std::string kTypeLib = "TypeLib\\" + toString(LIBID_tovport);

TEST(Registration, EachWidthNamesItsFileUnderItsPlatformAndSharesTheRest) {
  for (auto [width, platform] : {std::pair{Width::Bits32, "win32"}, {Width::Bits64, "win64"}}) {
    const auto entries = registrationEntries("C:\\tovport.dll", width);
    auto value = [&](const std::string& key) {
      auto e = std::find_if(entries.begin(), entries.end(),
                            [&](const RegEntry& r) { return r.key == key && r.name.empty(); });
      return e == entries.end() ? std::string("(none)") : e->value;
    };
    EXPECT_EQ(value(kTypeLib + "\\2.7\\0\\" + platform), "C:\\tovport.dll");
    EXPECT_EQ(value(typeLibFileKey(width)), "C:\\tovport.dll");
    EXPECT_EQ(value(classServerKey()), "C:\\tovport.dll");
    EXPECT_EQ(value("Interface\\" + toString(IID__tovComPrtv3) + "\\ProxyStubClsid32"),
              "{00020424-0000-0000-C000-000000000046}");
  }
}

TEST(Registration, SharedKeysGoOnlyWhenTheOtherWidthDoesNotNeedThem) {
  struct Case {
    OtherWidth other;
    std::vector<std::string> removed;
  };
  const std::string file = typeLibFileKey(Width::Bits64);
  const Case cases[] = {
      {{false, false}, {file, kTypeLib, kProgId}},
      {{true, true}, {file}},
      {{true, false}, {file, kTypeLib}},
      {{false, true}, {file, kProgId}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << "other class " << c.other.classRegistered << ", type library "
                                    << c.other.typeLibRegistered);
    EXPECT_EQ(sharedKeysToRemove(Width::Bits64, c.other), c.removed);
  }
  EXPECT_EQ(sharedKeysToRemove(Width::Bits32, {true, true}), std::vector<std::string>{typeLibFileKey(Width::Bits32)});
  EXPECT_EQ(ownKeys(), (std::vector<std::string>{"CLSID\\" + toString(CLSID_tovComPrtv3),
                                                 "Interface\\" + toString(IID__tovComPrtv3),
                                                 "Interface\\" + toString(DIID___tovComPrtv3)}));
}

}  // namespace
}  // namespace tov
