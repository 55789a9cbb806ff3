// CPU time of one idle timer tick: VBTimerFunc on an open pseudo-terminal port with nothing
// waiting, which costs one status query (ClearCommError) and two passes of the message pump.
#include <benchmark/benchmark.h>
#include <pty.h>
#include <unistd.h>

#include "component/mod_public.h"
#include <tovport/component/tovcomprtv3.h>
#include <tovport/platform/serial_posix.h>

namespace {

using tov::tovComPrtv3;

void BM_IdleTick(benchmark::State& state) {
  int master = -1, slave = -1;
  if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) {
    state.SkipWithError("openpty failed");
    return;
  }
  tov::platform::PosixSerialBackend backend;
  backend.map(3, ttyname(slave));
  tov::platform::ScopedSerialBackend installed(backend);
  auto c = tovComPrtv3::create();
  if (c->VBCommOpen(3, u"COM3", u"baud=57600 parity=N data=8 stop=1") != 0) {
    state.SkipWithError("COM3 did not open");
  } else {
    c->VBSetTimeoutSeconds(3, 32767);  // the deadline stays ahead for the whole run
    c->VBSetTimeout(3);
    for (auto _ : state) c->VBTimerFunc(3, 0, 0, 0, 0);
    if (!c->LastError.ErrorSource.empty()) state.SkipWithError("a tick failed");
    c->VBCommClose(3);
  }
  tov::gComponent().reset();
  close(master);
  close(slave);
}
BENCHMARK(BM_IdleTick);

}  // namespace
