#include <tovport/platform/reg_file.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace tov::platform {
namespace {

struct Value {
  DWORD type = 0;
  std::vector<BYTE> data;
  bool operator==(const Value&) const = default;
};

std::vector<BYTE> bytes(std::string_view text) { return {text.begin(), text.end()}; }

// Reads a value below HKLM through the reg calls, as the component sees it.
std::optional<Value> readValue(Registry& reg, const char* keyPath, const char* name) {
  ScopedRegistry installed(reg);
  HKEY key = 0;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, keyPath, 0, KEY_READ, &key) != ERROR_SUCCESS) return std::nullopt;
  Value v;
  DWORD size = 0;
  LSTATUS st = RegQueryValueExA(key, name, nullptr, &v.type, nullptr, &size);
  v.data.resize(size);
  if (st == ERROR_SUCCESS) st = RegQueryValueExA(key, name, nullptr, nullptr, v.data.data(), &size);
  RegCloseKey(key);
  if (st != ERROR_SUCCESS) return std::nullopt;
  return v;
}

// The text as a UTF-16LE file with byte-order mark; only Latin-1 and € occur in the tests.
std::string utf16File(std::u16string_view text) {
  std::string out = "\xFF\xFE";
  for (char16_t c : text) {
    out += static_cast<char>(c & 0xFF);
    out += static_cast<char>(c >> 8);
  }
  return out;
}

class RegFile : public ::testing::Test {
 protected:
  Registry reg;
  void load(std::string_view text) { loadRegText(reg, text, "test.reg"); }
  std::optional<Value> value(const char* key, const char* name) { return readValue(reg, key, name); }
  // The error a malformed text gives, after checking that it left the registry as it was.
  RegFileError errorOf(std::string_view text) {
    const std::string before = reg.dump();
    try {
      load(text);
    } catch (const RegFileError& e) {
      EXPECT_EQ(reg.dump(), before) << "partly loaded";
      return e;
    }
    ADD_FAILURE() << "no error for:\n" << text;
    return RegFileError("", 0, "");
  }
};

TEST_F(RegFile, StringsNumbersHexOfEveryTypeAndContinuationLines) {
  load(
      "REGEDIT4\r\n; a comment\r\n\r\n"
      "[HKEY_LOCAL_MACHINE\\V]\r\n"
      "\"\\\\Device\\\\Serial0\"=\"COM1\"\r\n"
      "@=\"say \\\"hi\\\"\"\r\n"
      "  \"Empty\" = \"\"  \r\n"
      "  ; indented comment\n"
      "\"d\"=dword:0000000b\n"
      "\"short\"=DWORD:1F\n"
      "\"bin\"=hex:01,ab,\\\n"
      "  FF ,\\\n"
      "  02\n"
      "\"none\"=hex(0):\n"
      "\"q\"=hex(b):01,00,00,00,00,00,00,00\n"
      "\"odd\"=hex(100):7\n"
      "\"exp\"=hex(2):25,53,59,53,25,00\n"
      "\"multi\"=hex(7):61,00,62,00,00\n"
      "[HKCU\\Software\\A]\n[hku\\.DEFAULT]\n");
  const std::pair<const char*, Value> cases[] = {
      {"\\Device\\Serial0", {REG_SZ, bytes({"COM1\0", 5})}}, {"", {REG_SZ, bytes({"say \"hi\"\0", 9})}},
      {"Empty", {REG_SZ, {0}}}, {"d", {REG_DWORD, {0x0b, 0, 0, 0}}}, {"short", {REG_DWORD, {0x1f, 0, 0, 0}}},
      {"bin", {REG_BINARY, {0x01, 0xab, 0xff, 0x02}}}, {"none", {REG_NONE, {}}}, {"odd", {0x100, {7}}},
      {"q", {REG_QWORD, {1, 0, 0, 0, 0, 0, 0, 0}}}, {"multi", {REG_MULTI_SZ, bytes({"a\0b\0\0", 5})}},
      {"exp", {REG_EXPAND_SZ, bytes({"%SYS%\0", 6})}},  // REGEDIT4 texts in hex are ANSI already
  };
  for (const auto& [name, expected] : cases) EXPECT_EQ(value("V", name), expected) << name;
  EXPECT_TRUE(reg.keyExists("HKEY_CURRENT_USER\\Software\\A"));
  EXPECT_TRUE(reg.keyExists("HKEY_USERS\\.DEFAULT"));
}

TEST_F(RegFile, DeletionsOfKeysAndValues) {
  reg.setDword("HKLM\\Gone\\Sub", "n", 1);
  reg.setDword("HKLM\\Keep", "n", 1);
  reg.setDword("HKLM\\Keep", "m", 2);
  load("REGEDIT4\n[-HKEY_LOCAL_MACHINE\\Gone]\n[-HKLM\\NeverWas]\n[HKLM\\Keep]\n\"N\"=-\n\"missing\"=-\n");
  EXPECT_FALSE(reg.keyExists("HKLM\\Gone"));
  EXPECT_FALSE(value("Keep", "n"));
  EXPECT_TRUE(value("Keep", "m"));
}

