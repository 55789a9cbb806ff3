// tovComPrtv3: the component's one public class. It finds the COM ports of the PC and their
// kinds, detects BenQ-Siemens phones on them, and offers a small serial API. Every method of
// the interface _tovComPrtv3 is a public member here (callable early bound) and reachable by name
// through IDispatch; results of requests arrive as events of __tovComPrtv3.
//
// The members are implemented by subsystem: component/ (state, lifecycle, dispatch),
// serial/ (the serial API), discovery/ (port kinds), detection/ (the AT dialogue),
// timers/ (per-port timeouts and timers), requests/ (requests, workers, events).
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include <tovport/automation/connection_point.h>
#include <tovport/automation/idispatch.h>
#include <tovport/automation/interface_model.h>
#include <tovport/component/types.h>
#include <tovport/threads/thread_control.h>

namespace tov {

class tovComPrtv3 final : public automation::IDispatch,
                          public automation::IConnectionPointContainer,
                          public automation::RefCounted {
 public:
  // Creates an instance on the calling thread; it becomes that thread's gComponent.
  static automation::Ref<tovComPrtv3> create();
  ~tovComPrtv3() override;

  // IUnknown, IDispatch, IConnectionPointContainer
  automation::HRESULT QueryInterface(const automation::GUID& iid, void** out) override;
  std::uint32_t AddRef() override { return addRefImpl(); }
  std::uint32_t Release() override { return releaseImpl(); }
  automation::HRESULT GetIDsOfNames(std::u16string_view name, automation::DISPID* id) override;
  automation::HRESULT Invoke(automation::DISPID id, automation::DispParams& params, Variant* result,
                             automation::ExcepInfo* excep, unsigned* argErr = nullptr) override;
  automation::HRESULT FindConnectionPoint(const automation::GUID& iid, automation::IConnectionPoint** out) override;

  // ---- _tovComPrtv3, in interface order ----
  VariantBool IsPending();
  VariantBool DetectDevice(std::int16_t PortNr);
  void VBclsDetectDevice(Variant& Port);
  VariantBool DetectAllDevices();
  VariantBool DetectDevicesFromList(BStr& ComPortList);
  std::int32_t GetDeviceName(DeviceType& dt);
  VariantBool PortTest(std::int16_t PortNr);
  void VBclsPortTest(Variant& Port);
  VariantBool TestAllPorts();
  std::int32_t GetComPortType(std::int16_t PortNr);
  void KillThreads();
  void fireEventMsgTimeout();
  void fireEventMsgReceived(BStr& msg);
  void fireEventDeviceDetected(std::int16_t PortNr, DeviceType device, DeviceDetectionError error,
                               VariantBool DoSiemensAPN = VariantBool::False);
  VariantBool fireEventPortAvailable(std::int16_t PortNr, PortAvailability available);
  BStr VBGetSystemMessage(std::int32_t& lngErrorCode);
  std::int32_t VBCommOpen(std::int16_t PortNr, BStr strPort, BStr strSettings);
  std::int32_t VBCommSet(std::int16_t PortNr, BStr strSettings);
  std::int32_t VBCommClose(std::int16_t PortNr);
  std::int32_t VBCommFlush(std::int16_t PortNr);
  std::int32_t VBCommRead(std::int16_t PortNr, BStr& strData, std::int32_t lngSize);
  std::int32_t VBCommWrite(std::int16_t PortNr, BStr& strData);
  VariantBool VBCommGetLine(std::int16_t PortNr, std::int16_t intLine, VariantBool blnState);
  std::int32_t VBCommSetLine(std::int16_t PortNr, std::int16_t intLine, VariantBool blnState);
  std::int32_t VBCommGetError(BStr& strMessage);
  void VBDetectDevice(std::int16_t PortNr);
  void VBDeviceDetectTimeout(std::int16_t PortNr);
  void VBDeviceDetected(std::int16_t PortNr, BStr rcvd);
  BStr VBGetDeviceName(DeviceType dt);
  void VBFillOutputStrings(std::int16_t PortNr, BStr string1 = u"AT+CGMI", BStr string2 = u"AT+CGMM",
                           BStr string3 = u"AT");
  VariantBool VBOpenPort(std::int16_t& PortNr);
  VariantBool VBClosePort(std::int16_t PortNr);
  VariantBool VBPortTest(std::int16_t PortNr);
  VariantBool VBSendCommand(std::int16_t PortNr, BStr& strCommand);
  void VBMsgTimeout(std::int16_t PortNr);
  void VBMsgReceived(std::int16_t PortNr, BStr& strReceived);
  void VBSetTimeoutSeconds(std::int16_t PortNr, std::int16_t newValue);
  std::int16_t VBGetTimeoutSeconds(std::int16_t PortNr);
  void VBSetTimeout(std::int16_t PortNr);
  Date VBGetTimeout(std::int16_t PortNr);
  void VBStartTimer(std::int16_t PortNr);
  void VBStopTimer(std::int16_t PortNr);
  void VBTimerFunc(std::int16_t PortNr, std::int32_t hwnd, std::int32_t uMsg, std::int32_t idEvent,
                   std::int32_t dwTime);
  void debugprint(Variant& str, BStr& filename);
  VariantBool SendMessage(std::int16_t& PortNr, BStr& Message, VariantBool& PortOpen);

  // ---- instance state, in declaration order ----
  PortTableOf<platform::OVERLAPPED> PortOverlapped;
  CommErrorInfo LastError;
  PortTableOf<CommPortInfo> CommPorts;
  PortTableOf<Date> TimeoutAt;
  PortTableOf<std::int16_t> TimeoutSeconds;
  PortTableOf<std::int32_t> TimerIds;
  IndexedTable<BStr, 0, 3> OutputStrings;
  PortTableOf<std::int16_t> DialogueStep;
  PortTableOf<VariantBool> Pending;
  VariantBool MessageMode = VariantBool::False;
  automation::Ref<threads::ThreadControl> Worker;

  // The interface description: methods of _tovComPrtv3 and events of __tovComPrtv3.
  static const std::vector<automation::MethodDesc<tovComPrtv3>>& methods();
  static const std::vector<automation::EventDesc>& events();

  // Raising the four events on the connection point; arguments go by reference, so a handler's
  // changes come back in the caller's variables.
  void raiseMsgTimeout();
  void raiseMsgReceived(BStr& msg);
  void raiseDeviceDetected(std::int16_t& PortNr, BStr& devicename, VariantBool& DoSiemensAPN, DeviceType& device,
                           DeviceDetectionError& error);
  void raisePortAvailable(std::int16_t& PortNr, PortAvailability& available);

  // Hands a log text to debugprint with an empty file name.
  void log(std::u16string_view text);

 private:
  tovComPrtv3();

  VariantBool AnyPortPending();
  std::int32_t VBRecordError(std::int16_t PortNr, BStr Source);
  std::int32_t VBRecordCommError(std::int16_t PortNr, BStr Source, std::int32_t hCom);
  VariantBool VBOpenComPort(std::int16_t PortNr);
  VariantBool VBsendOutput(std::int16_t PortNr, std::int16_t Index);
  void VBcheckAnswer(std::int16_t PortNr, BStr Answer);
  void VBcheckDevice(std::int16_t PortNr, BStr rcvd);

  automation::Ref<automation::ConnectionPoint> events_;
  platform::DWORD apartment_;  // the thread that created the instance: every call runs there
};

}  // namespace tov
