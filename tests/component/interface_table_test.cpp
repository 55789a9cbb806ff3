#include <gtest/gtest.h>

#include <set>

#include <tovport/automation/dispatch.h>
#include "component/type_library.h"
#include <tovport/component/tovcomprtv3.h>

namespace tov {
namespace {

using namespace automation;

struct Row {
  const char* name;
  DISPID dispid;
  int params;
};

// The published interface: order, DISPIDs and arity of all 45 methods.
const Row kPublished[] = {
    {"IsPending", 0x60030038, 0},         {"DetectDevice", 0x60030039, 1},
    {"VBclsDetectDevice", 0x6003003A, 1}, {"DetectAllDevices", 0x6003003B, 0},
    {"DetectDevicesFromList", 0x6003003C, 1}, {"GetDeviceName", 0x6003003D, 1},
    {"PortTest", 0x6003003E, 1},          {"VBclsPortTest", 0x6003003F, 1},
    {"TestAllPorts", 0x60030040, 0},      {"GetComPortType", 0x60030041, 1},
    {"KillThreads", 0x60030042, 0},       {"fireEventMsgTimeout", 0x60030043, 0},
    {"fireEventMsgReceived", 0x60030044, 1}, {"fireEventDeviceDetected", 0x60030045, 4},
    {"fireEventPortAvailable", 0x60030046, 2}, {"VBGetSystemMessage", 0x60030048, 1},
    {"VBCommOpen", 0x60030049, 3},        {"VBCommSet", 0x6003004C, 2},
    {"VBCommClose", 0x6003004D, 1},       {"VBCommFlush", 0x6003004E, 1},
    {"VBCommRead", 0x6003004F, 3},        {"VBCommWrite", 0x60030050, 2},
    {"VBCommGetLine", 0x60030051, 3},     {"VBCommSetLine", 0x60030052, 3},
    {"VBCommGetError", 0x60030053, 1},    {"VBDetectDevice", 0x60030054, 1},
    {"VBDeviceDetectTimeout", 0x60030055, 1}, {"VBDeviceDetected", 0x60030056, 2},
    {"VBGetDeviceName", 0x60030057, 1},   {"VBFillOutputStrings", 0x6003005A, 4},
    {"VBOpenPort", 0x6003005B, 1},        {"VBClosePort", 0x6003005C, 1},
    {"VBPortTest", 0x6003005D, 1},        {"VBSendCommand", 0x6003005E, 2},
    {"VBMsgTimeout", 0x6003005F, 1},      {"VBMsgReceived", 0x60030060, 2},
    {"VBSetTimeoutSeconds", 0x60030061, 2}, {"VBGetTimeoutSeconds", 0x60030062, 1},
    {"VBSetTimeout", 0x60030063, 1},      {"VBGetTimeout", 0x60030064, 1},
    {"VBStartTimer", 0x60030065, 1},      {"VBStopTimer", 0x60030066, 1},
    {"VBTimerFunc", 0x60030067, 5},       {"debugprint", 0x6003006A, 2},
    {"SendMessage", 0x6003006B, 3},
};

TEST(InterfaceTable, HasThe45MethodsInOrderWithTheirDispids) {
  const auto& methods = tovComPrtv3::methods();
  ASSERT_EQ(methods.size(), std::size(kPublished));
  for (std::size_t i = 0; i < methods.size(); ++i) {
    EXPECT_EQ(methods[i].name, kPublished[i].name) << i;
    EXPECT_EQ(methods[i].dispid, kPublished[i].dispid) << kPublished[i].name;
    EXPECT_EQ(static_cast<int>(methods[i].params.size()), kPublished[i].params) << kPublished[i].name;
  }
}

TEST(InterfaceTable, ByReferenceParametersAndDefaultsAreThoseOfTheInterface) {
  auto find = [](std::string_view name) -> const MethodDesc<tovComPrtv3>& {
    for (const auto& m : tovComPrtv3::methods())
      if (m.name == name) return m;
    throw std::runtime_error("missing");
  };
  EXPECT_TRUE(find("SendMessage").params[0].byRef);
  EXPECT_TRUE(find("VBOpenPort").params[0].byRef);
  EXPECT_EQ(find("VBFillOutputStrings").params[3].defaultValue->get<BStr>()[0], u"AT");
  EXPECT_EQ(*find("fireEventDeviceDetected").params[3].defaultValue->get<VariantBool>(), VariantBool::False);
  EXPECT_EQ(find("GetComPortType").result.kind, TypeKind::I4);
  EXPECT_EQ(find("VBGetTimeout").result.kind, TypeKind::Date);
  EXPECT_EQ(find("GetDeviceName").params[0].type.enumName, "DeviceType");
}

TEST(InterfaceTable, EventsCarryTheirDispidsAndByReferenceArguments) {
  const auto& events = tovComPrtv3::events();
  ASSERT_EQ(events.size(), 4u);
  EXPECT_EQ(events[2].name, "DeviceDetected");
  EXPECT_EQ(events[2].dispid, 3);
  ASSERT_EQ(events[2].params.size(), 5u);
  EXPECT_EQ(events[2].params[4].type.enumName, "DeviceDetectionError");
  for (const auto& e : events)
    for (const auto& p : e.params) EXPECT_TRUE(p.byRef);
}

TEST(TypeLibrary, DeviceTypeHas97MembersWithTheirValues) {
  const auto& lib = typeLibrary();
  const auto& deviceType = lib.enums[2];
  ASSERT_EQ(deviceType.name, "DeviceType");
  ASSERT_EQ(deviceType.members.size(), 97u);
  std::set<std::int32_t> values;
  for (const auto& [name, value] : deviceType.members) values.insert(value);
  EXPECT_EQ(values.size(), 97u);
  for (int v = 4; v < 100; ++v) EXPECT_EQ(values.count(v), 0u) << v;
  EXPECT_EQ(values.count(193), 0u);
  EXPECT_EQ(deviceType.members[4].first, "dtSiemens_SL45i");
  EXPECT_EQ(deviceType.members[4 + 20].first, "dtSiemens_A75");
  EXPECT_EQ(deviceType.members[4 + 21].first, "dtSiemens_AX75");
  EXPECT_EQ(deviceType.members[4 + 52].first, "dtSiemens_M75C");
  EXPECT_EQ(deviceType.members.back().first, "dtSiemens_E61");
  EXPECT_EQ(deviceType.members.back().second, 192);
}

TEST(TypeLibrary, IdlNamesEveryMethodEventEnumAndRecord) {
  const std::string idl = generateIdl(typeLibrary());
  EXPECT_NE(idl.find("version(2.7)"), std::string::npos);
  EXPECT_NE(idl.find("coclass tovComPrtv3"), std::string::npos);
  EXPECT_NE(idl.find("[default, source] dispinterface __tovComPrtv3"), std::string::npos);
  for (const auto& m : tovComPrtv3::methods())
    EXPECT_NE(idl.find("HRESULT " + std::string(m.name) + "("), std::string::npos) << m.name;
  EXPECT_NE(idl.find("HRESULT VBCommRead([in] short PortNr, [in, out] BSTR* strData, [in] long lngSize, "
                     "[out, retval] long* pResult)"),
            std::string::npos);
  EXPECT_NE(idl.find("[in, optional, defaultvalue(\"AT+CGMI\")] BSTR string1"), std::string::npos);
  EXPECT_NE(idl.find("void DeviceDetected([in, out] short* PortNr"), std::string::npos);
  for (const char* record : {"COMSTAT", "COMMTIMEOUTS", "DCB", "OVERLAPPED", "SECURITY_ATTRIBUTES"})
    EXPECT_NE(idl.find(std::string("} ") + record + ";"), std::string::npos) << record;
  EXPECT_NE(idl.find("long offset;"), std::string::npos);
  EXPECT_NE(idl.find("[in, out, optional, defaultvalue(\"\")] BSTR* filename"), std::string::npos);
}

// The header's class lists the methods in interface order, which is the function table's.
TEST(TypeLibrary, HeaderDeclaresTheFunctionTableInInterfaceOrder) {
  const std::string header = generateHeader(typeLibrary());
  std::size_t at = header.find("struct _tovComPrtv3 : public IDispatch {");
  ASSERT_NE(at, std::string::npos);
  for (const auto& m : tovComPrtv3::methods()) {
    const std::size_t next = header.find("STDMETHODCALLTYPE " + std::string(m.name) + "(", at);
    ASSERT_NE(next, std::string::npos) << m.name;
    at = next;
  }
  EXPECT_NE(header.find("VBCommRead(short PortNr, BSTR* strData, long lngSize, long* pResult)"), std::string::npos);
  EXPECT_NE(header.find("GetDeviceName(DeviceType* dt, long* pResult)"), std::string::npos);
  EXPECT_NE(header.find("dtSiemens_E61 = 192,"), std::string::npos);
}

}  // namespace
}  // namespace tov
