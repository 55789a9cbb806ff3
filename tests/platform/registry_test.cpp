#include <tovport/platform/registry.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace tov::platform {
namespace {

constexpr LSTATUS kOk = ERROR_SUCCESS;

// A fresh registry installed for the test.
class RegistryTest : public ::testing::Test {
 protected:
  Registry reg;
  ScopedRegistry installed{reg};

  HKEY open(const char* path, HKEY root = HKEY_LOCAL_MACHINE) {
    HKEY key = 0;
    EXPECT_EQ(RegOpenKeyExA(root, path, 0, KEY_READ, &key), kOk) << path;
    return key;
  }
  LSTATUS enumKey(HKEY key, DWORD index, char* name, DWORD size) {
    return RegEnumKeyExA(key, index, name, &size, nullptr, nullptr, nullptr, nullptr);
  }
};

TEST_F(RegistryTest, EachCallReportsItsStatus) {
  reg.setString("HKLM\\K", "Port", "COM3");
  reg.createKey("HKLM\\K\\Sub");
  const HKEY k = open("K");
  const HKEY closed = open("K");
  RegCloseKey(closed);
  HKEY key = 0;
  BYTE data[8];
  DWORD size = sizeof data, reserved = 0;
  char name[8];
  const std::pair<LSTATUS, std::function<LSTATUS()>> cases[] = {
      {ERROR_FILE_NOT_FOUND, [&] { return RegOpenKeyExA(HKEY_LOCAL_MACHINE, "K\\Missing", 0, KEY_READ, &key); }},
      {ERROR_BAD_PATHNAME, [&] { return RegOpenKeyExA(HKEY_LOCAL_MACHINE, "\\K", 0, KEY_READ, &key); }},
      {ERROR_INVALID_HANDLE, [&] { return RegOpenKeyExA(0, "", 0, KEY_READ, &key); }},
      {ERROR_INVALID_HANDLE, [&] { return RegOpenKeyExA(0x80000007u, "", 0, KEY_READ, &key); }},
      {ERROR_INVALID_HANDLE, [&] { return RegQueryValueExA(12345u, "Port", nullptr, nullptr, data, &size); }},
      {ERROR_INVALID_HANDLE, [&] { return RegCloseKey(closed); }},
      {ERROR_FILE_NOT_FOUND, [&] { return RegQueryValueExA(k, "Nope", nullptr, nullptr, data, &size); }},
      {ERROR_FILE_NOT_FOUND, [&] { return RegQueryValueExA(k, "", nullptr, nullptr, data, &size); }},
      {ERROR_INVALID_PARAMETER, [&] { return RegQueryValueExA(k, "Port", &reserved, nullptr, data, &size); }},
      {ERROR_INVALID_PARAMETER, [&] { return RegQueryValueExA(k, "Port", nullptr, nullptr, data, nullptr); }},
      {kOk, [&] { return RegQueryValueExA(k, "Port", nullptr, nullptr, nullptr, nullptr); }},  // existence
      {ERROR_NO_MORE_ITEMS, [&] { return enumKey(k, 1, name, sizeof name); }},
      {ERROR_FILE_NOT_FOUND, [&] { return RegDeleteValueA(k, "Nope"); }},
      {ERROR_FILE_NOT_FOUND, [&] { return RegDeleteTreeA(k, "Nope"); }},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    size = sizeof data;
    EXPECT_EQ(cases[i].second(), cases[i].first) << "case " << i;
  }
}

TEST_F(RegistryTest, OpenIsCaseBlindAndAnEmptySubkeyOpensTheKeyItself) {
  reg.setDword("HKLM\\Hardware\\DeviceMap\\SerialComm", "n", 7);
  reg.createKey("HKCR\\CLSID");
  const HKEY map = open("HARDWARE\\devicemap\\serialcomm");
  const HKEY again = open("", map);
  EXPECT_NE(again, map);
  EXPECT_EQ(RegCloseKey(map), kOk);
  DWORD n = 0, size = 4;
  EXPECT_EQ(RegQueryValueExA(again, "N", nullptr, nullptr, reinterpret_cast<BYTE*>(&n), &size), kOk);
  EXPECT_EQ(n, 7u);
  EXPECT_EQ(open(nullptr), HKEY_LOCAL_MACHINE);
  EXPECT_NE(open("\\clsid", HKEY_CLASSES_ROOT), 0u);  // a leading backslash is allowed there only
}

TEST_F(RegistryTest, SizeQueryAndShortBuffers) {
  reg.setString("HKLM\\K", "Port", "COM3");
  reg.setValue("HKLM\\K", "Empty", REG_BINARY, {});
  const HKEY k = open("K");
  DWORD type = 0, size = 0;
  EXPECT_EQ(RegQueryValueExA(k, "Port", nullptr, &type, nullptr, &size), kOk);
  EXPECT_EQ(type, REG_SZ);
  EXPECT_EQ(size, 5u);
  BYTE buffer[8] = {};
  size = 4;
  EXPECT_EQ(RegQueryValueExA(k, "port", nullptr, &type, buffer, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 5u);
  EXPECT_EQ(RegQueryValueExA(k, "PORT", nullptr, &type, buffer, &size), kOk);
  EXPECT_STREQ(reinterpret_cast<char*>(buffer), "COM3");
  size = 0;
  EXPECT_EQ(RegQueryValueExA(k, "Empty", nullptr, nullptr, buffer, &size), kOk);  // fits zero bytes
  reg.setString("HKLM\\K", "", "default");
  EXPECT_EQ(RegQueryValueExA(k, nullptr, nullptr, nullptr, nullptr, &size), kOk);
  EXPECT_EQ(size, 8u);
}

using RegistryEnumerate = RegistryTest;

TEST_F(RegistryEnumerate, SubkeysComeSortedCaseBlindUpToNoMoreItems) {
  for (const char* name : {"b", "_x", "Z", "a", "B10", "\xE4", "\xC4" "b", "10"}) {
    reg.createKey(std::string("HKLM\\P\\") + name);
  }
  const HKEY p = open("P");
  std::vector<std::string> names;
  char name[256];
  DWORD i = 0;
  for (; enumKey(p, i, name, sizeof name) == kOk; ++i) names.emplace_back(name);
  EXPECT_EQ(enumKey(p, i, name, sizeof name), ERROR_NO_MORE_ITEMS);
  // Upper-case order: '_' (0x5F) lies after 'Z'; "ä" matches "Ä" and sorts before "Äb".
  EXPECT_EQ(names, (std::vector<std::string>{"10", "a", "b", "B10", "Z", "_x", "\xE4", "\xC4" "b"}));
  DWORD subKeys = 0, longest = 0;
  ASSERT_EQ(RegQueryInfoKeyA(p, nullptr, nullptr, nullptr, &subKeys, &longest, nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr), kOk);
  EXPECT_EQ(subKeys, 8u);
  EXPECT_EQ(longest, 3u);
  // A name that does not fit with its NUL is more data, and the buffer is left alone.
  std::strcpy(name, "keep");
  EXPECT_EQ(enumKey(p, 3, name, 3), ERROR_MORE_DATA);
  EXPECT_STREQ(name, "keep");
  DWORD size = 4;
  EXPECT_EQ(RegEnumKeyExA(p, 3, name, &size, nullptr, nullptr, nullptr, nullptr), kOk);
  EXPECT_EQ(size, 3u);
}

TEST_F(RegistryEnumerate, ValuesComeInWrittenOrderWithTypeAndSize) {
  reg.setString("HKLM\\V", "zeta", "COM1");
  reg.setDword("HKLM\\V", "Alpha", 5);
  reg.setValue("HKLM\\V", "longname", REG_BINARY, std::vector<BYTE>(300));
  reg.setString("HKLM\\V", "ZETA", "COM12");  // rewriting keeps place and first spelling
  const HKEY v = open("V");
  char name[16];
  DWORD nameSize = 0, type = 0, dataSize = 0;
  for (const auto& [index, expected] : {std::pair<DWORD, const char*>{0, "zeta"}, {1, "Alpha"}, {2, "longname"}}) {
    nameSize = sizeof name;
    EXPECT_EQ(RegEnumValueA(v, index, name, &nameSize, nullptr, &type, nullptr, &dataSize), kOk);
    EXPECT_EQ(std::string(name, nameSize), expected);
  }
  BYTE data[2];
  dataSize = sizeof data;
  EXPECT_EQ(RegEnumValueA(v, 2, name, &nameSize, nullptr, &type, data, &dataSize), ERROR_MORE_DATA);
  EXPECT_EQ(dataSize, 300u);
  nameSize = 3;  // "zeta" does not fit: cut, with type and size still given
  EXPECT_EQ(RegEnumValueA(v, 0, name, &nameSize, nullptr, &type, nullptr, &dataSize), ERROR_MORE_DATA);
  EXPECT_STREQ(name, "ze");
  EXPECT_EQ(type, REG_SZ);
  EXPECT_EQ(dataSize, 6u);
  EXPECT_EQ(RegEnumValueA(v, 3, name, &nameSize, nullptr, &type, nullptr, &dataSize), ERROR_NO_MORE_ITEMS);
  DWORD values = 0, longestName = 0, longestData = 0;
  ASSERT_EQ(RegQueryInfoKeyA(v, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, &longestName,
                             &longestData, nullptr, nullptr), kOk);
  EXPECT_EQ((std::array<DWORD, 3>{values, longestName, longestData}), (std::array<DWORD, 3>{3, 8, 300}));
}

using RegistryWrite = RegistryTest;

TEST_F(RegistryWrite, CreateSetAndDeleteThroughHandles) {
  HKEY k = 0;
  ASSERT_EQ(RegCreateKeyExA(HKEY_CLASSES_ROOT, "CLSID\\{X}\\InprocServer32", &k), kOk);
  const char path[] = "tovport.dll";
  EXPECT_EQ(RegSetValueExA(k, nullptr, REG_SZ, reinterpret_cast<const BYTE*>(path), sizeof path), kOk);
  EXPECT_TRUE(reg.keyExists("HKEY_CLASSES_ROOT\\clsid\\{x}\\inprocserver32"));
  EXPECT_EQ(RegDeleteValueA(k, ""), kOk);
  EXPECT_EQ(RegDeleteTreeA(HKEY_CLASSES_ROOT, "clsid\\{X}"), kOk);
  EXPECT_EQ(reg.keyCount(), 1u);  // only CLSID is left
  // A handle to a deleted key says so, even once a new key of the same name exists.
  EXPECT_EQ(RegSetValueExA(k, "n", REG_NONE, nullptr, 0), ERROR_KEY_DELETED);
  reg.createKey("HKCR\\CLSID\\{X}\\InprocServer32");
  EXPECT_EQ(RegQueryValueExA(k, "", nullptr, nullptr, nullptr, nullptr), ERROR_KEY_DELETED);
  EXPECT_EQ(RegCloseKey(k), kOk);
  // Without a subkey, the tree below the key goes and the key stays, emptied.
  reg.setDword("HKLM\\T\\a\\b", "n", 1);
  reg.setDword("HKLM\\T", "n", 1);
  const HKEY t = open("T");
  EXPECT_EQ(RegDeleteTreeA(t, nullptr), kOk);
  EXPECT_TRUE(reg.keyExists("HKLM\\T"));
  EXPECT_FALSE(reg.keyExists("HKLM\\T\\a"));
  EXPECT_EQ(RegQueryValueExA(t, "n", nullptr, nullptr, nullptr, nullptr), ERROR_FILE_NOT_FOUND);
}

TEST(RegistryPath, RootsInFullAndShortFormAndWhatIsRefused) {
  const std::pair<const char*, HKEY> cases[] = {
      {"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT}, {"hkcr", HKEY_CLASSES_ROOT}, {"HKCU", HKEY_CURRENT_USER},
      {"hkey_local_machine", HKEY_LOCAL_MACHINE}, {"HKU", HKEY_USERS}, {"HKCC", HKEY_CURRENT_CONFIG},
      {"HKEY_PERFORMANCE_DATA", HKEY_PERFORMANCE_DATA}, {"HKEY_DYN_DATA", HKEY_DYN_DATA},
      {"", 0}, {"HKLMX", 0}, {"\\HKLM", 0}, {"HKLM\\", 0}, {"HKLM\\a\\\\b", 0}, {"HKDD", 0}};
  for (const auto& [text, root] : cases) {
    const auto split = splitRegistryPath(text);
    EXPECT_EQ(split ? split->root : 0, root) << text;
  }
  std::string deep = "HKLM";
  for (std::size_t i = 0; i < kMaxKeyDepth; ++i) deep += "\\k";
  EXPECT_EQ(splitRegistryPath(deep)->names.size(), kMaxKeyDepth);
  EXPECT_FALSE(splitRegistryPath(deep + "\\k"));
}

// Threads open, read and close their own keys while adding keys: no handle or value mixes up.
TEST(RegistryThreads, ConcurrentCallsKeepTheirOwnHandles) {
  Registry reg;
  ScopedRegistry installed(reg);
  std::atomic<int> mismatches{0};
  std::vector<std::thread> threads;
  for (DWORD t = 0; t < 4; ++t) {
    reg.setDword("HKLM\\T" + std::to_string(t), "id", t);
    threads.emplace_back([t, &mismatches, &reg] {
      const std::string path = "T" + std::to_string(t);
      for (int i = 0; i < 300; ++i) {
        HKEY key = 0;
        DWORD id = 99, size = 4;
        reg.createKey("HKLM\\Churn\\" + path + "_" + std::to_string(i));
        mismatches += RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != kOk ||
                      RegQueryValueExA(key, "id", nullptr, nullptr, reinterpret_cast<BYTE*>(&id), &size) != kOk ||
                      id != t || RegCloseKey(key) != kOk;
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(mismatches.load(), 0);
  EXPECT_EQ(reg.keyCount(), 4 + 1 + 4 * 300u);
}

}  // namespace
}  // namespace tov::platform
