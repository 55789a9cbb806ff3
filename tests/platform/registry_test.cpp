#include "platform/registry.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <cstring>
#include <stdexcept>
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
  std::string subKeyName(HKEY key, DWORD index) {
    char name[256];
    DWORD size = sizeof name;
    EXPECT_EQ(RegEnumKeyExA(key, index, name, &size, nullptr, nullptr, nullptr, nullptr), kOk);
    return std::string(name, size);
  }
  std::string valueName(HKEY key, DWORD index) {
    char name[256];
    DWORD size = sizeof name;
    EXPECT_EQ(RegEnumValueA(key, index, name, &size, nullptr, nullptr, nullptr, nullptr), kOk);
    return std::string(name, size);
  }
};

using RegistryOpen = RegistryTest;

TEST_F(RegistryOpen, FindsKeysCaseBlindAndReportsMissingOnes) {
  reg.createKey("HKLM\\Hardware\\DeviceMap\\SerialComm");
  HKEY key = 0;
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "HARDWARE\\devicemap\\serialcomm", 0, KEY_READ, &key), kOk);
  EXPECT_NE(key, 0u);
  EXPECT_EQ(RegCloseKey(key), kOk);
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Hardware\\Missing", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(key, 0u);
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "Hardware", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryOpen, EmptySubkeyOpensTheKeyItself) {
  reg.setDword("HKLM\\A", "n", 7);
  const HKEY a = open("A");
  HKEY again = 0;
  ASSERT_EQ(RegOpenKeyExA(a, "", 0, KEY_READ, &again), kOk);
  EXPECT_NE(again, a);
  EXPECT_EQ(RegCloseKey(a), kOk);
  DWORD n = 0, size = 4;
  EXPECT_EQ(RegQueryValueExA(again, "n", nullptr, nullptr, reinterpret_cast<BYTE*>(&n), &size), kOk);
  EXPECT_EQ(n, 7u);
  EXPECT_EQ(RegCloseKey(again), kOk);

  HKEY root = 0;
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &root), kOk);
  EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
  EXPECT_EQ(RegCloseKey(root), kOk);
}

TEST_F(RegistryOpen, UnknownRootsAndStaleHandlesAreInvalid) {
  HKEY key = 0;
  for (HKEY bad : {HKEY{0}, HKEY{0x80000007u}, HKEY{0x7FFFFFFCu}, HKEY{12345u}}) {
    EXPECT_EQ(RegOpenKeyExA(bad, "", 0, KEY_READ, &key), ERROR_INVALID_HANDLE) << bad;
    EXPECT_EQ(RegCloseKey(bad), ERROR_INVALID_HANDLE) << bad;
  }
  for (HKEY root : {HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_USERS,
                    HKEY_PERFORMANCE_DATA, HKEY_CURRENT_CONFIG, HKEY_DYN_DATA}) {
    EXPECT_EQ(RegOpenKeyExA(root, "", 0, KEY_READ, &key), kOk) << root;
  }
  reg.createKey("HKLM\\A");
  const HKEY a = open("A");
  EXPECT_EQ(RegCloseKey(a), kOk);
  EXPECT_EQ(RegCloseKey(a), ERROR_INVALID_HANDLE);
  DWORD count = 0;
  EXPECT_EQ(RegQueryInfoKeyA(a, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr),
            ERROR_INVALID_HANDLE);
}

TEST_F(RegistryOpen, HandlesDoNotCarryOverToAnotherRegistry) {
  reg.createKey("HKLM\\A");
  const HKEY a = open("A");
  Registry other;
  other.createKey("HKLM\\A");
  ScopedRegistry swapped(other);
  EXPECT_EQ(RegCloseKey(a), ERROR_INVALID_HANDLE);
}

