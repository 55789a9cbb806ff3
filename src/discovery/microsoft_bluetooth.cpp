// Virtual COM ports of the Bluetooth stack that ships with Windows XP: before Service Pack 2 known
// only by the friendly name of their instance; from SP2 on classified by the "Service" of the
// instances that the enabled service entries of each paired device lead to.
#include <functional>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include <tovport/automation/convert.h>
#include "discovery/enumerators.h"
#include "discovery/port_table.h"
#include "discovery/registry_walk.h"

namespace tov::discovery {
namespace {

using automation::toText;

constexpr std::u16string_view kBthEnum = u"System\\CurrentControlSet\\Enum\\BTHENUM";
constexpr std::u16string_view kDevices = u"System\\CurrentControlSet\\Services\\BTHPort\\Parameters\\Devices";

// Hands the port number of every "GPRS VIA BLUETOOTH(TM)" instance to visit, whether or not it
// names a port 1..32; a missing "PortName" gives 0.
void forEachGprsInstancePort(const std::function<void(std::int16_t)>& visit) {
  if (!keyExists(u"System\\CurrentControlSet\\Enum\\BTH\\MS_RFCOMM") || !keyExists(kBthEnum)) return;
  for (const BStr& device : subKeysOf(kBthEnum)) {
    const BStr deviceKey = subPath(kBthEnum, device);
    for (const BStr& instance : subKeysOf(deviceKey)) {
      const BStr instanceKey = subPath(deviceKey, instance);
      if (!hasValue(instanceKey, u"FriendlyName") ||
          automation::toUpper(toText(readTextValue(instanceKey, u"FriendlyName"))) != u"GPRS VIA BLUETOOTH(TM)")
        continue;
      visit(PortNumberFromName(toText(readTextValue(instanceKey + BStr(kDeviceParameters), u"PortName"))));
    }
  }
}

bool isEnabledEntry(std::u16string_view entryKey) {
  bool enabled = false;
  for (const BStr& name : valueNamesOf(entryKey))
    if (name == u"Enabled" && automation::toR8(readStoredValue(entryKey, name)) == 1.0) enabled = true;
  return enabled;
}

// An instance belongs to an entry M of device D when its name ends in D_M (a connection to the
// remote device) or in twelve zeros, "_" and M without its first character (a local service).
enum class InstanceForm { Remote, Local };

// The instances of one BTHENUM service key, listed once per walk however many enabled entries lead
// to it, and found by the tail of their names instead of by a scan of every instance per entry.
// Values are read when an entry first needs them and kept, so each instance is read at most once
// and a value that fails to convert fails where the first scan that reached it would have failed.
class ServiceInstances {
 public:
  explicit ServiceInstances(std::u16string_view serviceName)
      : key_(subPath(kBthEnum, serviceName)), names_(subKeysOfExisting(key_)), reads_(names_.size()) {}

  // The instances of entry M of device D in listing order, each with its form.
  std::vector<std::pair<std::size_t, InstanceForm>> ofEntry(std::u16string_view device, std::u16string_view entry) {
    const std::size_t tail = device.size() + entry.size();
    const BStr remoteTail = BStr(device) + u"_" + BStr(entry);
    const BStr localTail = u"000000000000_" + BStr(entry.empty() ? entry : entry.substr(1));
    const auto& remote = endingIn(remoteTail);
    const auto& local = localTail.size() == tail ? endingIn(localTail) : kNone;
    // An instance of both forms is of the remote form.
    std::vector<std::pair<std::size_t, InstanceForm>> found;
    std::size_t r = 0;
    for (std::size_t l = 0; r < remote.size() || l < local.size();) {
      if (l == local.size() || (r < remote.size() && remote[r] <= local[l])) {
        if (l < local.size() && local[l] == remote[r]) ++l;
        found.emplace_back(remote[r++], InstanceForm::Remote);
      } else {
        found.emplace_back(local[l++], InstanceForm::Local);
      }
    }
    return found;
  }

  // The instance's "Service" text, when it has the value.
  const std::optional<BStr>& service(std::size_t i) {
    Reads& r = reads_[i];
    if (!r.serviceRead) {
      for (const BStr& name : valueNamesOf(instanceKey(i)))
        if (name == u"Service") r.service = readStoredText(instanceKey(i), name);
      r.serviceRead = true;
    }
    return r.service;
  }

