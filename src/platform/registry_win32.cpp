// The system's registry (advapi32). Handles pass between the component's 32-bit HKEY values and
// the system's: predefined roots sign-extend, as the system defines them, and opened keys are
// small handle values.
#include <tovport/platform/registry.h>
#include "platform/system_backends.h"

// Last: windows.h macros would rewrite the platform headers.
#include <windows.h>

namespace tov::platform {
namespace {

::HKEY toSystem(HKEY key) { return reinterpret_cast<::HKEY>(static_cast<ULONG_PTR>(static_cast<LONG>(key))); }
HKEY fromSystem(::HKEY key) { return static_cast<HKEY>(reinterpret_cast<ULONG_PTR>(key)); }

// The reg calls' DWORD and the system's are both 32 bits wide; only the spelling differs.
static_assert(sizeof(DWORD) == sizeof(::DWORD));
::DWORD* sys(DWORD* p) { return reinterpret_cast<::DWORD*>(p); }

class Win32Registry final : public SystemRegistry {
 public:
  LSTATUS openKey(HKEY key, const char* subKey, DWORD options, REGSAM sam, HKEY* result) override {
    ::HKEY opened = nullptr;
    const LSTATUS status = ::RegOpenKeyExA(toSystem(key), subKey, options, sam, &opened);
    if (result != nullptr) *result = status == ERROR_SUCCESS ? fromSystem(opened) : 0;
    return status;
  }
  LSTATUS closeKey(HKEY key) override { return ::RegCloseKey(toSystem(key)); }
  LSTATUS queryValue(HKEY key, const char* valueName, DWORD* reserved, DWORD* type, BYTE* data,
                     DWORD* dataSize) override {
    return ::RegQueryValueExA(toSystem(key), valueName, sys(reserved), sys(type), data, sys(dataSize));
  }
  LSTATUS queryInfo(HKEY key, char* className, DWORD* classNameSize, DWORD* reserved, DWORD* subKeys,
                    DWORD* maxSubKeyLen, DWORD* maxClassLen, DWORD* values, DWORD* maxValueNameLen, DWORD* maxValueLen,
                    DWORD* securityDescriptor, void* lastWriteTime) override {
    return ::RegQueryInfoKeyA(toSystem(key), className, sys(classNameSize), sys(reserved), sys(subKeys),
                              sys(maxSubKeyLen), sys(maxClassLen), sys(values), sys(maxValueNameLen),
                              sys(maxValueLen), sys(securityDescriptor), static_cast<FILETIME*>(lastWriteTime));
  }
  LSTATUS enumKey(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD* reserved, char* className,
                  DWORD* classNameSize, void* lastWriteTime) override {
    return ::RegEnumKeyExA(toSystem(key), index, name, sys(nameSize), sys(reserved), className, sys(classNameSize),
                           static_cast<FILETIME*>(lastWriteTime));
  }
  LSTATUS enumValue(HKEY key, DWORD index, char* valueName, DWORD* valueNameSize, DWORD* reserved, DWORD* type,
                    BYTE* data, DWORD* dataSize) override {
    return ::RegEnumValueA(toSystem(key), index, valueName, sys(valueNameSize), sys(reserved), sys(type), data,
                           sys(dataSize));
  }
  LSTATUS createKey(HKEY key, const char* subKey, HKEY* result) override {
    ::HKEY created = nullptr;
    const LSTATUS status = ::RegCreateKeyExA(toSystem(key), subKey, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                             KEY_ALL_ACCESS, nullptr, &created, nullptr);
    if (result != nullptr) *result = status == ERROR_SUCCESS ? fromSystem(created) : 0;
    return status;
  }
  LSTATUS setValue(HKEY key, const char* valueName, DWORD type, const BYTE* data, DWORD dataSize) override {
    return ::RegSetValueExA(toSystem(key), valueName, 0, type, data, dataSize);
  }
  LSTATUS deleteTree(HKEY key, const char* subKey) override { return ::RegDeleteTreeA(toSystem(key), subKey); }
  LSTATUS deleteValue(HKEY key, const char* valueName) override {
    return ::RegDeleteValueA(toSystem(key), valueName);
  }
};

}  // namespace

SystemRegistry* systemRegistry() {
  static Win32Registry calls;
  return &calls;
}

}  // namespace tov::platform