TEST_F(RegistryOpen, LeadingBackslashIsRefusedExceptBelowClassesRoot) {
  reg.createKey("HKLM\\Enum\\Root\\Ports");
  reg.createKey("HKCR\\CLSID");
  HKEY key = 0;
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "\\Enum\\Root\\Ports\\", 0, KEY_READ, &key),
            ERROR_BAD_PATHNAME);
  EXPECT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Enum\\Root\\Ports\\", 0, KEY_READ, &key), kOk);
  EXPECT_EQ(RegOpenKeyExA(HKEY_CLASSES_ROOT, "\\clsid", 0, KEY_READ, &key), kOk);
}

using RegistryQueryValue = RegistryTest;

TEST_F(RegistryQueryValue, SizeQueriesAndShortBuffers) {
  reg.setString("HKLM\\K", "Port", "COM3");
  const HKEY k = open("K");
  DWORD type = 0, size = 0;
  EXPECT_EQ(RegQueryValueExA(k, "Port", nullptr, &type, nullptr, &size), kOk);
  EXPECT_EQ(type, REG_SZ);
  EXPECT_EQ(size, 5u);

  BYTE buffer[8] = {};
  size = 0;
  EXPECT_EQ(RegQueryValueExA(k, "Port", nullptr, nullptr, buffer, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 5u);
  size = 4;
  EXPECT_EQ(RegQueryValueExA(k, "port", nullptr, &type, buffer, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 5u);
  size = 5;
  EXPECT_EQ(RegQueryValueExA(k, "PORT", nullptr, &type, buffer, &size), kOk);
  EXPECT_STREQ(reinterpret_cast<char*>(buffer), "COM3");
  EXPECT_EQ(RegQueryValueExA(k, "Port", nullptr, nullptr, nullptr, nullptr), kOk);  // existence only
}

TEST_F(RegistryQueryValue, EmptyValueFitsAZeroByteBuffer) {
  reg.setValue("HKLM\\K", "Empty", REG_BINARY, {});
  const HKEY k = open("K");
  BYTE b = 0;
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExA(k, "Empty", nullptr, nullptr, &b, &size), kOk);
  EXPECT_EQ(size, 0u);
}

TEST_F(RegistryQueryValue, MissingValuesAndDefaultValue) {
  reg.createKey("HKLM\\K");
  const HKEY k = open("K");
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExA(k, "", nullptr, nullptr, nullptr, &size), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegQueryValueExA(k, "Nope", nullptr, nullptr, nullptr, &size), ERROR_FILE_NOT_FOUND);
  reg.setString("HKLM\\K", "", "default");
  EXPECT_EQ(RegQueryValueExA(k, nullptr, nullptr, nullptr, nullptr, &size), kOk);
  EXPECT_EQ(size, 8u);
}

