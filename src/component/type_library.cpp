#include "component/type_library.h"

#include <tovport/component/guids.h>
#include <tovport/component/tovcomprtv3.h>

namespace tov {
namespace {

using automation::EnumDesc;
using automation::RecordDesc;

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
      {"COMSTAT", GUID_COMSTAT, {{"fBitFields", "long"}, {"cbInQue", "long"}, {"cbOutQue", "long"}}},
      {"COMMTIMEOUTS",
       GUID_COMMTIMEOUTS,
       {{"ReadIntervalTimeout", "long"},
        {"ReadTotalTimeoutMultiplier", "long"},
        {"ReadTotalTimeoutConstant", "long"},
        {"WriteTotalTimeoutMultiplier", "long"},
        {"WriteTotalTimeoutConstant", "long"}}},
      {"DCB",
       GUID_DCB,
       {{"DCBlength", "long"},
        {"BaudRate", "long"},
        {"fBitFields", "long"},
        {"wReserved", "short"},
        {"XonLim", "short"},
        {"XoffLim", "short"},
        {"ByteSize", "unsigned char"},
        {"Parity", "unsigned char"},
        {"StopBits", "unsigned char"},
        {"XonChar", "unsigned char"},
        {"XoffChar", "unsigned char"},
        {"ErrorChar", "unsigned char"},
        {"EofChar", "unsigned char"},
        {"EvtChar", "unsigned char"},
        {"wReserved1", "short"}}},
      {"OVERLAPPED",
       GUID_OVERLAPPED,
       {{"Internal", "long"}, {"InternalHigh", "long"}, {"offset", "long"}, {"OffsetHigh", "long"}, {"hEvent", "long"}}},
      {"SECURITY_ATTRIBUTES",
       GUID_SECURITY_ATTRIBUTES,
       {{"nLength", "long"}, {"lpSecurityDescriptor", "long"}, {"bInheritHandle", "long"}}},
  };
  return lib;
}

}  // namespace

const automation::TypeLibraryDesc& typeLibrary() {
  static const automation::TypeLibraryDesc lib = build();
  return lib;
}

}  // namespace tov
