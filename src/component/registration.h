// What registering the in-process server writes below HKEY_CLASSES_ROOT, one row per value: the
// ProgID, the class with its server module and threading model, the type library and both
// interfaces; and what unregistering removes. The server entry points of each system write and
// remove exactly these rows.
//
// A 32-bit and a 64-bit server register side by side on 64-bit Windows, each in its own view of
// the registry: the CLSID and Interface keys are redirected (each width has its own), while the
// ProgID and the TypeLib key are shared (one for both widths; the type library names each width's
// file under win32 and win64). A shared key goes only when the other width no longer needs it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tov {

struct RegEntry {
  std::string key;    // below HKEY_CLASSES_ROOT
  std::string name;   // "" = the default value
  std::string value;
};

inline constexpr const char* kProgId = "tovport.tovComPrtv3";

enum class Width { Bits32, Bits64 };

constexpr Width otherWidth(Width w) { return w == Width::Bits32 ? Width::Bits64 : Width::Bits32; }

// The key under which the type library's file is found for processes of a width.
std::string_view typeLibPlatform(Width width);

// modulePath: the server's file.
std::vector<RegEntry> registrationEntries(const std::string& modulePath, Width width);

// The keys whose presence says that a width is registered: its class (in its own view) and its
// type library's file.
std::string classServerKey();
std::string typeLibFileKey(Width width);

// The keys of a width's own view that its unregistration removes.
std::vector<std::string> ownKeys();

// What the registry holds for the other width once one width's own keys are gone.
struct OtherWidth {
  bool classRegistered = false;
  bool typeLibRegistered = false;
};

// The shared keys unregistering width removes (from every view): its type library's file, and the
// type library and the ProgID when the other width does not need them.
std::vector<std::string> sharedKeysToRemove(Width width, OtherWidth other);

}  // namespace tov
