#include "timers/timer_procs.h"

#include <array>
#include <utility>

#include <tovport/automation/convert.h>
#include <tovport/automation/runtime_error.h>
#include "component/debug_log.h"
#include "component/mod_public.h"
#include <tovport/component/tovcomprtv3.h>

namespace tov {
namespace {

using automation::numberText;
using platform::DWORD;
using platform::HWND;
using platform::TIMERPROC;
using platform::UINT;
using platform::UINT_PTR;

std::u16string describeFailure(int PortNr, const std::exception& e) {
  std::u16string text = u"Error in TimerProc" + numberText(PortNr) + u": ";
  if (const auto* runtime = dynamic_cast<const automation::RuntimeError*>(&e))
    return text + numberText(runtime->number()) + u" " + automation::fromUtf8(runtime->description());
  return text + automation::fromUtf8(e.what());
}

// An error of a tick must not unwind into the message dispatch: it ends the tick and is logged,
// through the instance when there is one.
void logTickFailure(tovComPrtv3* target, const std::u16string& text) {
  if (target)
    target->log(text);
  else
    notifyLogObserver(text);
}

// A tick of a port that comes while an earlier tick of the same port is still running (from a
// pump inside it: the send of "AT+CGMM", the raising of the outcome) is held back: the port's
// state is in mid-change, and a second judge of it would report the port twice. The timer ticks
// again one period later.
class TickInProgress {
 public:
  explicit TickInProgress(int PortNr) : flag_(running()[static_cast<std::size_t>(PortNr - 1)]) {
    entered_ = !flag_;
    flag_ = true;
  }
  ~TickInProgress() {
    if (entered_) flag_ = false;
  }
  bool entered() const { return entered_; }

 private:
  static std::array<bool, MaxPorts>& running() {
    thread_local std::array<bool, MaxPorts> ticking{};
    return ticking;
  }
  bool& flag_;
  bool entered_;
};

template <int PortNr>
void TimerProc(HWND hwnd, UINT message, UINT_PTR idEvent, DWORD time) {
  const TickInProgress tick(PortNr);
  if (!tick.entered()) return;
  // Held for the whole tick: a tick that creates another instance moves gComponent away.
  const automation::Ref<tovComPrtv3> target = gComponent();
  try {
    if (!target) throw automation::RuntimeError(automation::kErrObjectNotSet);
    target->VBTimerFunc(PortNr, hwnd, static_cast<std::int32_t>(message), static_cast<std::int32_t>(idEvent),
                        static_cast<std::int32_t>(time));
  } catch (const std::exception& e) {
    logTickFailure(target.get(), describeFailure(PortNr, e));
  } catch (...) {
    logTickFailure(target.get(), u"Error in TimerProc" + numberText(PortNr));
  }
}

template <std::size_t... I>
constexpr std::array<TIMERPROC, sizeof...(I)> makeTimerProcs(std::index_sequence<I...>) {
  return {&TimerProc<static_cast<int>(I) + 1>...};
}

constexpr auto kTimerProcs = makeTimerProcs(std::make_index_sequence<MaxPorts>{});

bool isPortNumber(int PortNr) { return PortNr >= 1 && PortNr <= MaxPorts; }

}  // namespace

TIMERPROC TimerProcOf(int PortNr) {
  automation::checkIndex(PortNr, 1, MaxPorts);
  return kTimerProcs[static_cast<std::size_t>(PortNr - 1)];
}

automation::Variant StartPortTimer(std::int16_t PortNr, std::int32_t Interval) {
  if (!isPortNumber(PortNr)) return {};
  // A negative product becomes a huge unsigned period, which the system clamps to its maximum.
  const UINT_PTR id = platform::SetTimer(0, static_cast<UINT_PTR>(PortNr), static_cast<UINT>(Interval),
                                         TimerProcOf(PortNr));
  return automation::Variant(static_cast<std::int32_t>(id));
}

}  // namespace tov
