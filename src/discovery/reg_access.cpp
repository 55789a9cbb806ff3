#include "discovery/reg_access.h"

#include <array>
#include <cstring>
#include <string>

#include "platform/codepage.h"
#include <tovport/platform/registry.h>

namespace tov::discovery {
namespace {

using namespace platform;

constexpr DWORD kNameBufferSize = 255;  // characters, for subkey and value names
constexpr DWORD kTextBufferSize = 255;  // bytes, for a text read by RegValue

thread_local RegLayerState state;

HKEY rootKey(RootKeyCode code) {
  switch (code) {
    case 1: return HKEY_CLASSES_ROOT;
    case 2: return HKEY_CURRENT_USER;
    case 3: return HKEY_LOCAL_MACHINE;
    case 4: return HKEY_USERS;
    case 5: return HKEY_CURRENT_CONFIG;
    case 6: return HKEY_DYN_DATA;
    case 7: return HKEY_PERFORMANCE_DATA;
    default: return 0;  // no key: every call on it fails as for a missing key
  }
}

bool succeeded(LSTATUS status) { return status == static_cast<LSTATUS>(ERROR_SUCCESS); }
bool succeededOrMore(LSTATUS status) { return succeeded(status) || status == static_cast<LSTATUS>(ERROR_MORE_DATA); }

LSTATUS record(LSTATUS status) {
  state.LastRegResult = status;
  return status;
}

// Paths and names are nearly always ASCII, which the ANSI code page maps to itself; only other
// texts need the code page's table.
std::string ansiOf(std::u16string_view text) {
  std::string out(text.size(), '\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] >= 0x80) return utf16ToAnsi(text);
    out[i] = static_cast<char>(text[i]);
  }
  return out;
}

BStr ansiText(const void* bytes, std::size_t count) {
  return ansiToUtf16(std::string_view(static_cast<const char*>(bytes), count));
}

// A name as the call left it in the buffer: up to the reported length and its first NUL. A name
// the system refused as too long (ERROR_MORE_DATA) thus reads as what the buffer holds.
BStr nameFromBuffer(const char* buffer, DWORD reported) {
  const std::size_t limit = std::min<std::size_t>(reported, kNameBufferSize);
  return ansiText(buffer, strnlen(buffer, limit));
}

RegValueKind kindOfType(DWORD type) {
  switch (type) {
    case REG_SZ:
    case REG_EXPAND_SZ:
    case REG_MULTI_SZ: return rvkText;
    case REG_DWORD:
    case REG_DWORD_BIG_ENDIAN: return rvkNumber;
    case REG_BINARY: return rvkBinary;
    default: return rvkOther;
  }
}

// A 32-bit number from up to four little-endian bytes.
std::int32_t numberFromBytes(const BYTE* bytes) {
  std::uint32_t n = 0;
  for (std::size_t i = 4; i-- > 0;) n = (n << 8) | bytes[i];
  return static_cast<std::int32_t>(n);
}

Variant byteList(const std::vector<BYTE>& bytes, std::int32_t lowerBound) {
  automation::SafeArray list;
  list.elementType = automation::VT_UI1;
  list.lowerBound = lowerBound;
  list.elements.reserve(bytes.size());
  for (BYTE b : bytes) list.elements.emplace_back(b);
  return Variant(std::move(list));
}

// Opens KeyPath for reading into CurrentKey; a failed open leaves no key. One leading and one
// trailing backslash are dropped, nothing else.
void RegOpenKeyPath(RootKeyCode Root, std::u16string_view KeyPath) {
  if (!KeyPath.empty() && KeyPath.front() == u'\\') KeyPath.remove_prefix(1);
  if (!KeyPath.empty() && KeyPath.back() == u'\\') KeyPath.remove_suffix(1);
  const std::string path = ansiOf(KeyPath);
  HKEY key = 0;
  if (record(RegOpenKeyExA(rootKey(Root), path.c_str(), 0, KEY_READ, &key)) > 0) key = 0;
  state.CurrentKey = key;
}

void RegCloseCurrentKey() {
  if (state.CurrentKey == 0) return;  // nothing was opened
  record(RegCloseKey(state.CurrentKey));
  state.CurrentKey = 0;
}

// The data of value `index` of the current key, read into a zeroed buffer of `size` bytes (left
// zeroed when the data do not fit).
std::vector<BYTE> valueData(DWORD index, DWORD size) {
  std::vector<BYTE> data(size);
  std::array<char, kNameBufferSize> name{};
  DWORD nameSize = kNameBufferSize;
  DWORD dataSize = size;
  record(RegEnumValueA(state.CurrentKey, index, name.data(), &nameSize, nullptr, nullptr, data.data(), &dataSize));
  return data;
}

void listSubKeys(RegKeyListing& out) {
  if (out.SubKeyCount < 1) return;
  auto& names = out.SubKeyNames.emplace(static_cast<std::size_t>(out.SubKeyCount));
  for (DWORD i = 0; i < static_cast<DWORD>(out.SubKeyCount); ++i) {
    std::array<char, kNameBufferSize> name{};
    DWORD size = kNameBufferSize;
    if (!succeededOrMore(record(RegEnumKeyExA(state.CurrentKey, i, name.data(), &size, nullptr, nullptr, nullptr,
                                              nullptr))))
      return;
    names[i] = nameFromBuffer(name.data(), size);
  }
}

Variant valueOfType(DWORD index, DWORD type, DWORD size, std::int32_t& kind) {
  kind = kindOfType(type);
  switch (kind) {
    case rvkText: {
      if (size == 0) return {};  // nothing to drop the terminator from
      const auto data = valueData(index, size);
      return Variant(ansiText(data.data(), data.size() - 1));
    }
    case rvkBinary: return byteList(valueData(index, size), 1);
    case rvkNumber: return Variant(numberFromBytes(valueData(index, 4).data()));
    default: return {};
  }
}

void listValues(RegKeyListing& out) {
  if (out.ValueCount < 1) return;
  const auto count = static_cast<std::size_t>(out.ValueCount);
  auto& names = out.ValueNames.emplace(count);
  auto& data = out.ValueData.emplace(count);
  auto& kinds = out.ValueKinds.emplace(count, rvkOther);
  for (DWORD i = 0; i < count; ++i) {
    std::array<char, kNameBufferSize> name{};
    DWORD nameSize = kNameBufferSize;
    DWORD type = REG_NONE;
    DWORD size = 0;
    if (!succeededOrMore(record(RegEnumValueA(state.CurrentKey, i, name.data(), &nameSize, nullptr, &type, nullptr,
                                              &size))))
      return;
    names[i] = nameFromBuffer(name.data(), nameSize);
    data[i] = valueOfType(i, type, size, kinds[i]);
  }
}

Variant readText(const char* name, const Variant& Default) {
  std::array<BYTE, kTextBufferSize> buffer{};
  DWORD n = kTextBufferSize;
  if (!succeeded(record(RegQueryValueExA(state.CurrentKey, name, nullptr, nullptr, buffer.data(), &n)))) return Default;
  if (n == 0) return {};  // a text of zero bytes has no last byte to test: the result stays empty
  return Variant(ansiText(buffer.data(), buffer[n - 1] == 0 ? n - 1 : n));
}

Variant readNumber(const char* name, const Variant& Default) {
  std::array<BYTE, 4> bytes{};
  DWORD n = bytes.size();
  if (!succeeded(record(RegQueryValueExA(state.CurrentKey, name, nullptr, nullptr, bytes.data(), &n)))) return Default;
  return Variant(numberFromBytes(bytes.data()));
}

Variant readBinary(const char* name, const Variant& Default) {
  DWORD size = 0;
  if (!succeeded(record(RegQueryValueExA(state.CurrentKey, name, nullptr, nullptr, nullptr, &size)))) return Default;
  if (size == 0) return {};
  std::vector<BYTE> bytes(size);
  if (!succeeded(record(RegQueryValueExA(state.CurrentKey, name, nullptr, nullptr, bytes.data(), &size)))) return {};
  return byteList(bytes, 0);
}

// The kind the stored type maps to; rvkOther when the value is missing.
RegValueKind storedKind(const char* name) {
  DWORD type = REG_NONE;
  BYTE none = 0;
  DWORD size = 0;  // a zero-byte buffer: only the type is wanted
  if (!succeededOrMore(record(RegQueryValueExA(state.CurrentKey, name, nullptr, &type, &none, &size)))) return rvkOther;
  return kindOfType(type);
}

}  // namespace

const RegLayerState& regLayerState() { return state; }

bool ObjektExistiert(bool CheckValue, RootKeyCode Root, std::u16string_view KeyPath, std::u16string_view ValueName) {
  const std::string path = ansiOf(KeyPath);
  HKEY key = 0;
  if (record(RegOpenKeyExA(rootKey(Root), path.c_str(), 0, KEY_QUERY_VALUE, &key)) > 0) return false;
  state.CurrentKey = key;
  bool exists = true;
  if (CheckValue) {
    const std::string name = ansiOf(ValueName);
    BYTE none = 0;
    DWORD size = 0;  // a zero-byte buffer: a value holding data answers ERROR_MORE_DATA
    exists = succeededOrMore(record(RegQueryValueExA(key, name.c_str(), nullptr, nullptr, &none, &size)));
  }
  RegCloseCurrentKey();
  return exists;
}

RegKeyListing RegEnumerate(RootKeyCode Root, std::u16string_view KeyPath) {
  RegKeyListing out;
  RegOpenKeyPath(Root, KeyPath);
  if (state.CurrentKey != 0) {
    DWORD subKeys = 0;
    DWORD values = 0;
    if (succeeded(record(RegQueryInfoKeyA(state.CurrentKey, nullptr, nullptr, nullptr, &subKeys, nullptr, nullptr,
                                          &values, nullptr, nullptr, nullptr, nullptr)))) {
      out.SubKeyCount = static_cast<std::int32_t>(subKeys);
      out.ValueCount = static_cast<std::int32_t>(values);
    }
    listSubKeys(out);
    listValues(out);
  }
  RegCloseCurrentKey();
  return out;
}

Variant RegValue(RootKeyCode Root, std::u16string_view KeyPath, std::u16string_view ValueName, RegValueKind& Kind,
                 const Variant& Default) {
  RegOpenKeyPath(Root, KeyPath);
  const std::string name = ansiOf(ValueName);
  if (Kind == rvkOther) Kind = storedKind(name.c_str());
  Variant result;
  switch (Kind) {
    case rvkText: result = readText(name.c_str(), Default); break;
    case rvkNumber: result = readNumber(name.c_str(), Default); break;
    case rvkBinary: result = readBinary(name.c_str(), Default); break;
    default: break;
  }
  RegCloseCurrentKey();
  return result;
}

}  // namespace tov::discovery
