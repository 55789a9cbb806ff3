// The registry, shaped after the advapi32 calls the component makes. There is no system registry
// on this platform: the calls work on the process's installed Registry, an in-memory tree that
// hosts fill from .reg files (reg_file.h) and that registration writes to.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tovport/platform/win32.h>

namespace tov::platform {

// Status codes of the reg calls beyond those in win32.h.
inline constexpr DWORD ERROR_BAD_PATHNAME = 161;  // a subkey path starting with a backslash
inline constexpr DWORD ERROR_KEY_DELETED = 1018;  // the key behind an open handle was deleted

// Read calls (status codes as Win32: 0 success, 2 not found, 6 invalid handle, 234 more data,
// 259 no more items). Names are ANSI (Windows-1252) and matched without regard to case.
LSTATUS RegOpenKeyExA(HKEY key, const char* subKey, DWORD options, REGSAM sam, HKEY* result);
LSTATUS RegCloseKey(HKEY key);
LSTATUS RegQueryValueExA(HKEY key, const char* valueName, DWORD* reserved, DWORD* type, BYTE* data,
                         DWORD* dataSize);
LSTATUS RegQueryInfoKeyA(HKEY key, char* className, DWORD* classNameSize, DWORD* reserved, DWORD* subKeys,
                         DWORD* maxSubKeyLen, DWORD* maxClassLen, DWORD* values, DWORD* maxValueNameLen,
                         DWORD* maxValueLen, DWORD* securityDescriptor, void* lastWriteTime);
LSTATUS RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD* reserved, char* className,
                      DWORD* classNameSize, void* lastWriteTime);
LSTATUS RegEnumValueA(HKEY key, DWORD index, char* valueName, DWORD* valueNameSize, DWORD* reserved,
                      DWORD* type, BYTE* data, DWORD* dataSize);

// Write calls, used by server registration.
LSTATUS RegCreateKeyExA(HKEY key, const char* subKey, HKEY* result);
LSTATUS RegSetValueExA(HKEY key, const char* valueName, DWORD type, const BYTE* data, DWORD dataSize);
LSTATUS RegDeleteTreeA(HKEY key, const char* subKey);  // the key and everything below it
LSTATUS RegDeleteValueA(HKEY key, const char* valueName);

// An in-memory registry: the five predefined roots (and HKEY_PERFORMANCE_DATA, HKEY_DYN_DATA),
// keys with case-blind names whose subkeys enumerate in sorted case-blind order and whose values
// enumerate in the order they were written. Thread-safe.
class Registry {
 public:
  Registry();
  ~Registry();
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  // Paths are full, root name first: "HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm"
  // (HKLM, HKCU, HKCR, HKU, HKCC short forms accepted). Creating a key creates its parents, and so
  // does setting a value. A path that splitRegistryPath rejects throws std::invalid_argument, as
  // does deleting a root.
  void createKey(std::string_view path);
  void deleteKey(std::string_view path);  // with all subkeys; a missing key is no error
  void setValue(std::string_view keyPath, std::string_view name, DWORD type, std::vector<BYTE> data);
  void setString(std::string_view keyPath, std::string_view name, std::string_view ansiText);  // REG_SZ with NUL
  void setDword(std::string_view keyPath, std::string_view name, std::uint32_t value);
  void deleteValue(std::string_view keyPath, std::string_view name);
  bool keyExists(std::string_view path) const;
  std::size_t keyCount() const;  // every key below the roots
  // A stable text form of the whole tree (sorted keys, values in order), for comparisons in tests.
  std::string dump() const;

  struct Impl;

 private:
  friend struct RegistryAccess;
  std::unique_ptr<Impl> impl_;
};

// Keys lie at most this many levels below their root, as in the system's hives.
inline constexpr std::size_t kMaxKeyDepth = 512;

// A full path split into its root and key names: "HKLM\Software\X" gives HKEY_LOCAL_MACHINE and
// {"Software", "X"}. Root names are matched case-blind, in full or short form. Empty when the
// root is unknown, a key name is empty (doubled or trailing backslash) or the path is too deep.
struct RegistryPath {
  HKEY root = 0;
  std::vector<std::string_view> names;  // views into the text given
};
std::optional<RegistryPath> splitRegistryPath(std::string_view path);
// The full name of a predefined root ("HKEY_LOCAL_MACHINE"), empty for any other handle.
std::string_view rootKeyName(HKEY root);

// The process's registry (an empty one unless a host installs another).
Registry& registry();
class ScopedRegistry {
 public:
  explicit ScopedRegistry(Registry& r);
  ~ScopedRegistry();
  ScopedRegistry(const ScopedRegistry&) = delete;
  ScopedRegistry& operator=(const ScopedRegistry&) = delete;

 private:
  Registry* previous_;
};

}  // namespace tov::platform
