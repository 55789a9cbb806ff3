#include "discovery/reg_access.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/registry.h"

namespace tov::discovery {
namespace {

using platform::BYTE;

class RegAccessTest : public ::testing::Test {
 protected:
  platform::Registry reg;
  platform::ScopedRegistry installed{reg};

  void setBytes(const char* name, platform::DWORD type, std::string_view bytes, const char* key = "HKLM\\Test") {
    reg.setValue(key, name, type, std::vector<BYTE>(bytes.begin(), bytes.end()));
  }
  // Kind in and out; a default of "default".
  Variant readKind(const char* name, RegValueKind& kind) {
    return RegValue(kLocalMachine, u"Test", fromAscii(name), kind, Variant(u"default"));
  }
  Variant read(const char* name, RegValueKind kind) { return readKind(name, kind); }
  static BStr fromAscii(std::string_view s) { return BStr(s.begin(), s.end()); }

  void TearDown() override {
    // No operation keeps a key open.
    EXPECT_EQ(regLayerState().CurrentKey, 0u);
  }
};

BStr text(const Variant& v) {
  const auto* s = v.get<BStr>();
  return s ? *s : u"<not text>";
}

std::vector<int> bytesOf(const Variant& v, std::int32_t expectedLowerBound) {
  const automation::SafeArray* list = v.array();
  if (list == nullptr) return {-1};
  EXPECT_EQ(list->lowerBound, expectedLowerBound);
  std::vector<int> out;
  for (const auto& e : list->elements) out.push_back(*e.get<std::uint8_t>());
  return out;
}

using RegAccessPaths = RegAccessTest;

TEST_F(RegAccessPaths, OneLeadingAndTrailingBackslashAreDroppedExceptByObjektExistiert) {
  reg.setString("HKLM\\Enum\\Root\\Ports\\0000", "PortName", "COM3");
  EXPECT_EQ(RegEnumerate(kLocalMachine, u"\\Enum\\Root\\Ports\\").SubKeyCount, 1);
  RegValueKind kind = rvkText;
  EXPECT_EQ(text(RegValue(kLocalMachine, u"\\Enum\\Root\\Ports\\0000\\", u"PortName", kind, Variant())), u"COM3");
  EXPECT_FALSE(ObjektExistiert(false, kLocalMachine, u"\\Enum\\Root\\Ports\\", u""));
  EXPECT_TRUE(ObjektExistiert(false, kLocalMachine, u"Enum\\Root\\Ports", u""));
  // Only one backslash goes at each end.
  EXPECT_EQ(RegEnumerate(kLocalMachine, u"\\\\Enum\\Root\\Ports").SubKeyCount, 0);
}

TEST_F(RegAccessPaths, RootCodesMapToThePredefinedKeysAndOthersToNone) {
  reg.setString("HKEY_CURRENT_CONFIG\\K", "V", "cc");
  reg.setString("HKEY_PERFORMANCE_DATA\\K", "V", "perf");
  RegValueKind kind = rvkText;
  EXPECT_EQ(text(RegValue(5, u"K", u"V", kind, Variant())), u"cc");
  EXPECT_EQ(text(RegValue(7, u"K", u"V", kind, Variant())), u"perf");
  reg.setString("HKLM\\K", "V", "lm");
  for (RootKeyCode bad : {0, 8, -1}) {
    EXPECT_FALSE(ObjektExistiert(false, bad, u"K", u"")) << bad;
    EXPECT_EQ(RegEnumerate(bad, u"K").ValueCount, 0) << bad;
    EXPECT_EQ(text(RegValue(bad, u"K", u"V", kind, Variant(u"d"))), u"d") << bad;
  }
}

using RegAccessObjektExistiert = RegAccessTest;

TEST_F(RegAccessObjektExistiert, AValueExistsWhetherEmptyOrLong) {
  reg.setString("HKLM\\Test", "Long", std::string(1000, 'x'));
  setBytes("Empty", platform::REG_SZ, "");
  EXPECT_TRUE(ObjektExistiert(true, kLocalMachine, u"Test", u"Long"));
  EXPECT_TRUE(ObjektExistiert(true, kLocalMachine, u"Test", u"empty"));
  EXPECT_FALSE(ObjektExistiert(true, kLocalMachine, u"Test", u"Missing"));
  EXPECT_TRUE(ObjektExistiert(false, kLocalMachine, u"Test", u"Missing"));
  EXPECT_FALSE(ObjektExistiert(true, kLocalMachine, u"Nowhere", u"Long"));
}

using RegAccessRegValue = RegAccessTest;

TEST_F(RegAccessRegValue, TextWithOrWithoutItsTerminator) {
  setBytes("WithNul", platform::REG_SZ, std::string_view("COM3\0", 5));
  setBytes("WithoutNul", platform::REG_SZ, "COM3");
  EXPECT_EQ(text(read("WithNul", rvkText)), u"COM3");
  EXPECT_EQ(text(read("WithoutNul", rvkText)), u"COM3");
}

TEST_F(RegAccessRegValue, TextOverTheBufferGivesDefaultAndZeroBytesGiveEmpty) {
  reg.setString("HKLM\\Test", "Long", std::string(299, 'x'));
  reg.setString("HKLM\\Test", "Fits", std::string(254, 'x'));
  setBytes("Zero", platform::REG_SZ, "");
  EXPECT_EQ(text(read("Long", rvkText)), u"default");
  EXPECT_EQ(text(read("Fits", rvkText)).size(), 254u);
  EXPECT_TRUE(read("Zero", rvkText).isEmpty());
}

TEST_F(RegAccessRegValue, UnknownKindIsLearntFromTheStoredType) {
  reg.setDword("HKLM\\Test", "Number", 4353);
  setBytes("Expand", platform::REG_EXPAND_SZ, std::string_view("%SystemRoot%\0", 13));
  setBytes("Multi", platform::REG_MULTI_SZ, std::string_view("a\0b\0\0", 5));
  setBytes("BigEndian", platform::REG_DWORD_BIG_ENDIAN, std::string_view("\0\0\x11\x01", 4));
  setBytes("Quad", 11, std::string(8, '\1'));
  RegValueKind kind = rvkOther;
  EXPECT_EQ(*readKind("Number", kind).get<std::int32_t>(), 4353);
  EXPECT_EQ(kind, rvkNumber);
  kind = rvkOther;
  EXPECT_EQ(text(readKind("Expand", kind)), u"%SystemRoot%");
  EXPECT_EQ(kind, rvkText);
  kind = rvkOther;
  EXPECT_EQ(text(readKind("Multi", kind)), BStr(u"a\0b\0", 4));
  kind = rvkOther;
  EXPECT_EQ(*readKind("BigEndian", kind).get<std::int32_t>(), 0x01110000);  // bytes as stored
  kind = rvkOther;
  EXPECT_TRUE(readKind("Quad", kind).isEmpty());
  EXPECT_EQ(kind, rvkOther);
  kind = rvkOther;
  EXPECT_TRUE(readKind("Missing", kind).isEmpty());  // not the default
  EXPECT_EQ(kind, rvkOther);
}

TEST_F(RegAccessRegValue, TheKindAskedForDecidesHowTheBytesAreRead) {
  reg.setDword("HKLM\\Test", "Dword", 0x004D4F43);  // bytes C O M NUL
  reg.setString("HKLM\\Test", "Short", "AB");
  reg.setString("HKLM\\Test", "Port", "COM3");
  EXPECT_EQ(text(read("Dword", rvkText)), u"COM");
  EXPECT_EQ(*read("Short", rvkNumber).get<std::int32_t>(), 0x4241);
  EXPECT_EQ(text(read("Port", rvkNumber)), u"default");
  EXPECT_EQ(bytesOf(read("Short", rvkBinary), 0), (std::vector<int>{'A', 'B', 0}));
  EXPECT_TRUE(read("Short", static_cast<RegValueKind>(9)).isEmpty());
}

TEST_F(RegAccessRegValue, BinaryValuesAndMissingOnes) {
  setBytes("Bytes", platform::REG_BINARY, "\x01\xff");
  setBytes("NoBytes", platform::REG_BINARY, "");
  EXPECT_EQ(bytesOf(read("Bytes", rvkBinary), 0), (std::vector<int>{1, 255}));
  EXPECT_TRUE(read("NoBytes", rvkBinary).isEmpty());
  EXPECT_EQ(text(read("Missing", rvkBinary)), u"default");
  EXPECT_EQ(text(read("Missing", rvkNumber)), u"default");
  RegValueKind kind = rvkText;
  EXPECT_EQ(text(RegValue(kLocalMachine, u"Nowhere", u"X", kind, Variant(u"d"))), u"d");
}

TEST_F(RegAccessRegValue, TextsAreConvertedFromTheAnsiCodePage) {
  reg.setString("HKLM\\Test", "Name", "Ger\xE4t \x80");
  EXPECT_EQ(text(read("Name", rvkText)), u"Gerät €");
}

using RegAccessRegEnumerate = RegAccessTest;

TEST_F(RegAccessRegEnumerate, ListsAreDimensionedOnlyWhenThereAreEntries) {
  reg.createKey("HKLM\\Test\\Sub1");
  reg.createKey("HKLM\\Test\\sub0");
  const RegKeyListing listing = RegEnumerate(kLocalMachine, u"Test");
  EXPECT_EQ(listing.SubKeyCount, 2);
  EXPECT_EQ(listing.SubKeyNames, (std::vector<BStr>{u"sub0", u"Sub1"}));
  EXPECT_EQ(listing.ValueCount, 0);
  EXPECT_FALSE(listing.ValueNames || listing.ValueData || listing.ValueKinds);

  const RegKeyListing missing = RegEnumerate(kLocalMachine, u"Nowhere");
  EXPECT_EQ(missing.SubKeyCount + missing.ValueCount, 0);
  EXPECT_FALSE(missing.SubKeyNames || missing.ValueNames);
}

TEST_F(RegAccessRegEnumerate, ValuesComeWithTheirDataAndKinds) {
  reg.setString("HKLM\\Test", "Text", "COM1");
  setBytes("Unterminated", platform::REG_SZ, "COM2");
  reg.setDword("HKLM\\Test", "Number", 7);
  setBytes("Bytes", platform::REG_BINARY, "\x05\x06");
  setBytes("NoBytes", platform::REG_BINARY, "");
  setBytes("None", platform::REG_NONE, "x");
  const RegKeyListing listing = RegEnumerate(kLocalMachine, u"Test");
  ASSERT_EQ(listing.ValueCount, 6);
  EXPECT_EQ(*listing.ValueNames, (std::vector<BStr>{u"Text", u"Unterminated", u"Number", u"Bytes", u"NoBytes", u"None"}));
  EXPECT_EQ(*listing.ValueKinds, (std::vector<std::int32_t>{1, 1, 2, 3, 3, 0}));
  const auto& data = *listing.ValueData;
  EXPECT_EQ(text(data[0]), u"COM1");
  EXPECT_EQ(text(data[1]), u"COM");  // the last character is taken for the terminator
  EXPECT_EQ(*data[2].get<std::int32_t>(), 7);
  EXPECT_EQ(bytesOf(data[3], 1), (std::vector<int>{5, 6}));
  EXPECT_EQ(bytesOf(data[4], 1), std::vector<int>{});
  EXPECT_TRUE(data[5].isEmpty());
  EXPECT_FALSE(listing.SubKeyNames);
}

TEST_F(RegAccessRegEnumerate, AnOverlongNameIsListedAsTheBufferHoldsIt) {
  const std::string longName(300, 'v');
  reg.setString("HKLM\\Test", longName, "x");
  reg.setString("HKLM\\Test", "After", "y");
  const RegKeyListing listing = RegEnumerate(kLocalMachine, u"Test");
  ASSERT_EQ(listing.ValueCount, 2);
  EXPECT_EQ((*listing.ValueNames)[0], BStr(254, u'v'));
  EXPECT_EQ((*listing.ValueNames)[1], u"After");  // listing goes on after ERROR_MORE_DATA
}

}  // namespace
}  // namespace tov::discovery
