// What each platform seam uses while no host or test has installed a backend of its own: on
// Windows the system itself (the *_win32.cpp units), elsewhere the built-in stand-ins (the
// *_posix.cpp units). Only the platform sources include this.
#pragma once

#include <optional>

#include <tovport/platform/win32.h>

namespace tov::platform {

class SerialBackend;
struct OsVersion;

// The system's registry behind the reg calls of registry.h, with the same arguments and status
// codes. Keys are the system's handles.
class SystemRegistry {
 public:
  virtual ~SystemRegistry() = default;
  virtual LSTATUS openKey(HKEY key, const char* subKey, DWORD options, REGSAM sam, HKEY* result) = 0;
  virtual LSTATUS closeKey(HKEY key) = 0;
  virtual LSTATUS queryValue(HKEY key, const char* valueName, DWORD* reserved, DWORD* type, BYTE* data,
                             DWORD* dataSize) = 0;
  virtual LSTATUS queryInfo(HKEY key, char* className, DWORD* classNameSize, DWORD* reserved, DWORD* subKeys,
                            DWORD* maxSubKeyLen, DWORD* maxClassLen, DWORD* values, DWORD* maxValueNameLen,
                            DWORD* maxValueLen, DWORD* securityDescriptor, void* lastWriteTime) = 0;
  virtual LSTATUS enumKey(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD* reserved, char* className,
                          DWORD* classNameSize, void* lastWriteTime) = 0;
  virtual LSTATUS enumValue(HKEY key, DWORD index, char* valueName, DWORD* valueNameSize, DWORD* reserved,
                            DWORD* type, BYTE* data, DWORD* dataSize) = 0;
  virtual LSTATUS createKey(HKEY key, const char* subKey, HKEY* result) = 0;
  virtual LSTATUS setValue(HKEY key, const char* valueName, DWORD type, const BYTE* data, DWORD dataSize) = 0;
  virtual LSTATUS deleteTree(HKEY key, const char* subKey) = 0;
  virtual LSTATUS deleteValue(HKEY key, const char* valueName) = 0;
};

// Null where the system has no registry: the process's in-memory Registry serves instead.
SystemRegistry* systemRegistry();
// The serial devices of the system (none where COM ports are mapped by the host).
SerialBackend& systemSerialBackend();
// The running system's version; empty where the component's default system stands in.
std::optional<OsVersion> systemOsVersion();

}  // namespace tov::platform
