// Opening, reconfiguring, flushing and closing the ports of the serial API. IsOpen is the only
// guard and only open and close look at it; the other operations use whatever hCom holds.
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <tovport/component/tovcomprtv3.h>
#include "platform/codepage.h"
#include <tovport/platform/serial.h>
#include "serial/runtime_trap.h"

namespace tov {
namespace {

using namespace platform;

constexpr DWORD kQueueBytes = 1024;
constexpr DWORD kPurgeAll = PURGE_TXABORT | PURGE_RXABORT | PURGE_TXCLEAR | PURGE_RXCLEAR;
// Port 1 waits for slow answers byte by byte; the other ports return what arrived within a second.
constexpr COMMTIMEOUTS kPort1Timeouts{1000, 1000, 1000, 1000, 1000};
constexpr COMMTIMEOUTS kOtherPortTimeouts{MAXDWORD, 0, 1000, 0, 1000};

// One platform call of a configuration sequence: the call's name in the recorded source and the
// log text that VBCommOpen puts before the failed call's result.
struct ConfigStep {
  std::u16string_view call;
  std::u16string_view failureLog;
  std::function<BOOL()> run;
};

// The three calls that (re)apply a settings string: current state, amended by the string, applied.
std::vector<ConfigStep> lineSettingSteps(HANDLE h, DCB& dcb, const std::string& settings) {
  return {
      {u"GetCommState", u"Failed GetCommState: ", [h, &dcb] { return GetCommState(h, &dcb); }},
      {u"BuildCommDCB", u"Failed BuildCommDCB: ", [&dcb, &settings] { return BuildCommDCBA(settings.c_str(), &dcb); }},
      {u"SetCommState", u"Failed SetCommState: ", [h, &dcb] { return SetCommState(h, &dcb); }},
  };
}

// Runs the steps in order and stops at the first whose call fails; that step, or nullptr.
const ConfigStep* firstFailure(const std::vector<ConfigStep>& steps) {
  for (const ConfigStep& step : steps)
    if (step.run() == FALSE) return &step;
  return nullptr;
}

BStr sourceTag(std::u16string_view operation, std::u16string_view call) {
  return BStr(operation) + u" (" + BStr(call) + u")";
}

}  // namespace

std::int32_t tovComPrtv3::VBCommOpen(std::int16_t PortNr, BStr strPort, BStr strSettings) {
  // Names of ports above 9 go through the device namespace, whatever they already look like.
  if (PortNr > 9) strPort = u"\\\\.\\" + strPort;
  return serial::trapRuntimeErrors(
      LastError, u"VBCommOpen",
      [&]() -> std::int32_t {
        CommPortInfo& port = CommPorts(PortNr);
        if (isTrue(port.IsOpen)) {
          LastError = CommErrorInfo{-1, u"VBCommOpen", u"Port in use."};
          return -1;
        }
        log(u"Now opening Port: " + strPort);
        const std::string name = utf16ToAnsi(strPort);
        port.hCom = CreateFileA(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                FILE_ATTRIBUTE_NORMAL, 0);
        if (port.hCom == INVALID_HANDLE_VALUE) {
          log(u"Failed opening Port: " + strPort);
          return VBRecordError(PortNr, u"VBCommOpen (CreateFile)");
        }
        // From here the port stays reserved until VBCommClose, even when configuring it fails.
        port.IsOpen = VariantBool::True;

        const HANDLE h = port.hCom;
        const COMMTIMEOUTS& timeouts = PortNr == 1 ? kPort1Timeouts : kOtherPortTimeouts;
        const std::string settings = utf16ToAnsi(strSettings);
        std::vector<ConfigStep> steps{
            {u"SetupComm", u"Failed SetupComm: ", [h] { return SetupComm(h, kQueueBytes, kQueueBytes); }},
            {u"PurgeComm", u"Failed PurgeComm: ", [h] { return PurgeComm(h, kPurgeAll); }},
            {u"SetCommTimeouts", u"setCommTimeouts: ", [h, &timeouts] { return SetCommTimeouts(h, &timeouts); }},
        };
        for (ConfigStep& step : lineSettingSteps(h, port.PortDCB, settings)) steps.push_back(std::move(step));
        if (const ConfigStep* failed = firstFailure(steps)) {
          log(BStr(failed->failureLog) + u"0");  // the failed call's result, FALSE
          return VBRecordError(PortNr, sourceTag(u"VBCommOpen", failed->call));
        }
        return 0;
      },
      serial::returnErrorNumber);
}

std::int32_t tovComPrtv3::VBCommSet(std::int16_t PortNr, BStr strSettings) {
  return serial::trapRuntimeErrors(
      LastError, u"VBCommSet",
      [&]() -> std::int32_t {
        CommPortInfo& port = CommPorts(PortNr);
        const std::string settings = utf16ToAnsi(strSettings);
        const std::vector<ConfigStep> steps = lineSettingSteps(port.hCom, port.PortDCB, settings);
        if (const ConfigStep* failed = firstFailure(steps))
          return VBRecordError(PortNr, sourceTag(u"VBCommSet", failed->call));
        return 0;
      },
      serial::returnErrorNumber);
}

std::int32_t tovComPrtv3::VBCommFlush(std::int16_t PortNr) {
  return serial::trapRuntimeErrors(
      LastError, u"VBCommFlush",
      [&]() -> std::int32_t {
        if (PurgeComm(CommPorts(PortNr).hCom, kPurgeAll) == FALSE) return VBRecordError(PortNr, u"VBCommFlush (PurgeComm)");
        return 0;
      },
      serial::returnErrorNumber);
}

std::int32_t tovComPrtv3::VBCommClose(std::int16_t PortNr) {
  return serial::trapRuntimeErrors(
      LastError, u"VBCommClose",
      [&]() -> std::int32_t {
        CommPortInfo& port = CommPorts(PortNr);
        if (!isTrue(port.IsOpen)) return 0;
        // A handle that refuses to close stays the port's, so the caller may try again.
        if (CloseHandle(port.hCom) == FALSE) return VBRecordError(PortNr, u"VBCommClose (CloseHandle)");
        port.IsOpen = VariantBool::False;
        port.hCom = 0;
        return 0;
      },
      serial::returnErrorNumber);
}

}  // namespace tov
