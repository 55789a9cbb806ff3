// The interface of tovComPrtv3, once: every method of _tovComPrtv3 in interface order with its
// DISPID, parameters and defaults, bound to the member it calls; and the events of __tovComPrtv3.
// Dispatch by name, the type library, the IDL and (on Windows) the dual interface's function
// table all come from these tables.
#include <tovport/component/tovcomprtv3.h>
#ifdef _WIN32
#include "automation/win32/function_table_entry.h"
#endif

namespace tov {

using automation::method;
using C = tovComPrtv3;

const std::vector<automation::MethodDesc<tovComPrtv3>>& tovComPrtv3::methods() {
  static const std::vector<automation::MethodDesc<tovComPrtv3>> table = {
      method<&C::IsPending>("IsPending", 0x60030038),
      method<&C::DetectDevice>("DetectDevice", 0x60030039, {"PortNr"}),
      method<&C::VBclsDetectDevice>("VBclsDetectDevice", 0x6003003A, {"Port"}),
      method<&C::DetectAllDevices>("DetectAllDevices", 0x6003003B),
      method<&C::DetectDevicesFromList>("DetectDevicesFromList", 0x6003003C, {"ComPortList"}),
      method<&C::GetDeviceName>("GetDeviceName", 0x6003003D, {"dt"}),
      method<&C::PortTest>("PortTest", 0x6003003E, {"PortNr"}),
      method<&C::VBclsPortTest>("VBclsPortTest", 0x6003003F, {"Port"}),
      method<&C::TestAllPorts>("TestAllPorts", 0x60030040),
      method<&C::GetComPortType>("GetComPortType", 0x60030041, {"PortNr"}),
      method<&C::KillThreads>("KillThreads", 0x60030042),
      method<&C::fireEventMsgTimeout>("fireEventMsgTimeout", 0x60030043),
      method<&C::fireEventMsgReceived>("fireEventMsgReceived", 0x60030044, {"msg"}),
      method<&C::fireEventDeviceDetected>("fireEventDeviceDetected", 0x60030045,
                                          {"PortNr", "device", "error", {"DoSiemensAPN", VariantBool::False}}),
      method<&C::fireEventPortAvailable>("fireEventPortAvailable", 0x60030046, {"PortNr", "available"}),
      method<&C::VBGetSystemMessage>("VBGetSystemMessage", 0x60030048, {"lngErrorCode"}),
      method<&C::VBCommOpen>("VBCommOpen", 0x60030049, {"PortNr", "strPort", "strSettings"}),
      method<&C::VBCommSet>("VBCommSet", 0x6003004C, {"PortNr", "strSettings"}),
      method<&C::VBCommClose>("VBCommClose", 0x6003004D, {"PortNr"}),
      method<&C::VBCommFlush>("VBCommFlush", 0x6003004E, {"PortNr"}),
      method<&C::VBCommRead>("VBCommRead", 0x6003004F, {"PortNr", "strData", "lngSize"}),
      method<&C::VBCommWrite>("VBCommWrite", 0x60030050, {"PortNr", "strData"}),
      method<&C::VBCommGetLine>("VBCommGetLine", 0x60030051, {"PortNr", "intLine", "blnState"}),
      method<&C::VBCommSetLine>("VBCommSetLine", 0x60030052, {"PortNr", "intLine", "blnState"}),
      method<&C::VBCommGetError>("VBCommGetError", 0x60030053, {"strMessage"}),
      method<&C::VBDetectDevice>("VBDetectDevice", 0x60030054, {"PortNr"}),
      method<&C::VBDeviceDetectTimeout>("VBDeviceDetectTimeout", 0x60030055, {"PortNr"}),
      method<&C::VBDeviceDetected>("VBDeviceDetected", 0x60030056, {"PortNr", "rcvd"}),
      method<&C::VBGetDeviceName>("VBGetDeviceName", 0x60030057, {"dt"}),
      method<&C::VBFillOutputStrings>(
          "VBFillOutputStrings", 0x6003005A,
          {"PortNr", {"string1", u"AT+CGMI"}, {"string2", u"AT+CGMM"}, {"string3", u"AT"}}),
      method<&C::VBOpenPort>("VBOpenPort", 0x6003005B, {"PortNr"}),
      method<&C::VBClosePort>("VBClosePort", 0x6003005C, {"PortNr"}),
      method<&C::VBPortTest>("VBPortTest", 0x6003005D, {"PortNr"}),
      method<&C::VBSendCommand>("VBSendCommand", 0x6003005E, {"PortNr", "strCommand"}),
      method<&C::VBMsgTimeout>("VBMsgTimeout", 0x6003005F, {"PortNr"}),
      method<&C::VBMsgReceived>("VBMsgReceived", 0x60030060, {"PortNr", "strReceived"}),
      method<&C::VBSetTimeoutSeconds>("VBSetTimeoutSeconds", 0x60030061, {"PortNr", "newValue"}),
      method<&C::VBGetTimeoutSeconds>("VBGetTimeoutSeconds", 0x60030062, {"PortNr"}),
      method<&C::VBSetTimeout>("VBSetTimeout", 0x60030063, {"PortNr"}),
      method<&C::VBGetTimeout>("VBGetTimeout", 0x60030064, {"PortNr"}),
      method<&C::VBStartTimer>("VBStartTimer", 0x60030065, {"PortNr"}),
      method<&C::VBStopTimer>("VBStopTimer", 0x60030066, {"PortNr"}),
      method<&C::VBTimerFunc>("VBTimerFunc", 0x60030067, {"PortNr", "hwnd", "uMsg", "idEvent", "dwTime"}),
      method<&C::debugprint>("debugprint", 0x6003006A, {"str", {"filename", u""}}),
      method<&C::SendMessage>("SendMessage", 0x6003006B, {"PortNr", "Message", {"PortOpen", VariantBool::False}}),
  };
  return table;
}

const std::vector<automation::EventDesc>& tovComPrtv3::events() {
  using automation::event;
  static const std::vector<automation::EventDesc> table = {
      event<void()>("MsgTimeout", 1),
      event<void(BStr&)>("MsgReceived", 2, {"msg"}),
      event<void(std::int16_t&, BStr&, VariantBool&, DeviceType&, DeviceDetectionError&)>(
          "DeviceDetected", 3, {"PortNr", "devicename", "DoSiemensAPN", "device", "error"}),
      event<void(std::int16_t&, PortAvailability&)>("PortAvailable", 4, {"PortNr", "available"}),
  };
  return table;
}

}  // namespace tov
