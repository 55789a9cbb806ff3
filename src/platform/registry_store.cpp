// The Registry object: path-based access for hosts and tests, the process's installed registry,
// and the text dump.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <stdexcept>

#include "platform/registry_impl.h"

namespace tov::platform {
namespace {

struct RootName {
  std::string_view full;
  std::string_view shortForm;  // empty where the system has none
  HKEY key;
};

constexpr RootName kRootNames[] = {
    {"HKEY_CLASSES_ROOT", "HKCR", HKEY_CLASSES_ROOT},
    {"HKEY_CURRENT_USER", "HKCU", HKEY_CURRENT_USER},
    {"HKEY_LOCAL_MACHINE", "HKLM", HKEY_LOCAL_MACHINE},
    {"HKEY_USERS", "HKU", HKEY_USERS},
    {"HKEY_PERFORMANCE_DATA", "", HKEY_PERFORMANCE_DATA},
    {"HKEY_CURRENT_CONFIG", "HKCC", HKEY_CURRENT_CONFIG},
    {"HKEY_DYN_DATA", "", HKEY_DYN_DATA},
};

RegistryPath splitOrThrow(std::string_view path) {
  auto split = splitRegistryPath(path);
  if (!split) throw std::invalid_argument("invalid registry path: " + std::string(path));
  return std::move(*split);
}

std::vector<BYTE> bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

// --- dump, written as a REGEDIT4 file so that it loads back as the same tree ---

void appendQuoted(std::string& out, std::string_view text) {
  out += '"';
  for (char c : text) {
    if (c == '\\' || c == '"') out += '\\';
    out += c;
  }
  out += '"';
}

bool isPlainText(const RegValueEntry& value) {
  const auto& d = value.data;
  return value.type == REG_SZ && !d.empty() && d.back() == 0 &&
         std::none_of(d.begin(), d.end() - 1, [](BYTE b) { return b == 0 || b == '\r' || b == '\n'; });
}

void appendValue(std::string& out, const RegValueEntry& value) {
  char buf[16];
  if (value.name.empty()) {
    out += '@';
  } else {
    appendQuoted(out, value.name);
  }
  out += '=';
  if (isPlainText(value)) {
    appendQuoted(out,
                 std::string_view(reinterpret_cast<const char*>(value.data.data()), value.data.size() - 1));
  } else if (value.type == REG_DWORD && value.data.size() == 4) {
    const auto& d = value.data;
    std::snprintf(buf, sizeof buf, "dword:%08x",
                  static_cast<unsigned>(d[0] | d[1] << 8 | d[2] << 16 | d[3] << 24));
    out += buf;
  } else {
    if (value.type == REG_BINARY) {
      out += "hex:";
    } else {
      std::snprintf(buf, sizeof buf, "hex(%x):", static_cast<unsigned>(value.type));
      out += buf;
    }
    for (std::size_t i = 0; i < value.data.size(); ++i) {
      std::snprintf(buf, sizeof buf, i == 0 ? "%02x" : ",%02x", static_cast<unsigned>(value.data[i]));
      out += buf;
    }
  }
  out += '\n';
}

void appendKey(std::string& out, const RegKeyNode& key, const std::string& path, bool isRoot) {
  if (!isRoot || !key.values.empty()) {
    out += "\n[" + path + "]\n";
    for (const auto& value : key.values) appendValue(out, value);
  }
  for (const auto& child : key.children) appendKey(out, *child, path + '\\' + child->name, false);
}

std::atomic<Registry*> installedRegistry{nullptr};

}  // namespace

std::optional<RegistryPath> splitRegistryPath(std::string_view path) {
  const std::size_t cut = path.find('\\');
  const std::string_view rootText = path.substr(0, cut);
  const auto root = std::find_if(std::begin(kRootNames), std::end(kRootNames), [&](const RootName& r) {
    return sameRegName(r.full, rootText) || (!r.shortForm.empty() && sameRegName(r.shortForm, rootText));
  });
  if (root == std::end(kRootNames)) return std::nullopt;
  RegistryPath result{root->key, {}};
  if (cut == std::string_view::npos) return result;
  std::string_view rest = path.substr(cut + 1);
  while (true) {
    const std::size_t next = rest.find('\\');
    const std::string_view name = rest.substr(0, next);
    if (name.empty() || result.names.size() == kMaxKeyDepth) return std::nullopt;
    result.names.push_back(name);
    if (next == std::string_view::npos) return result;
    rest.remove_prefix(next + 1);
  }
}

std::string_view rootKeyName(HKEY root) {
  for (const auto& r : kRootNames) {
    if (r.key == root) return r.full;
  }
  return {};
}

Registry::Registry() : impl_(std::make_unique<Impl>()) {}
Registry::~Registry() = default;

void Registry::createKey(std::string_view path) {
  const auto split = splitOrThrow(path);
  std::lock_guard lock(impl_->mutex);
  impl_->walkOrCreate(*impl_->node(split.root), split.names);
}

void Registry::deleteKey(std::string_view path) {
  const auto split = splitOrThrow(path);
  if (split.names.empty()) throw std::invalid_argument("a root key cannot be deleted: " + std::string(path));
  std::lock_guard lock(impl_->mutex);
  impl_->removeKey(**impl_->node(split.root), split.names);
}

void Registry::setValue(std::string_view keyPath, std::string_view name, DWORD type, std::vector<BYTE> data) {
  const auto split = splitOrThrow(keyPath);
  std::lock_guard lock(impl_->mutex);
  (*impl_->walkOrCreate(*impl_->node(split.root), split.names))->setValue(name, type, std::move(data));
}

void Registry::setString(std::string_view keyPath, std::string_view name, std::string_view ansiText) {
  auto data = bytesOf(ansiText);
  data.push_back(0);
  setValue(keyPath, name, REG_SZ, std::move(data));
}

void Registry::setDword(std::string_view keyPath, std::string_view name, std::uint32_t value) {
  setValue(keyPath, name, REG_DWORD,
           {static_cast<BYTE>(value), static_cast<BYTE>(value >> 8), static_cast<BYTE>(value >> 16),
            static_cast<BYTE>(value >> 24)});
}

void Registry::deleteValue(std::string_view keyPath, std::string_view name) {
  const auto split = splitOrThrow(keyPath);
  std::lock_guard lock(impl_->mutex);
  if (const auto* key = impl_->walk(*impl_->node(split.root), split.names)) (*key)->removeValue(name);
}

bool Registry::keyExists(std::string_view path) const {
  const auto split = splitRegistryPath(path);
  if (!split) return false;
  std::lock_guard lock(impl_->mutex);
  return impl_->walk(*impl_->node(split->root), split->names) != nullptr;
}

std::size_t Registry::keyCount() const {
  std::lock_guard lock(impl_->mutex);
  return impl_->keyCount;
}

std::string Registry::dump() const {
  std::string out = "REGEDIT4\n";
  std::lock_guard lock(impl_->mutex);
  for (const auto& root : impl_->roots) appendKey(out, *root, root->name, true);
  return out;
}

Registry& registry() {
  static Registry processRegistry;
  Registry* r = installedRegistry.load();
  return r != nullptr ? *r : processRegistry;
}

bool registryInstalled() { return installedRegistry.load() != nullptr; }

ScopedRegistry::ScopedRegistry(Registry& r) : previous_(installedRegistry.exchange(&r)) {}
ScopedRegistry::~ScopedRegistry() { installedRegistry.store(previous_); }

}  // namespace tov::platform
