#include "discovery/registry_walk.h"

#include <tovport/automation/convert.h>
#include "discovery/port_table.h"

namespace tov::discovery {
namespace {

Variant readAs(std::u16string_view key, std::u16string_view valueName, RegValueKind kind) {
  return RegValue(kLocalMachine, key, valueName, kind, Variant());
}

std::vector<BStr> namesOf(RegList<BStr>&& list) {
  return ArrayHasElements(list) ? std::move(*list) : std::vector<BStr>{};
}

}  // namespace

BStr subPath(std::u16string_view key, std::u16string_view name) {
  BStr path;
  path.reserve(key.size() + 1 + name.size());
  path.append(key).append(u"\\").append(name);
  return path;
}

bool keyExists(std::u16string_view key) { return ObjektExistiert(false, kLocalMachine, key, u""); }
bool hasValue(std::u16string_view key, std::u16string_view valueName) {
  return ObjektExistiert(true, kLocalMachine, key, valueName);
}

Variant readTextValue(std::u16string_view key, std::u16string_view valueName) { return readAs(key, valueName, rvkText); }
Variant readNumberValue(std::u16string_view key, std::u16string_view valueName) {
  return readAs(key, valueName, rvkNumber);
}
Variant readStoredValue(std::u16string_view key, std::u16string_view valueName) {
  return readAs(key, valueName, rvkOther);
}
BStr readStoredText(std::u16string_view key, std::u16string_view valueName) {
  return automation::toText(readStoredValue(key, valueName));
}

std::vector<BStr> subKeysOf(std::u16string_view key) { return namesOf(RegEnumerate(kLocalMachine, key).SubKeyNames); }
std::vector<BStr> subKeysOfExisting(std::u16string_view key) {
  return keyExists(key) ? subKeysOf(key) : std::vector<BStr>{};
}
std::vector<BStr> valueNamesOf(std::u16string_view key) {
  return namesOf(RegEnumerate(kLocalMachine, key).ValueNames);
}
std::vector<BStr> valueNamesOfExisting(std::u16string_view key) {
  return keyExists(key) ? valueNamesOf(key) : std::vector<BStr>{};
}

bool markPort(int n, ComPortType kind) {
  if (n < 1 || n > MaxPorts) return false;
  PortTable()(n) = kind;
  return true;
}

bool acceptPort(const Variant& portName, ComPortType kind) {
  return markPort(PortNumberFromName(automation::toText(portName)), kind);
}

bool acceptPortValue(std::u16string_view key, std::u16string_view valueName, ComPortType kind) {
  return hasValue(key, valueName) && acceptPort(readTextValue(key, valueName), kind);
}

bool acceptInstancePorts(std::u16string_view key, const std::vector<BStr>& instances, std::u16string_view suffix,
                         std::u16string_view valueName, ComPortType kind) {
  bool marked = false;
  for (const BStr& instance : instances) {
    BStr path = subPath(key, instance);
    path.append(suffix);
    marked |= acceptPortValue(path, valueName, kind);
  }
  return marked;
}

std::optional<BStr> matchingDeviceId(std::u16string_view classKey, std::u16string_view testValue,
                                     std::u16string_view expected) {
  for (const BStr& instance : subKeysOfExisting(classKey)) {
    const BStr key = subPath(classKey, instance);
    if (hasValue(key, testValue) && automation::toUpper(readStoredText(key, testValue)) == expected &&
        hasValue(key, u"MatchingDeviceID"))
      return readStoredText(key, u"MatchingDeviceID");
  }
  return std::nullopt;
}

}  // namespace tov::discovery
