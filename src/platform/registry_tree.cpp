#include <algorithm>
#include <array>
#include <atomic>

#include "platform/codepage.h"
#include "platform/registry_impl.h"

namespace tov::platform {
namespace {

// The upper-case Unicode form of every Windows-1252 byte: the weight by which names compare.
std::array<char16_t, 256> makeUpperWeights() {
  std::array<char16_t, 256> weights{};
  for (unsigned b = 0; b < 256; ++b) {
    const char byte = static_cast<char>(b);
    char16_t u = ansiToUtf16(std::string_view(&byte, 1))[0];
    if ((u >= u'a' && u <= u'z') || (u >= 0xE0 && u <= 0xFE && u != 0xF7)) {
      u = static_cast<char16_t>(u - 0x20);
    } else if (u == 0xFF) {
      u = 0x178;  // ÿ -> Ÿ
    } else if (u == 0x161 || u == 0x153 || u == 0x17E) {
      u = static_cast<char16_t>(u - 1);  // š œ ž -> Š Œ Ž
    }
    weights[b] = u;
  }
  return weights;
}

const std::array<char16_t, 256>& upperWeights() {
  static const std::array<char16_t, 256> weights = makeUpperWeights();
  return weights;
}

// Handles are unique across every Registry of the process, so a handle kept from a registry that
// is no longer installed is reported invalid instead of naming some key of the new one.
std::atomic<HKEY> nextHandle{0x100};

std::size_t markDeleted(RegKeyNode& key) {
  std::size_t count = 1;
  key.deleted = true;
  for (auto& child : key.children) count += markDeleted(*child);
  return count;
}

auto childPosition(const std::vector<std::shared_ptr<RegKeyNode>>& children, std::string_view name) {
  return std::lower_bound(children.begin(), children.end(), name,
                          [](const std::shared_ptr<RegKeyNode>& child, std::string_view n) {
                            return compareRegNames(child->name, n) < 0;
                          });
}

}  // namespace

int compareRegNames(std::string_view a, std::string_view b) {
  const auto& weight = upperWeights();  // looked up once per comparison: this is discovery's hot loop
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    const char16_t wa = weight[static_cast<unsigned char>(a[i])];
    const char16_t wb = weight[static_cast<unsigned char>(b[i])];
    if (wa != wb) return wa < wb ? -1 : 1;
  }
  if (a.size() == b.size()) return 0;
  return a.size() < b.size() ? -1 : 1;
}

std::vector<std::string_view> splitKeyNames(std::string_view subKey) {
  std::vector<std::string_view> names;
  while (!subKey.empty()) {
    const std::size_t cut = subKey.find('\\');
    const std::string_view name = subKey.substr(0, cut);
    if (!name.empty()) names.push_back(name);
    if (cut == std::string_view::npos) break;
    subKey.remove_prefix(cut + 1);
  }
  return names;
}

const std::shared_ptr<RegKeyNode>* RegKeyNode::findChild(std::string_view childName) const {
  const auto it = childPosition(children, childName);
  if (it == children.end() || !sameRegName((*it)->name, childName)) return nullptr;
  return &*it;
}

const std::shared_ptr<RegKeyNode>& RegKeyNode::childOrCreate(std::string_view childName,
                                                             std::size_t& created) {
  const auto it = childPosition(children, childName);
  if (it != children.end() && sameRegName((*it)->name, childName)) return *it;
  auto child = std::make_shared<RegKeyNode>();
  child->name = std::string(childName);
  child->depth = depth + 1;
  ++created;
  return *children.insert(it, std::move(child));
}

std::size_t RegKeyNode::removeChild(std::string_view childName) {
  const auto it = childPosition(children, childName);
  if (it == children.end() || !sameRegName((*it)->name, childName)) return 0;
  const std::size_t count = markDeleted(**it);
  children.erase(it);
  return count;
}

std::size_t RegKeyNode::clear() {
  std::size_t count = 0;
  for (auto& child : children) count += markDeleted(*child);
  children.clear();
  values.clear();
  return count;
}

const RegValueEntry* RegKeyNode::findValue(std::string_view valueName) const {
  for (const auto& value : values) {
    if (sameRegName(value.name, valueName)) return &value;
  }
  return nullptr;
}

void RegKeyNode::setValue(std::string_view valueName, DWORD type, std::vector<BYTE> data) {
  // An existing value keeps its name as first written and its place in the order.
  if (auto* existing = const_cast<RegValueEntry*>(findValue(valueName))) {
    existing->type = type;
    existing->data = std::move(data);
    return;
  }
  values.push_back(RegValueEntry{std::string(valueName), type, std::move(data)});
}

bool RegKeyNode::removeValue(std::string_view valueName) {
  const auto it = std::find_if(values.begin(), values.end(),
                               [&](const RegValueEntry& v) { return sameRegName(v.name, valueName); });
  if (it == values.end()) return false;
  values.erase(it);
  return true;
}

Registry::Impl::Impl() {
  for (std::size_t i = 0; i < kRootCount; ++i) {
    roots[i] = std::make_shared<RegKeyNode>();
    roots[i]->name = std::string(rootKeyName(static_cast<HKEY>(HKEY_CLASSES_ROOT + i)));
  }
}

const std::shared_ptr<RegKeyNode>* Registry::Impl::node(HKEY key) const {
  if (isRoot(key)) return &roots[key - HKEY_CLASSES_ROOT];
  const auto it = handles.find(key);
  return it == handles.end() ? nullptr : &it->second;
}

HKEY Registry::Impl::addHandle(std::shared_ptr<RegKeyNode> key) {
  // Values from 0x80000000 up look like predefined roots; the counter passes over them.
  HKEY handle = 0;
  do {
    handle = nextHandle.fetch_add(4);
  } while (handle == 0 || handle >= HKEY_CLASSES_ROOT || handles.contains(handle));
  handles.emplace(handle, std::move(key));
  return handle;
}

bool Registry::Impl::closeHandle(HKEY key) { return isRoot(key) || handles.erase(key) == 1; }

const std::shared_ptr<RegKeyNode>* Registry::Impl::walk(const std::shared_ptr<RegKeyNode>& start,
                                                        const std::vector<std::string_view>& names) const {
  const std::shared_ptr<RegKeyNode>* current = &start;
  for (const auto name : names) {
    current = (*current)->findChild(name);
    if (current == nullptr) return nullptr;
  }
  return current;
}

const std::shared_ptr<RegKeyNode>* Registry::Impl::walkOrCreate(const std::shared_ptr<RegKeyNode>& start,
                                                                const std::vector<std::string_view>& names) {
  if (start->depth + names.size() > kMaxKeyDepth) return nullptr;
  const std::shared_ptr<RegKeyNode>* current = &start;
  for (const auto name : names) current = &(*current)->childOrCreate(name, keyCount);
  return current;
}

bool Registry::Impl::removeKey(RegKeyNode& start, const std::vector<std::string_view>& names) {
  if (names.empty()) return false;
  RegKeyNode* parent = &start;
  for (std::size_t i = 0; i + 1 < names.size(); ++i) {
    const auto* child = parent->findChild(names[i]);
    if (child == nullptr) return false;
    parent = child->get();
  }
  const std::size_t removed = parent->removeChild(names.back());
  keyCount -= removed;
  return removed > 0;
}

void Registry::Impl::clearKey(RegKeyNode& key) { keyCount -= key.clear(); }

}  // namespace tov::platform