  // The instance's "PortName" text, empty when it has none.
  const BStr& portName(std::size_t i) {
    Reads& r = reads_[i];
    if (!r.portNameRead) {
      const BStr parameters = instanceKey(i) + BStr(kDeviceParameters);
      if (hasValue(parameters, u"PortName")) r.portName = readStoredText(parameters, u"PortName");
      r.portNameRead = true;
    }
    return r.portName;
  }

 private:
  struct Reads {
    bool serviceRead = false;
    bool portNameRead = false;
    std::optional<BStr> service;
    BStr portName;
  };
  using Indices = std::vector<std::size_t>;
  static inline const Indices kNone;

  BStr instanceKey(std::size_t i) const { return subPath(key_, names_[i]); }

  // Indices, ascending, of the instances whose names end in tail (compared without regard to case).
  const Indices& endingIn(std::u16string_view tail) {
    const auto [slot, fresh] = byLength_.try_emplace(tail.size());
    auto& byTail = slot->second;
    if (fresh) {
      for (std::size_t i = 0; i < names_.size(); ++i)
        if (names_[i].size() >= tail.size())
          byTail[automation::toUpper(std::u16string_view(names_[i]).substr(names_[i].size() - tail.size()))]
              .push_back(i);
    }
    const auto it = byTail.find(automation::toUpper(tail));
    return it == byTail.end() ? kNone : it->second;
  }

  BStr key_;
  std::vector<BStr> names_;
  std::vector<Reads> reads_;
  std::unordered_map<std::size_t, std::unordered_map<std::u16string, Indices>> byLength_;
};

// The service keys one walk has listed, by name.
class BthEnumIndex {
 public:
  ServiceInstances& service(std::u16string_view name) {
    auto it = services_.find(BStr(name));
    if (it == services_.end()) it = services_.emplace(BStr(name), ServiceInstances(name)).first;
    return it->second;
  }

 private:
  std::unordered_map<BStr, ServiceInstances> services_;
};

ComPortType kindOfService(std::u16string_view upperService) {
  if (upperService == u"BTHMODEM") return cptBluetooth;
  if (upperService == u"BTHMODEM,IN") return cptBTSerialIn;
  if (upperService == u"MODEM") return cptBTDialUp;
  return cptNone;  // a Bluetooth port of another service is no COM port
}

}  // namespace

bool getMicrosoftBluetoothPortsXP() {
  bool marked = false;
  forEachGprsInstancePort([&](std::int16_t n) { marked |= markPort(n, cptBluetooth); });
  return marked;
}

bool isMicrosoftBluetoothPortXP(std::int16_t PortNr) {
  bool found = false;
  forEachGprsInstancePort([&](std::int16_t n) { found |= n == PortNr; });
  return found;
}

namespace {

void classifyServicePorts(BthEnumIndex& index, std::u16string_view device, std::u16string_view serviceName,
                          std::u16string_view entry) {
  ServiceInstances& instances = index.service(serviceName);
  for (const auto& [i, form] : instances.ofEntry(device, entry)) {
    const std::optional<BStr>& stored = instances.service(i);
    if (!stored) continue;
    const BStr service = form == InstanceForm::Local ? *stored + u",IN" : *stored;
    if (service.empty()) continue;
    const BStr& portName = instances.portName(i);
    if (!portName.empty()) markPort(PortNumberFromName(portName), kindOfService(automation::toUpper(service)));
  }
}

}  // namespace

void getMicrossoftBluetoothPortsXPSP2() {
  BthEnumIndex index;
  for (const BStr& device : subKeysOfExisting(kDevices)) {
    const BStr deviceKey = subPath(kDevices, device);
    for (const BStr& group : subKeysOf(deviceKey)) {
      if (!group.starts_with(u"ServicesFor")) continue;
      const BStr groupKey = subPath(deviceKey, group);
      for (const BStr& service : subKeysOf(groupKey)) {
        const BStr serviceKey = subPath(groupKey, service);
        for (const BStr& entry : subKeysOf(serviceKey))
          if (isEnabledEntry(subPath(serviceKey, entry))) classifyServicePorts(index, device, service, entry);
      }
    }
  }
}

void getBthEnumServicePorts(std::u16string_view DeviceKey, std::u16string_view ServiceKey,
                            std::u16string_view EntryKey) {
  BthEnumIndex index;
  classifyServicePorts(index, DeviceKey, ServiceKey, EntryKey);
}

}  // namespace tov::discovery
