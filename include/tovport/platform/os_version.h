// The running system's version, shaped after GetVersionExA. On Windows it is the system's own
// unless the host sets one; elsewhere it is a setting of the host (a preset name or a raw
// P.MAJOR.MINOR[:CSD text]), Windows XP SP2 by default.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <tovport/platform/win32.h>

namespace tov::platform {

struct OsVersion {
  DWORD platformId = VER_PLATFORM_WIN32_NT;
  DWORD major = 5;
  DWORD minor = 1;
  DWORD build = 2600;
  std::string csd = "Service Pack 2";

  bool operator==(const OsVersion&) const = default;
};

// Fills the record from the installed version. Fails (FALSE, error 87) when the size field is
// not that of OSVERSIONINFOA. A failure source installed by tests makes it fail with error 1.
BOOL GetVersionExA(OSVERSIONINFOA* info);

// Presets: 9x, nt4, 2000, xp, xp-sp2, xp-sp3, vista (any case); or "P.MAJOR.MINOR[:CSD text]"
// with decimal numbers, build 0 and at most 127 characters of service-pack text.
std::optional<OsVersion> parseOsVersion(std::string_view text);
// The preset names, for help texts.
std::string_view osPresetNames();

void setOsVersion(const OsVersion& v);       // process-wide
void clearOsVersion();                       // back to the running system's (or the default)
void setOsVersionUnavailable(bool failing);  // GetVersionExA fails while set (for tests)
OsVersion currentOsVersion();

// Installs a version for its lifetime and then puts the previous one back.
class ScopedOsVersion {
 public:
  explicit ScopedOsVersion(const OsVersion& v);
  ~ScopedOsVersion();
  ScopedOsVersion(const ScopedOsVersion&) = delete;
  ScopedOsVersion& operator=(const ScopedOsVersion&) = delete;

 private:
  std::optional<OsVersion> previous_;
};

}  // namespace tov::platform
