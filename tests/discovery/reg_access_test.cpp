#include "discovery/reg_access.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <tovport/platform/registry.h>

namespace tov::discovery {
namespace {

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

class RegAccess : public ::testing::Test {
 protected:
  platform::Registry reg;
  platform::ScopedRegistry installed{reg};

  void setBytes(const char* name, platform::DWORD type, std::string_view bytes) {
    reg.setValue("HKLM\\Test", name, type, std::vector<platform::BYTE>(bytes.begin(), bytes.end()));
  }
  // A value of HKLM\Test read as `kind`, with the default "default"; kind 0 learns the stored kind.
  Variant read(const char* name, std::int32_t kind, RegValueKind* learnt = nullptr) {
    auto k = static_cast<RegValueKind>(kind);
    Variant v = RegValue(kLocalMachine, u"Test", BStr(name, name + std::strlen(name)), k, Variant(u"default"));
    if (learnt) *learnt = k;
    return v;
  }

  void TearDown() override { EXPECT_EQ(regLayerState().CurrentKey, 0u) << "an operation kept its key open"; }
};

// Unknown root codes name no key.
TEST_F(RegAccess, OneBackslashGoesAtEachEndExceptForObjektExistiertAndUnknownRootsNameNoKey) {
  reg.setString("HKLM\\Enum\\Root\\Ports\\0000", "PortName", "COM3");
  EXPECT_EQ(RegEnumerate(kLocalMachine, u"\\Enum\\Root\\Ports\\").SubKeyCount, 1);
  RegValueKind kind = rvkText;
  EXPECT_EQ(text(RegValue(kLocalMachine, u"\\Enum\\Root\\Ports\\0000\\", u"PortName", kind, Variant())), u"COM3");
  EXPECT_FALSE(ObjektExistiert(false, kLocalMachine, u"\\Enum\\Root\\Ports\\", u""));
  EXPECT_TRUE(ObjektExistiert(false, kLocalMachine, u"Enum\\Root\\Ports", u""));
  EXPECT_EQ(RegEnumerate(kLocalMachine, u"\\\\Enum\\Root\\Ports").SubKeyCount, 0);
  for (RootKeyCode bad : {0, 8, -1}) {
    EXPECT_FALSE(ObjektExistiert(false, bad, u"Enum", u"")) << bad;
    EXPECT_EQ(RegEnumerate(bad, u"Enum").SubKeyCount, 0) << bad;
    EXPECT_EQ(text(RegValue(bad, u"Enum\\Root\\Ports\\0000", u"PortName", kind, Variant(u"d"))), u"d") << bad;
  }
}

// With CheckValue a value exists whether empty or longer than any buffer.
TEST_F(RegAccess, ObjektExistiertFindsKeysAndValues) {
  reg.setString("HKLM\\Test", "Long", std::string(1000, 'x'));
  setBytes("Empty", platform::REG_SZ, "");
  EXPECT_TRUE(ObjektExistiert(true, kLocalMachine, u"Test", u"Long"));
  EXPECT_TRUE(ObjektExistiert(true, kLocalMachine, u"Test", u"empty"));
  EXPECT_FALSE(ObjektExistiert(true, kLocalMachine, u"Test", u"Missing"));
  EXPECT_TRUE(ObjektExistiert(false, kLocalMachine, u"Test", u"Missing"));
  EXPECT_FALSE(ObjektExistiert(true, kLocalMachine, u"Nowhere", u"Long"));
}

// A text is read into 255 bytes: one that does not fit gives the default; its terminator, when
// stored, is dropped; texts come from the ANSI code page.
TEST_F(RegAccess, TextsOfUpTo255BytesWithOrWithoutTerminator) {
  reg.setString("HKLM\\Test", "Fits", std::string(254, 'x'));
  reg.setString("HKLM\\Test", "TooLong", std::string(255, 'x'));
  setBytes("Unterminated", platform::REG_SZ, "COM3");
  setBytes("Zero", platform::REG_SZ, "");
  reg.setString("HKLM\\Test", "Ansi", "Ger\xE4t \x80");
  EXPECT_EQ(text(read("Fits", rvkText)), BStr(254, u'x'));
  EXPECT_EQ(text(read("TooLong", rvkText)), u"default");
  EXPECT_EQ(text(read("Unterminated", rvkText)), u"COM3");
  EXPECT_TRUE(read("Zero", rvkText).isEmpty());
  EXPECT_EQ(text(read("Ansi", rvkText)), u"Gerät €");
}

TEST_F(RegAccess, KindZeroIsLearntFromTheStoredTypeAndWrittenBack) {
  reg.setDword("HKLM\\Test", "Number", 4353);
  setBytes("Multi", platform::REG_MULTI_SZ, std::string_view("a\0b\0\0", 5));
  setBytes("BigEndian", platform::REG_DWORD_BIG_ENDIAN, std::string_view("\0\0\x11\x01", 4));
  setBytes("Bytes", platform::REG_BINARY, "\x01\xff");
  setBytes("Quad", 11, std::string(8, '\1'));
  const auto readLearning = [&](const char* name, RegValueKind expectedKind) {
    RegValueKind learnt = rvkText;
    Variant v = read(name, rvkOther, &learnt);
    EXPECT_EQ(learnt, expectedKind) << name;
    return v;
  };
  EXPECT_EQ(*readLearning("Number", rvkNumber).get<std::int32_t>(), 4353);
  EXPECT_EQ(text(readLearning("Multi", rvkText)), BStr(u"a\0b\0", 4));
  EXPECT_EQ(*readLearning("BigEndian", rvkNumber).get<std::int32_t>(), 0x01110000);  // bytes as stored
  EXPECT_EQ(bytesOf(readLearning("Bytes", rvkBinary), 0), (std::vector<int>{1, 255}));
  EXPECT_TRUE(readLearning("Quad", rvkOther).isEmpty());
  EXPECT_TRUE(readLearning("Missing", rvkOther).isEmpty());  // not the default
}

// The kind asked for decides how the stored bytes are read, whatever their type.
TEST_F(RegAccess, TheKindAskedForReadsTheRawBytes) {
  reg.setDword("HKLM\\Test", "Dword", 0x004D4F43);  // bytes C O M NUL
  reg.setString("HKLM\\Test", "Short", "AB");
  reg.setString("HKLM\\Test", "Port", "COM3");
  setBytes("NoBytes", platform::REG_BINARY, "");
  EXPECT_EQ(text(read("Dword", rvkText)), u"COM");
  EXPECT_EQ(*read("Short", rvkNumber).get<std::int32_t>(), 0x4241);
  EXPECT_EQ(text(read("Port", rvkNumber)), u"default");  // more than 4 bytes
  EXPECT_EQ(bytesOf(read("Short", rvkBinary), 0), (std::vector<int>{'A', 'B', 0}));
  EXPECT_TRUE(read("NoBytes", rvkBinary).isEmpty());
  EXPECT_TRUE(read("Short", 9).isEmpty());
  for (RegValueKind kind : {rvkText, rvkNumber, rvkBinary}) EXPECT_EQ(text(read("Missing", kind)), u"default") << kind;
}

// Lists are dimensioned only when there are entries; binary data are listed from index 1.
TEST_F(RegAccess, EnumerateListsNamesDataAndKinds) {
  reg.createKey("HKLM\\Test\\Sub");
  setBytes("Unterminated", platform::REG_SZ, "COM2");
  reg.setDword("HKLM\\Test", "Number", 7);
  reg.setString("HKLM\\Test", std::string(300, 'v'), "x");
  setBytes("Bytes", platform::REG_BINARY, "\x05\x06");
  setBytes("None", platform::REG_NONE, "x");
  const RegKeyListing listing = RegEnumerate(kLocalMachine, u"Test");
  EXPECT_EQ(listing.SubKeyNames, std::vector<BStr>{u"Sub"});
  ASSERT_EQ(listing.ValueCount, 5);
  // An overlong name is listed as the buffer holds it, and the listing goes on after it.
  EXPECT_EQ(*listing.ValueNames, (std::vector<BStr>{u"Unterminated", u"Number", BStr(254, u'v'), u"Bytes", u"None"}));
  EXPECT_EQ(*listing.ValueKinds, (std::vector<std::int32_t>{1, 2, 1, 3, 0}));
  const auto& data = *listing.ValueData;
  EXPECT_EQ(text(data[0]), u"COM");  // the last character is taken for the terminator
  EXPECT_EQ(*data[1].get<std::int32_t>(), 7);
  EXPECT_EQ(bytesOf(data[3], 1), (std::vector<int>{5, 6}));
  EXPECT_TRUE(data[4].isEmpty());
  for (const char16_t* empty : {u"Test\\Sub", u"Nowhere"}) {
    const RegKeyListing none = RegEnumerate(kLocalMachine, empty);
    EXPECT_EQ(none.SubKeyCount + none.ValueCount, 0);
    EXPECT_FALSE(none.SubKeyNames || none.ValueNames || none.ValueData || none.ValueKinds);
  }
}

}  // namespace
}  // namespace tov::discovery
