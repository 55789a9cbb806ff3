// The in-memory tree behind Registry and the reg calls. Only the registry sources include this.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <tovport/platform/registry.h>

namespace tov::platform {

// Names compare as the system compares them: by the upper-case form of each character, so "_"
// sorts after "Z" and "ä" matches "Ä".
int compareRegNames(std::string_view a, std::string_view b);
inline bool sameRegName(std::string_view a, std::string_view b) { return compareRegNames(a, b) == 0; }

struct RegValueEntry {
  std::string name;
  DWORD type = REG_NONE;
  std::vector<BYTE> data;
};

// Keys are shared with the handle table, so a handle to a deleted key stays safe to use: the key
// is only detached and marked deleted, and calls on its handle report ERROR_KEY_DELETED.
struct RegKeyNode {
  std::string name;
  std::size_t depth = 0;                              // 0 for a root
  std::vector<std::shared_ptr<RegKeyNode>> children;  // sorted by compareRegNames
  std::vector<RegValueEntry> values;                  // in the order they were first written
  bool deleted = false;

  const std::shared_ptr<RegKeyNode>* findChild(std::string_view childName) const;
  // Counts a key it creates in created.
  const std::shared_ptr<RegKeyNode>& childOrCreate(std::string_view childName, std::size_t& created);
  // Detaches the named child and marks its subtree deleted; returns how many keys went (0: none).
  std::size_t removeChild(std::string_view childName);
  std::size_t clear();  // drops every subkey and value; returns how many keys went

  const RegValueEntry* findValue(std::string_view valueName) const;
  void setValue(std::string_view valueName, DWORD type, std::vector<BYTE> data);
  bool removeValue(std::string_view valueName);
};

struct Registry::Impl {
  static constexpr std::size_t kRootCount = HKEY_DYN_DATA - HKEY_CLASSES_ROOT + 1;

  mutable std::mutex mutex;
  std::array<std::shared_ptr<RegKeyNode>, kRootCount> roots;
  std::unordered_map<HKEY, std::shared_ptr<RegKeyNode>> handles;
  std::size_t keyCount = 0;  // keys below the roots

  Impl();
  static bool isRoot(HKEY key) { return key >= HKEY_CLASSES_ROOT && key <= HKEY_DYN_DATA; }
  // The key behind a root or an open handle, or null. All members expect the mutex held.
  const std::shared_ptr<RegKeyNode>* node(HKEY key) const;
  HKEY addHandle(std::shared_ptr<RegKeyNode> key);
  bool closeHandle(HKEY key);

  // The key the names lead to below start, or null when one is missing.
  const std::shared_ptr<RegKeyNode>* walk(const std::shared_ptr<RegKeyNode>& start,
                                          const std::vector<std::string_view>& names) const;
  // Creates what is missing; null when the result would lie deeper than kMaxKeyDepth.
  const std::shared_ptr<RegKeyNode>* walkOrCreate(const std::shared_ptr<RegKeyNode>& start,
                                                  const std::vector<std::string_view>& names);
  // Deletes the key the names lead to, with its subtree; false when it does not exist.
  bool removeKey(RegKeyNode& start, const std::vector<std::string_view>& names);
  void clearKey(RegKeyNode& key);
};

// Whether a host or test has installed a Registry (ScopedRegistry).
bool registryInstalled();

// Splits a key path relative to an open key at its backslashes. Empty names (doubled or trailing
// backslashes) are passed over, as the system does; a leading backslash is the caller's business.
std::vector<std::string_view> splitKeyNames(std::string_view subKey);

}  // namespace tov::platform
