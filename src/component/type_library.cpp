#include "component/type_library.h"

#include <tovport/component/guids.h>
#include <tovport/component/tovcomprtv3.h>

namespace tov {
namespace {

using automation::EnumDesc;
using automation::RecordDesc;
using automation::TypeDesc;
using automation::TypeKind;

// Field types of the records: every handle and pointer is an I4, as a 32-bit library declares them.
constexpr TypeDesc I4{TypeKind::I4, {}}, I2{TypeKind::I2, {}}, UI1{TypeKind::UI1, {}};

EnumDesc deviceTypeEnum() {
  EnumDesc e{"DeviceType", GUID_DeviceType,
             {{"dtNone", dtNone}, {"dtNoSiemens", dtNoSiemens}, {"dtNotTested", dtNotTested},
              {"dtSiemens_Other", dtSiemens_Other}}};
  static std::vector<std::string> names;  // the member names must outlive the description
  if (names.empty())
    for (auto m : kModelNames) names.push_back("dtSiemens_" + std::string(m));
  for (int i = 0; i < kModelCount; ++i) e.members.emplace_back(names[static_cast<std::size_t>(i)], 100 + i);
  return e;
}

automation::TypeLibraryDesc build() {
  automation::TypeLibraryDesc lib{"tovport", 2, 7, LIBID_tovport, "tovComPrtv3", CLSID_tovComPrtv3, "_tovComPrtv3",
                                  IID__tovComPrtv3, "__tovComPrtv3", DIID___tovComPrtv3, {}, &tovComPrtv3::events(),
                                  {}, {}};
  for (const auto& m : tovComPrtv3::methods()) lib.methods.push_back({m.name, m.dispid, &m.params, m.result});
  lib.enums = {
      {"PortAvailability",
       GUID_PortAvailability,
       {{"pa_Available", pa_Available}, {"pa_NotAvailable", pa_NotAvailable}, {"pa_NoMorePorts", pa_NoMorePorts},
        {"pa_VBPending", pa_VBPending}}},
      {"DeviceDetectionError",
       GUID_DeviceDetectionError,
       {{"dde_NoError", dde_NoError},
        {"dde_CouldNotOpenPort", dde_CouldNotOpenPort},
        {"dde_CouldNotsendOutput", dde_CouldNotsendOutput},
        {"dde_Timeout", dde_Timeout},
        {"dde_NoMoreDevices", dde_NoMoreDevices},
        {"dde_Pending", dde_Pending}}},
      deviceTypeEnum(),
      {"ComPortType",
       GUID_ComPortType,
       {{"cptNone", cptNone},
        {"cptUnknown", cptUnknown},
        {"cptSerial", cptSerial},
        {"cptIrDa", cptIrDa},
        {"cptBluetooth", cptBluetooth},
        {"cptUSB", cptUSB},
        {"cptBTSerialIn", cptBTSerialIn},
        {"cptBTSerialOut", cptBTSerialOut},
        {"cptBTDialUp", cptBTDialUp},
        {"cptUSBPassive", cptUSBPassive},
        {"cptPCMCIA", cptPCMCIA}}},
  };
  lib.records = {
      {"COMSTAT", GUID_COMSTAT, {{"fBitFields", I4}, {"cbInQue", I4}, {"cbOutQue", I4}}},
      {"COMMTIMEOUTS",
       GUID_COMMTIMEOUTS,
       {{"ReadIntervalTimeout", I4},
        {"ReadTotalTimeoutMultiplier", I4},
        {"ReadTotalTimeoutConstant", I4},
        {"WriteTotalTimeoutMultiplier", I4},
        {"WriteTotalTimeoutConstant", I4}}},
      {"DCB",
       GUID_DCB,
       {{"DCBlength", I4},
        {"BaudRate", I4},
        {"fBitFields", I4},
        {"wReserved", I2},
        {"XonLim", I2},
        {"XoffLim", I2},
        {"ByteSize", UI1},
        {"Parity", UI1},
        {"StopBits", UI1},
        {"XonChar", UI1},
        {"XoffChar", UI1},
        {"ErrorChar", UI1},
        {"EofChar", UI1},
        {"EvtChar", UI1},
        {"wReserved1", I2}}},
      {"OVERLAPPED",
       GUID_OVERLAPPED,
       {{"Internal", I4}, {"InternalHigh", I4}, {"offset", I4}, {"OffsetHigh", I4}, {"hEvent", I4}}},
      {"SECURITY_ATTRIBUTES",
       GUID_SECURITY_ATTRIBUTES,
       {{"nLength", I4}, {"lpSecurityDescriptor", I4}, {"bInheritHandle", I4}}},
  };
  return lib;
}

}  // namespace

const automation::TypeLibraryDesc& typeLibrary() {
  static const automation::TypeLibraryDesc lib = build();
  return lib;
}

}  // namespace tov
