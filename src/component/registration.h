// What registering the in-process server writes below HKEY_CLASSES_ROOT, one row per value:
// the ProgID, the class with its server module and threading model, the type library and both
// interfaces. The server entry points of each system write and remove exactly these rows.
#pragma once

#include <string>
#include <vector>

namespace tov {

struct RegEntry {
  std::string key;    // below HKEY_CLASSES_ROOT
  std::string name;   // "" = the default value
  std::string value;
};

inline constexpr const char* kProgId = "tovport.tovComPrtv3";

// modulePath: the server's file; typeLibPlatform: "win32" or "win64", the key under which the
// type library's file is found for processes of that width.
std::vector<RegEntry> registrationEntries(const std::string& modulePath, const std::string& typeLibPlatform);

// The keys registration owns: removing them removes every entry above.
std::vector<std::string> ownedKeys();

}  // namespace tov
