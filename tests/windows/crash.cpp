// Crashes on purpose, on a second thread as the unit tests' threads would: the Windows stage runs
// it first to prove that a program crashing in its Wine prefix fails the step (a non-zero status)
// instead of passing after a debugger's dump.
#include <cstdio>
#include <thread>

int main() {
  std::puts("writing through a null pointer on a second thread");
  std::fflush(stdout);
  std::thread([] {
    volatile int* nowhere = nullptr;
    *nowhere = 1;
  }).join();
  std::puts("crash check passed");  // only if the write did not fault
}
