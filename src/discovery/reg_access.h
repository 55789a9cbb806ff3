// RegAccess: the one place where port discovery reads the registry. Three read-only operations,
// each opening its key, reading and closing it again; none of them raises: every failure shows up
// as the operation's failure result.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include <tovport/automation/variant.h>
#include <tovport/platform/win32.h>

namespace tov::discovery {

using automation::BStr;
using automation::Variant;

// 1 HKEY_CLASSES_ROOT, 2 HKEY_CURRENT_USER, 3 HKEY_LOCAL_MACHINE, 4 HKEY_USERS,
// 5 HKEY_CURRENT_CONFIG, 6 HKEY_DYN_DATA, 7 HKEY_PERFORMANCE_DATA; any other code names no key.
using RootKeyCode = std::int32_t;
inline constexpr RootKeyCode kLocalMachine = 3;

// How a value is read. rvkOther as input to RegValue means "ask the registry".
enum RegValueKind : std::int32_t {
  rvkOther = 0,   // REG_NONE, REG_LINK, REG_RESOURCE_LIST and every other type
  rvkText = 1,    // REG_SZ, REG_EXPAND_SZ (unexpanded), REG_MULTI_SZ (NULs inside)
  rvkNumber = 2,  // REG_DWORD, REG_DWORD_BIG_ENDIAN (bytes as stored)
  rvkBinary = 3,  // REG_BINARY
};

// A list that is either never dimensioned (nullopt) or indexed from 0.
template <class T>
using RegList = std::optional<std::vector<T>>;

// What RegEnumerate finds in a key. A list is dimensioned only when its count is at least 1.
struct RegKeyListing {
  RegList<BStr> ValueNames;
  RegList<Variant> ValueData;  // text, I4, byte list from index 1, or empty for kind 0
  RegList<std::int32_t> ValueKinds;
  RegList<BStr> SubKeyNames;
  std::int32_t ValueCount = 0;
  std::int32_t SubKeyCount = 0;
};

// Does KeyPath (taken as written) open under Root and, with CheckValue, hold ValueName?
bool ObjektExistiert(bool CheckValue, RootKeyCode Root, std::u16string_view KeyPath, std::u16string_view ValueName);

// The names of the key's subkeys and values with the values' data. A missing key gives both
// counts 0 and no dimensioned lists. One leading and one trailing backslash of KeyPath are dropped.
RegKeyListing RegEnumerate(RootKeyCode Root, std::u16string_view KeyPath);

// One value read as Kind says, whatever its stored type (text from a DWORD gives its raw bytes as
// characters). Kind rvkOther lets the stored type decide and is written back. Default comes back
// when a value of kind 1, 2 or 3 cannot be read; kind 0 and any other kind give empty.
Variant RegValue(RootKeyCode Root, std::u16string_view KeyPath, std::u16string_view ValueName, RegValueKind& Kind,
                 const Variant& Default);

// The layer's per-thread state: the key the running operation holds (0 outside an operation) and
// the status of the last registry call.
struct RegLayerState {
  platform::HKEY CurrentKey = 0;
  platform::LSTATUS LastRegResult = 0;
};
const RegLayerState& regLayerState();

}  // namespace tov::discovery
