// Discovery tests run on an empty registry and a chosen OS version installed for the test, a fresh
// port table, and the discovery trace texts recorded.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "component/debug_log.h"
#include "discovery/port_table.h"
#include <tovport/platform/os_version.h>
#include <tovport/platform/reg_file.h>
#include <tovport/platform/registry.h>

namespace tov::discovery::test {

using Kinds = std::array<ComPortType, MaxPorts>;

class DiscoveryTest : public ::testing::Test {
 protected:
  platform::Registry reg;
  platform::ScopedRegistry installed{reg};
  platform::ScopedOsVersion os{*platform::parseOsVersion("xp-sp2")};
  std::vector<std::u16string> traces;

  void SetUp() override {
    resetTable();
    previousObserver_ = observeLog([this](const std::u16string& text) { traces.push_back(text); });
  }
  void TearDown() override {
    observeLog(previousObserver_);
    resetTable();
  }

  static void resetTable() {
    PortTable() = PortTableOf<ComPortType>{};
    PortTableFilled() = false;
  }
  static void useOs(std::string_view preset) { platform::setOsVersion(*platform::parseOsVersion(preset)); }

  // Keys and values in .reg syntax, below a REGEDIT4 header.
  void load(std::string_view regText) { platform::loadRegText(reg, "REGEDIT4\n\n" + std::string(regText), "test"); }
  // A text value of a key below HKEY_LOCAL_MACHINE.
  void set(std::string_view key, std::string_view name, std::string_view text) {
    reg.setString("HKLM\\" + std::string(key), name, text);
  }
  void loadFixture(const std::string& name) { platform::loadRegFile(reg, std::string(TOVPORT_FIXTURES) + "/" + name); }

  static ComPortType kind(int port) { return PortTable()(port); }
  static Kinds kinds() {
    Kinds all{};
    for (int p = 1; p <= MaxPorts; ++p) all[static_cast<std::size_t>(p - 1)] = PortTable()(p);
    return all;
  }
  // The table after `enumerator` ran alone on a cleared one.
  template <class Enumerator>
  static Kinds run(Enumerator enumerator) {
    resetTable();
    enumerator();
    return kinds();
  }
  // Every port cptNone but the ones given.
  static Kinds only(std::initializer_list<std::pair<int, ComPortType>> marks) {
    Kinds all{};
    for (auto [port, k] : marks) all[static_cast<std::size_t>(port - 1)] = k;
    return all;
  }
  long discoveryRuns() const { return std::count(traces.begin(), traces.end(), u"finished loop"); }

 private:
  LogObserver previousObserver_;
};

}  // namespace tov::discovery::test
