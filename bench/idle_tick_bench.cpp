// CPU time of one idle timer tick: one iteration is one VBTimerFunc call on an open
// pseudo-terminal port with nothing waiting and its deadline ahead. That call reads the clock as a
// local date (system_clock::now, localtime_r) to compare with the deadline; polls the port through
// VBCommRead, which makes one pass of the message pump, looks up the handle and asks
// ClearCommError for the bytes waiting (two ioctl system calls on a pseudo-terminal, TIOCINQ and
// TIOCOUTQ); and ends with the tick's own pass of the pump. Nothing is read and no event is
// raised. The system calls make the figure depend on the kernel and the machine's load.
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