TEST_F(RegistryQueryValue, BadArgumentsAreRefused) {
  reg.setDword("HKLM\\K", "n", 1);
  const HKEY k = open("K");
  DWORD reserved = 0, size = 4;
  BYTE data[4];
  EXPECT_EQ(RegQueryValueExA(k, "n", &reserved, nullptr, data, &size), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegQueryValueExA(k, "n", nullptr, nullptr, data, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(RegQueryValueExA(0x1234, "n", nullptr, nullptr, data, &size), ERROR_INVALID_HANDLE);
}

using RegistryEnumerate = RegistryTest;

TEST_F(RegistryEnumerate, SubkeysComeSortedCaseBlindWhateverTheOrderOfCreation) {
  for (const char* name : {"b", "_x", "Z", "a", "B10", "\xE4" /* ä */,
                           "\xC4"
                           "b" /* Äb */,
                           "10"}) {
    reg.createKey(std::string("HKLM\\P\\") + name);
  }
  const HKEY p = open("P");
  std::vector<std::string> names;
  for (DWORD i = 0;; ++i) {
    char name[256];
    DWORD size = sizeof name;
    const LSTATUS st = RegEnumKeyExA(p, i, name, &size, nullptr, nullptr, nullptr, nullptr);
    if (st == ERROR_NO_MORE_ITEMS) break;
    ASSERT_EQ(st, kOk);
    names.emplace_back(name, size);
  }
  // Upper-case order: '_' (0x5F) lies after 'Z'; "ä" matches "Ä" and sorts before "Äb".
  EXPECT_EQ(names, (std::vector<std::string>{"10", "a", "b", "B10", "Z", "_x", "\xE4",
                                             "\xC4"
                                             "b"}));
}

TEST_F(RegistryEnumerate, ShortNameBufferAndEnd) {
  reg.createKey("HKLM\\P\\LongerName");
  const HKEY p = open("P");
  char name[8] = "keep";
  DWORD size = sizeof name;
  EXPECT_EQ(RegEnumKeyExA(p, 0, name, &size, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
  EXPECT_EQ(size, 8u);
  EXPECT_STREQ(name, "keep");
  size = 10;  // name and NUL fill it exactly
  char exact[10];
  EXPECT_EQ(RegEnumKeyExA(p, 0, exact, &size, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
  size = 11;
  char fits[11];
  EXPECT_EQ(RegEnumKeyExA(p, 0, fits, &size, nullptr, nullptr, nullptr, nullptr), kOk);
  EXPECT_EQ(size, 10u);
  EXPECT_EQ(RegEnumKeyExA(p, 1, fits, &size, nullptr, nullptr, nullptr, nullptr), ERROR_NO_MORE_ITEMS);
}

TEST_F(RegistryEnumerate, ValuesComeInWrittenOrderWithTypeAndSize) {
  reg.setString("HKLM\\V", "zeta", "COM1");
  reg.setDword("HKLM\\V", "Alpha", 5);
  reg.setValue("HKLM\\V", "mid", REG_BINARY, {1, 2, 3});
  reg.setString("HKLM\\V", "ZETA", "COM12");  // rewriting keeps place and first spelling
  const HKEY v = open("V");
  EXPECT_EQ(valueName(v, 0), "zeta");
  EXPECT_EQ(valueName(v, 1), "Alpha");
  EXPECT_EQ(valueName(v, 2), "mid");

  char name[16];
  DWORD nameSize = sizeof name, type = 0, dataSize = 0;
  EXPECT_EQ(RegEnumValueA(v, 0, name, &nameSize, nullptr, &type, nullptr, &dataSize), kOk);
  EXPECT_EQ(type, REG_SZ);
  EXPECT_EQ(dataSize, 6u);
  BYTE data[2];
  dataSize = sizeof data;
  nameSize = sizeof name;
  EXPECT_EQ(RegEnumValueA(v, 2, name, &nameSize, nullptr, &type, data, &dataSize), ERROR_MORE_DATA);
  EXPECT_EQ(dataSize, 3u);
  nameSize = 3;  // "zeta" does not fit: cut, with type and size still given
  EXPECT_EQ(RegEnumValueA(v, 0, name, &nameSize, nullptr, &type, nullptr, &dataSize), ERROR_MORE_DATA);
  EXPECT_STREQ(name, "ze");
  EXPECT_EQ(dataSize, 6u);
  nameSize = sizeof name;
  EXPECT_EQ(RegEnumValueA(v, 3, name, &nameSize, nullptr, &type, nullptr, &dataSize), ERROR_NO_MORE_ITEMS);
}

TEST_F(RegistryEnumerate, InfoGivesCountsAndLongestEntries) {
  reg.createKey("HKLM\\I\\abc");
  reg.createKey("HKLM\\I\\abcdef");
  reg.setValue("HKLM\\I", "longname", REG_BINARY, std::vector<BYTE>(300));
  reg.setDword("HKLM\\I", "n", 1);
  const HKEY i = open("I");
  DWORD subKeys = 0, maxSubKey = 0, maxClass = 9, values = 0, maxValueName = 0, maxValue = 0, sd = 9;
  std::array<BYTE, 8> writeTime;
  writeTime.fill(0xCC);
  char className[4] = "xx";
  DWORD classSize = sizeof className;
  ASSERT_EQ(RegQueryInfoKeyA(i, className, &classSize, nullptr, &subKeys, &maxSubKey, &maxClass, &values,
                             &maxValueName, &maxValue, &sd, writeTime.data()),
            kOk);
  EXPECT_EQ(subKeys, 2u);
  EXPECT_EQ(maxSubKey, 6u);
  EXPECT_EQ(values, 2u);
  EXPECT_EQ(maxValueName, 8u);
  EXPECT_EQ(maxValue, 300u);
  EXPECT_EQ(maxClass, 0u);
  EXPECT_EQ(classSize, 0u);
  EXPECT_STREQ(className, "");
  EXPECT_EQ(writeTime, (std::array<BYTE, 8>{}));
}

TEST_F(RegistryEnumerate, IndexesALargeKeyDirectly) {
  for (int i = 0; i < 20000; ++i) reg.createKey("HKLM\\Big\\k" + std::to_string(100000 + i));
  EXPECT_EQ(reg.keyCount(), 20001u);
  const HKEY big = open("Big");
  EXPECT_EQ(subKeyName(big, 0), "k100000");
  EXPECT_EQ(subKeyName(big, 19999), "k119999");
  HKEY key = 0;
  EXPECT_EQ(RegOpenKeyExA(big, "K112345", 0, KEY_READ, &key), kOk);
}

using RegistryWrite = RegistryTest;

TEST_F(RegistryWrite, CreateSetAndDeleteThroughHandles) {
  HKEY k = 0;
  ASSERT_EQ(RegCreateKeyExA(HKEY_CLASSES_ROOT, "CLSID\\{X}\\InprocServer32", &k), kOk);
  const char path[] = "tovport.dll";
  EXPECT_EQ(RegSetValueExA(k, nullptr, REG_SZ, reinterpret_cast<const BYTE*>(path), sizeof path), kOk);
  EXPECT_TRUE(reg.keyExists("HKEY_CLASSES_ROOT\\clsid\\{x}\\inprocserver32"));
  EXPECT_EQ(reg.keyCount(), 3u);
  EXPECT_EQ(RegDeleteValueA(k, ""), kOk);
  EXPECT_EQ(RegDeleteValueA(k, ""), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegCloseKey(k), kOk);

  EXPECT_EQ(RegDeleteTreeA(HKEY_CLASSES_ROOT, "clsid\\{X}"), kOk);
  EXPECT_FALSE(reg.keyExists("HKCR\\CLSID\\{X}"));
  EXPECT_TRUE(reg.keyExists("HKCR\\CLSID"));
  EXPECT_EQ(reg.keyCount(), 1u);
  EXPECT_EQ(RegDeleteTreeA(HKEY_CLASSES_ROOT, "CLSID\\{X}"), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryWrite, DeleteTreeWithoutSubkeyEmptiesTheKey) {
  reg.setDword("HKLM\\T\\a\\b", "n", 1);
  reg.setDword("HKLM\\T", "n", 1);
  const HKEY t = open("T");
  EXPECT_EQ(RegDeleteTreeA(t, nullptr), kOk);
  EXPECT_TRUE(reg.keyExists("HKLM\\T"));
  EXPECT_EQ(reg.keyCount(), 1u);
  EXPECT_EQ(RegQueryValueExA(t, "n", nullptr, nullptr, nullptr, nullptr), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryWrite, HandlesToDeletedKeysReportIt) {
  reg.setDword("HKLM\\D\\Sub", "n", 1);
  const HKEY sub = open("D\\Sub");
  reg.deleteKey("HKLM\\D");
  EXPECT_EQ(RegQueryValueExA(sub, "n", nullptr, nullptr, nullptr, nullptr), ERROR_KEY_DELETED);
  EXPECT_EQ(RegSetValueExA(sub, "n", REG_NONE, nullptr, 0), ERROR_KEY_DELETED);
  reg.createKey("HKLM\\D\\Sub");  // a new key of the same name is another key
  EXPECT_EQ(RegQueryValueExA(sub, "n", nullptr, nullptr, nullptr, nullptr), ERROR_KEY_DELETED);
  EXPECT_EQ(RegCloseKey(sub), kOk);
}

TEST_F(RegistryWrite, PathsAreCheckedBeforeAnyChange) {
  EXPECT_THROW(reg.createKey("HKEY_NOWHERE\\A"), std::invalid_argument);
  EXPECT_THROW(reg.setDword("HKLM\\A\\\\B", "n", 1), std::invalid_argument);
  EXPECT_THROW(reg.createKey("HKLM\\A\\"), std::invalid_argument);
  EXPECT_THROW(reg.deleteKey("HKLM"), std::invalid_argument);
  EXPECT_EQ(reg.keyCount(), 0u);
  EXPECT_FALSE(reg.keyExists("HKEY_NOWHERE"));
  EXPECT_NO_THROW(reg.deleteKey("HKLM\\Missing"));
  EXPECT_NO_THROW(reg.deleteValue("HKLM\\Missing", "x"));
}

TEST(RegistryPath, RootsInFullAndShortFormCaseBlind) {
  const std::pair<const char*, HKEY> cases[] = {{"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
                                                {"hkcr", HKEY_CLASSES_ROOT},
                                                {"HKCU", HKEY_CURRENT_USER},
                                                {"hkey_local_machine", HKEY_LOCAL_MACHINE},
                                                {"HKU", HKEY_USERS},
                                                {"HKCC", HKEY_CURRENT_CONFIG},
                                                {"HKEY_PERFORMANCE_DATA", HKEY_PERFORMANCE_DATA},
                                                {"HKEY_DYN_DATA", HKEY_DYN_DATA}};
  for (const auto& [text, root] : cases) {
    const auto split = splitRegistryPath(text);
    ASSERT_TRUE(split) << text;
    EXPECT_EQ(split->root, root) << text;
    EXPECT_TRUE(split->names.empty());
  }
  const auto split = splitRegistryPath("HKLM\\Software\\Widcomm");
  ASSERT_TRUE(split);
  EXPECT_EQ(split->names, (std::vector<std::string_view>{"Software", "Widcomm"}));
  EXPECT_EQ(rootKeyName(HKEY_PERFORMANCE_DATA), "HKEY_PERFORMANCE_DATA");
  EXPECT_EQ(rootKeyName(0x80000007u), "");
}

TEST(RegistryPath, RejectsUnknownRootsEmptyNamesAndExcessDepth) {
  for (const char* bad : {"", "HKLMX", "\\HKLM", "HKLM\\", "HKLM\\a\\\\b", "HKDD"}) {
    EXPECT_FALSE(splitRegistryPath(bad)) << bad;
  }
  std::string deep = "HKLM";
  for (std::size_t i = 0; i < kMaxKeyDepth; ++i) deep += "\\k";
  EXPECT_TRUE(splitRegistryPath(deep));
  EXPECT_FALSE(splitRegistryPath(deep + "\\k"));
}

TEST(RegistryInstall, ScopedRegistryRestoresThePrevious) {
  Registry& before = registry();
  {
    Registry mine;
    ScopedRegistry installed(mine);
    EXPECT_EQ(&registry(), &mine);
  }
  EXPECT_EQ(&registry(), &before);
}

TEST(RegistryThreads, ConcurrentCallsKeepTheirOwnHandles) {
  Registry reg;
  ScopedRegistry installed(reg);
  constexpr int kThreads = 4;
  for (int t = 0; t < kThreads; ++t) reg.setDword("HKLM\\T" + std::to_string(t), "id", static_cast<DWORD>(t));
  std::atomic<int> mismatches{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &mismatches, &reg] {
      const std::string path = "T" + std::to_string(t);
      for (int i = 0; i < 500; ++i) {
        HKEY key = 0;
        DWORD id = 99, size = 4;
        reg.createKey("HKLM\\Churn\\" + std::to_string(t) + "_" + std::to_string(i));
        if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ, &key) != kOk ||
            RegQueryValueExA(key, "id", nullptr, nullptr, reinterpret_cast<BYTE*>(&id), &size) != kOk ||
            id != static_cast<DWORD>(t) || RegCloseKey(key) != kOk) {
          ++mismatches;
        }
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(mismatches.load(), 0);
  EXPECT_EQ(reg.keyCount(), kThreads + 1 + kThreads * 500u);
}

}  // namespace
}  // namespace tov::platform
