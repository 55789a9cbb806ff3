// The advapi32 reg calls over the installed Registry, with the system's status codes.
#include <algorithm>
#include <cstring>

#include "platform/registry_impl.h"
#include "platform/system_backends.h"

namespace tov::platform {

struct RegistryAccess {
  static Registry::Impl& impl(Registry& r) { return *r.impl_; }
};

namespace {

constexpr std::size_t kFileTimeSize = 8;

// One call's hold on the installed registry.
struct Session {
  Registry::Impl& impl = RegistryAccess::impl(registry());
  std::lock_guard<std::mutex> lock{impl.mutex};

  // The key behind a handle, or the status telling why there is none.
  DWORD find(HKEY key, const std::shared_ptr<RegKeyNode>*& node) const {
    node = impl.node(key);
    if (node == nullptr) return ERROR_INVALID_HANDLE;
    return (*node)->deleted ? ERROR_KEY_DELETED : ERROR_SUCCESS;
  }
};

// The key names of a subkey argument. The system refuses a leading backslash except below
// HKEY_CLASSES_ROOT, where it is dropped.
DWORD subKeyNames(HKEY key, const char* subKey, std::vector<std::string_view>& names) {
  std::string_view text = subKey != nullptr ? subKey : "";
  if (!text.empty() && text.front() == '\\') {
    if (key != HKEY_CLASSES_ROOT) return ERROR_BAD_PATHNAME;
    text.remove_prefix(1);
  }
  names = splitKeyNames(text);
  return ERROR_SUCCESS;
}

// Where a call that names a subkey starts (the key behind the handle) and the names below it.
DWORD locate(const Session& s, HKEY key, const char* subKey, const std::shared_ptr<RegKeyNode>*& start,
             std::vector<std::string_view>& names) {
  if (const DWORD st = s.find(key, start); st != ERROR_SUCCESS) return st;
  return subKeyNames(key, subKey, names);
}

DWORD sizeOf(std::size_t n) { return static_cast<DWORD>(n); }

// Copies a name with its NUL when it fits the buffer of *size characters, and reports its length.
bool copyName(const std::string& name, char* buffer, DWORD* size) {
  if (name.size() >= *size) return false;
  std::memcpy(buffer, name.c_str(), name.size() + 1);
  *size = sizeOf(name.size());
  return true;
}

// Keys carry no class name: an empty one is returned where one is asked for.
DWORD emptyClassName(char* className, DWORD* classNameSize) {
  if (className == nullptr) {
    if (classNameSize != nullptr) *classNameSize = 0;
    return ERROR_SUCCESS;
  }
  if (classNameSize == nullptr) return ERROR_INVALID_PARAMETER;
  if (*classNameSize == 0) return ERROR_MORE_DATA;
  className[0] = '\0';
  *classNameSize = 0;
  return ERROR_SUCCESS;
}

void clearWriteTime(void* lastWriteTime) {
  if (lastWriteTime != nullptr) std::memset(lastWriteTime, 0, kFileTimeSize);
}

// Hands out the type, size and (when the buffer is big enough) the data of a value.
DWORD copyValue(const RegValueEntry& value, DWORD* type, BYTE* data, DWORD* dataSize) {
  if (type != nullptr) *type = value.type;
  if (dataSize == nullptr) return ERROR_SUCCESS;
  const DWORD needed = sizeOf(value.data.size());
  const bool fits = data == nullptr || *dataSize >= needed;
  if (data != nullptr && fits) std::copy(value.data.begin(), value.data.end(), data);
  *dataSize = needed;
  return fits ? ERROR_SUCCESS : ERROR_MORE_DATA;
}

// The system's registry, while no Registry is installed and the system has one.
SystemRegistry* system() { return registryInstalled() ? nullptr : systemRegistry(); }

}  // namespace

LSTATUS RegOpenKeyExA(HKEY key, const char* subKey, DWORD options, REGSAM sam, HKEY* result) {
  if (auto* sys = system()) return sys->openKey(key, subKey, options, sam, result);
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  *result = 0;
  Session s;
  const std::shared_ptr<RegKeyNode>* start = nullptr;
  std::vector<std::string_view> names;
  if (const DWORD st = locate(s, key, subKey, start, names); st != ERROR_SUCCESS) return st;
  // Opening a root itself hands back the root, as the system does for predefined keys.
  if (names.empty() && Registry::Impl::isRoot(key)) {
    *result = key;
    return ERROR_SUCCESS;
  }
  const auto* target = s.impl.walk(*start, names);
  if (target == nullptr) return ERROR_FILE_NOT_FOUND;
  *result = s.impl.addHandle(*target);
  return ERROR_SUCCESS;
}

LSTATUS RegCloseKey(HKEY key) {
  if (auto* sys = system()) return sys->closeKey(key);
  Session s;
  return s.impl.closeHandle(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS RegQueryValueExA(HKEY key, const char* valueName, DWORD* reserved, DWORD* type, BYTE* data,
                         DWORD* dataSize) {
  if (auto* sys = system()) return sys->queryValue(key, valueName, reserved, type, data, dataSize);
  if (reserved != nullptr || (data != nullptr && dataSize == nullptr)) return ERROR_INVALID_PARAMETER;
  Session s;
  const std::shared_ptr<RegKeyNode>* node = nullptr;
  if (const DWORD st = s.find(key, node); st != ERROR_SUCCESS) return st;
  const RegValueEntry* value = (*node)->findValue(valueName != nullptr ? valueName : "");
  if (value == nullptr) return ERROR_FILE_NOT_FOUND;
  return copyValue(*value, type, data, dataSize);
}

LSTATUS RegQueryInfoKeyA(HKEY key, char* className, DWORD* classNameSize, DWORD* reserved, DWORD* subKeys,
                         DWORD* maxSubKeyLen, DWORD* maxClassLen, DWORD* values, DWORD* maxValueNameLen,
                         DWORD* maxValueLen, DWORD* securityDescriptor, void* lastWriteTime) {
  if (auto* sys = system()) return sys->queryInfo(key, className, classNameSize, reserved, subKeys, maxSubKeyLen, maxClassLen, values,
                                          maxValueNameLen, maxValueLen, securityDescriptor, lastWriteTime);
  if (reserved != nullptr) return ERROR_INVALID_PARAMETER;
  Session s;
  const std::shared_ptr<RegKeyNode>* node = nullptr;
  if (const DWORD st = s.find(key, node); st != ERROR_SUCCESS) return st;
  if (const DWORD st = emptyClassName(className, classNameSize); st != ERROR_SUCCESS) return st;
  const RegKeyNode& k = **node;
  std::size_t longestKey = 0, longestName = 0, largestData = 0;
  for (const auto& child : k.children) longestKey = std::max(longestKey, child->name.size());
  for (const auto& value : k.values) {
    longestName = std::max(longestName, value.name.size());
    largestData = std::max(largestData, value.data.size());
  }
  if (subKeys != nullptr) *subKeys = sizeOf(k.children.size());
  if (maxSubKeyLen != nullptr) *maxSubKeyLen = sizeOf(longestKey);
  if (maxClassLen != nullptr) *maxClassLen = 0;
  if (values != nullptr) *values = sizeOf(k.values.size());
  if (maxValueNameLen != nullptr) *maxValueNameLen = sizeOf(longestName);
  if (maxValueLen != nullptr) *maxValueLen = sizeOf(largestData);
  if (securityDescriptor != nullptr) *securityDescriptor = 0;
  clearWriteTime(lastWriteTime);
  return ERROR_SUCCESS;
}

LSTATUS RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD* reserved, char* className,
                      DWORD* classNameSize, void* lastWriteTime) {
  if (auto* sys = system()) return sys->enumKey(key, index, name, nameSize, reserved, className, classNameSize, lastWriteTime);
  if (name == nullptr || nameSize == nullptr || reserved != nullptr) return ERROR_INVALID_PARAMETER;
  Session s;
  const std::shared_ptr<RegKeyNode>* node = nullptr;
  if (const DWORD st = s.find(key, node); st != ERROR_SUCCESS) return st;
  const auto& children = (*node)->children;
  if (index >= children.size()) return ERROR_NO_MORE_ITEMS;
  // As on the system, a name that does not fit leaves the buffer and its size untouched.
  if (children[index]->name.size() >= *nameSize) return ERROR_MORE_DATA;
  if (const DWORD st = emptyClassName(className, classNameSize); st != ERROR_SUCCESS) return st;
  copyName(children[index]->name, name, nameSize);
  clearWriteTime(lastWriteTime);
  return ERROR_SUCCESS;
}

LSTATUS RegEnumValueA(HKEY key, DWORD index, char* valueName, DWORD* valueNameSize, DWORD* reserved,
                      DWORD* type, BYTE* data, DWORD* dataSize) {
  if (auto* sys = system()) return sys->enumValue(key, index, valueName, valueNameSize, reserved, type, data, dataSize);
  if (valueName == nullptr || valueNameSize == nullptr || reserved != nullptr ||
      (data != nullptr && dataSize == nullptr)) {
    return ERROR_INVALID_PARAMETER;
  }
  Session s;
  const std::shared_ptr<RegKeyNode>* node = nullptr;
  if (const DWORD st = s.find(key, node); st != ERROR_SUCCESS) return st;
  const auto& values = (*node)->values;
  if (index >= values.size()) return ERROR_NO_MORE_ITEMS;
  const RegValueEntry& value = values[index];
  if (!copyName(value.name, valueName, valueNameSize)) {
    // The name is cut to the buffer; type and size are still reported.
    if (*valueNameSize > 0) {
      std::memcpy(valueName, value.name.data(), *valueNameSize - 1);
      valueName[*valueNameSize - 1] = '\0';
    }
    copyValue(value, type, nullptr, dataSize);
    return ERROR_MORE_DATA;
  }
  return copyValue(value, type, data, dataSize);
}

LSTATUS RegCreateKeyExA(HKEY key, const char* subKey, HKEY* result) {
  if (auto* sys = system()) return sys->createKey(key, subKey, result);
  if (result == nullptr) return ERROR_INVALID_PARAMETER;
  *result = 0;
  Session s;
  const std::shared_ptr<RegKeyNode>* start = nullptr;
  std::vector<std::string_view> names;
  if (const DWORD st = locate(s, key, subKey, start, names); st != ERROR_SUCCESS) return st;
  const auto* target = s.impl.walkOrCreate(*start, names);
  if (target == nullptr) return ERROR_INVALID_PARAMETER;
  *result = s.impl.addHandle(*target);
  return ERROR_SUCCESS;
}

LSTATUS RegSetValueExA(HKEY key, const char* valueName, DWORD type, const BYTE* data, DWORD dataSize) {
  if (auto* sys = system()) return sys->setValue(key, valueName, type, data, dataSize);
  if (data == nullptr && dataSize > 0) return ERROR_INVALID_PARAMETER;
  Session s;
  const std::shared_ptr<RegKeyNode>* node = nullptr;
  if (const DWORD st = s.find(key, node); st != ERROR_SUCCESS) return st;
  std::vector<BYTE> bytes(data, data + dataSize);
  (*node)->setValue(valueName != nullptr ? valueName : "", type, std::move(bytes));
  return ERROR_SUCCESS;
}

LSTATUS RegDeleteTreeA(HKEY key, const char* subKey) {
  if (auto* sys = system()) return sys->deleteTree(key, subKey);
  Session s;
  const std::shared_ptr<RegKeyNode>* node = nullptr;
  std::vector<std::string_view> names;
  if (const DWORD st = s.find(key, node); st != ERROR_SUCCESS) return st;
  if (const DWORD st = subKeyNames(key, subKey, names); st != ERROR_SUCCESS) return st;
  // Without a subkey the key itself stays and loses its contents.
  if (names.empty()) {
    s.impl.clearKey(**node);
    return ERROR_SUCCESS;
  }
  return s.impl.removeKey(**node, names) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

LSTATUS RegDeleteValueA(HKEY key, const char* valueName) {
  if (auto* sys = system()) return sys->deleteValue(key, valueName);
  Session s;
  const std::shared_ptr<RegKeyNode>* node = nullptr;
  if (const DWORD st = s.find(key, node); st != ERROR_SUCCESS) return st;
  return (*node)->removeValue(valueName != nullptr ? valueName : "") ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

}  // namespace tov::platform
