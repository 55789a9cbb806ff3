#include <tovport/platform/os_version.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <cstring>
#include <mutex>
#include <utility>

#include "platform/last_error.h"
#include "platform/system_backends.h"

namespace tov::platform {
namespace {

struct Preset {
  std::string_view name;
  OsVersion version;
};

const Preset kPresets[] = {
    {"9x", {VER_PLATFORM_WIN32_WINDOWS, 4, 10, 1998, ""}},
    {"nt4", {VER_PLATFORM_WIN32_NT, 4, 0, 1381, "Service Pack 6"}},
    {"2000", {VER_PLATFORM_WIN32_NT, 5, 0, 2195, "Service Pack 4"}},
    {"xp", {VER_PLATFORM_WIN32_NT, 5, 1, 2600, "Service Pack 1"}},
    {"xp-sp2", {VER_PLATFORM_WIN32_NT, 5, 1, 2600, "Service Pack 2"}},
    {"xp-sp3", {VER_PLATFORM_WIN32_NT, 5, 1, 2600, "Service Pack 3"}},
    {"vista", {VER_PLATFORM_WIN32_NT, 6, 0, 6000, ""}},
};

constexpr std::size_t kCsdCapacity = sizeof(OSVERSIONINFOA::szCSDVersion) - 1;  // room for the NUL

struct State {
  std::mutex mutex;
  std::optional<OsVersion> version;  // empty: the running system's, or the one the component was made for
};

State& state() {
  static State s;
  return s;
}

std::atomic<bool> unavailable{false};

bool sameIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return lower(x) == lower(y);
  });
}

// A decimal number of one to ten digits that fits a DWORD.
std::optional<DWORD> parseNumber(std::string_view text) {
  DWORD value = 0;
  if (text.empty() || text.size() > 10) return std::nullopt;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// "P.MAJOR.MINOR[:CSD text]"; the build number is then 0.
std::optional<OsVersion> parseRaw(std::string_view text) {
  std::string_view csd;
  if (const std::size_t colon = text.find(':'); colon != std::string_view::npos) {
    csd = text.substr(colon + 1);
    text = text.substr(0, colon);
  }
  if (csd.size() > kCsdCapacity) return std::nullopt;
  const std::size_t dot1 = text.find('.');
  const std::size_t dot2 = dot1 == std::string_view::npos ? dot1 : text.find('.', dot1 + 1);
  if (dot2 == std::string_view::npos) return std::nullopt;
  const auto platform = parseNumber(text.substr(0, dot1));
  const auto major = parseNumber(text.substr(dot1 + 1, dot2 - dot1 - 1));
  const auto minor = parseNumber(text.substr(dot2 + 1));  // a third dot fails here
  if (!platform || !major || !minor) return std::nullopt;
  return OsVersion{*platform, *major, *minor, 0, std::string(csd)};
}

}  // namespace

BOOL GetVersionExA(OSVERSIONINFOA* info) {
  if (info == nullptr || info->dwOSVersionInfoSize != sizeof(OSVERSIONINFOA)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  if (unavailable.load()) {
    SetLastError(ERROR_INVALID_FUNCTION);
    return FALSE;
  }
  const OsVersion v = currentOsVersion();
  info->dwMajorVersion = v.major;
  info->dwMinorVersion = v.minor;
  info->dwBuildNumber = v.build;
  info->dwPlatformId = v.platformId;
  std::memset(info->szCSDVersion, 0, sizeof info->szCSDVersion);
  std::memcpy(info->szCSDVersion, v.csd.data(), std::min(v.csd.size(), kCsdCapacity));
  return TRUE;
}

std::optional<OsVersion> parseOsVersion(std::string_view text) {
  for (const auto& preset : kPresets) {
    if (sameIgnoringCase(preset.name, text)) return preset.version;
  }
  return parseRaw(text);
}

std::string_view osPresetNames() {
  static const std::string names = [] {
    std::string joined;
    for (const auto& preset : kPresets) joined += (joined.empty() ? "" : ", ") + std::string(preset.name);
    return joined;
  }();
  return names;
}

void setOsVersion(const OsVersion& v) {
  std::lock_guard lock(state().mutex);
  state().version = v;
}

void clearOsVersion() {
  std::lock_guard lock(state().mutex);
  state().version.reset();
}

void setOsVersionUnavailable(bool failing) { unavailable.store(failing); }

OsVersion currentOsVersion() {
  {
    std::lock_guard lock(state().mutex);
    if (state().version) return *state().version;
  }
  return systemOsVersion().value_or(OsVersion{});
}

ScopedOsVersion::ScopedOsVersion(const OsVersion& v) {
  std::lock_guard lock(state().mutex);
  previous_ = std::exchange(state().version, v);
}
ScopedOsVersion::~ScopedOsVersion() {
  std::lock_guard lock(state().mutex);
  state().version = previous_;
}

}  // namespace tov::platform