TEST_F(RegFile, Utf16FileWithBomBecomesAnsi) {
  load(
      utf16File(u"Windows Registry Editor Version 5.00\r\n\r\n"
                u"[HKEY_LOCAL_MACHINE\\Ger\u00e4t]\r\n"
                u"\"Preis\"=\"5 \u20ac\"\r\n"
                u"\"Han\"=\"\u4e2d\"\r\n"
                u"\"exp\"=hex(2):25,00,41,00,e4,00,00,00\r\n"
                u"\"multi\"=hex(7):61,00,00,00,ac,20,00,00,00,00\r\n"
                u"\"bin\"=hex:61,00\r\n"));
  EXPECT_EQ(value("Ger\xE4t", "Preis"), (Value{REG_SZ, bytes({"5 \x80\0", 4})}));
  EXPECT_EQ(value("GER\xC4T", "Han"), (Value{REG_SZ, bytes({"?\0", 2})}));
  EXPECT_EQ(value("Ger\xE4t", "exp"), (Value{REG_EXPAND_SZ, bytes({"%A\xE4\0", 4})}));
  EXPECT_EQ(value("Ger\xE4t", "multi"), (Value{REG_MULTI_SZ, bytes({"a\0\x80\0\0", 5})}));
  EXPECT_EQ(value("Ger\xE4t", "bin"), (Value{REG_BINARY, {0x61, 0}}));  // binary stays as written
  // Version 5 in ANSI: plain texts are ANSI, texts in hex still UTF-16.
  load("Windows Registry Editor Version 5.00\n[HKLM\\K]\n\"e\"=hex(2):41,00,00,00\n\"s\"=\"\xE4\"\n");
  EXPECT_EQ(value("K", "e"), (Value{REG_EXPAND_SZ, bytes({"A\0", 2})}));
  EXPECT_EQ(value("K", "s"), (Value{REG_SZ, bytes({"\xE4\0", 2})}));
}

// Each fault is named "test.reg:LINE: what", and the file changes nothing, not even the deletions
// before the fault.
TEST_F(RegFile, EachFaultOnItsLine) {
  reg.setDword("HKLM\\A", "n", 1);
  const std::string v4 = "REGEDIT4\n[-HKLM\\A]\n[HKLM\\A]\n";  // faults on line 4 after this
  const std::pair<std::string, int> cases[] = {
      {"", 1}, {"REGEDIT5\n", 1}, {"\nREGEDIT4\n", 1}, {"\xEF\xBB\xBFREGEDIT4\n", 1}, {"REGEDIT4\n[HKLM\\A\n", 2},
      {"REGEDIT4\n[HKEY_NOWHERE\\A]\n", 2}, {"REGEDIT4\n[HKLM\\A\\\\B]\n", 2}, {"REGEDIT4\n[-HKLM]\n", 2},
      {"REGEDIT4\n\"v\"=\"x\"\n", 2}, {"REGEDIT4\n[-HKLM\\A]\n\"v\"=\"x\"\n", 3}, {v4 + "nonsense\n", 4},
      {v4 + "\"v\"=\"C:\\temp\"\n", 4}, {v4 + "\"v\"=\"open\n", 4}, {v4 + "\"v\"\"x\"\n", 4},
      {v4 + "\"v\"=\"x\" trailing\n", 4}, {v4 + "\"v\"=dword:123456789\n", 4}, {v4 + "\"v\"=dword:\n", 4},
      {v4 + "\"v\"=string:x\n", 4}, {v4 + "\"v\"=hex():00\n", 4}, {v4 + "\"v\"=hex:1,,2\n", 4},
      {v4 + "\"v\"=hex:123\n", 4}, {v4 + "\"v\"=hex:01,\n", 4}, {v4 + "\"v\"=hex:01,\\\n02,\\\n0g\n", 6},
      {v4 + "\"v\"=hex:01,\\\n", 5}, {"Windows Registry Editor Version 5.00\n[HKLM\\A]\n\"v\"=hex(2):41,00,00\n", 3},
      {utf16File(u"Windows Registry Editor Version 5.00\r\n[HKLM\\A]\r\n") + 'x', 3},  // odd byte count
  };
  for (const auto& [text, line] : cases) {
    const RegFileError e = errorOf(text);
    EXPECT_EQ(e.line(), line) << text;
    EXPECT_EQ(std::string(e.what()).rfind("test.reg:" + std::to_string(line) + ": ", 0), 0u) << e.what();
  }
}

TEST_F(RegFile, SeveralFilesApplyInOrderAndADumpLoadsBackAsTheSameTree) {
  const std::string path = ::testing::TempDir() + "reg_file_test_second.reg";
  std::ofstream(path, std::ios::binary) << utf16File(
      u"Windows Registry Editor Version 5.00\r\n[-HKLM\\A\\Old]\r\n[HKLM\\A]\r\n\"n\"=dword:2\r\n");
  load("REGEDIT4\n[HKLM\\A\\Old]\n[HKLM\\A]\n\"n\"=dword:1\n\"s\"=\"x\"\n");
  loadRegFile(reg, path);
  std::remove(path.c_str());
  EXPECT_EQ(value("A", "n"), (Value{REG_DWORD, {2, 0, 0, 0}}));
  EXPECT_TRUE(value("A", "s"));
  EXPECT_FALSE(reg.keyExists("HKLM\\A\\Old"));

  reg.setString("HKLM\\S\\k", "quote\"and\\slash", "a \"b\" \\c");
  reg.setValue("HKLM\\S\\k", "multi", REG_MULTI_SZ, bytes({"a\0b\0\0", 5}));
  reg.setValue("HKLM\\S\\k", "noNul", REG_SZ, bytes("COM3"));
  reg.setValue("HKLM\\S\\k", "shortDword", REG_DWORD, {1, 2});
  reg.setValue("HKLM", "onRoot", REG_BINARY, {});
  reg.createKey("HKCU\\Empty");
  const std::string dump = reg.dump();
  Registry copy;
  loadRegText(copy, dump, "dump");
  EXPECT_EQ(copy.dump(), dump);
  EXPECT_EQ(readValue(copy, "S\\k", "noNul"), (Value{REG_SZ, bytes("COM3")}));
}

}  // namespace
}  // namespace tov::platform
