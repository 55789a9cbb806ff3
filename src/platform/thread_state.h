// State of the calling thread that ends with the thread: the apartment's module state and
// anything else a thread keeps with a destructor. It lives in the thread's record beside its
// message queue, never in a `thread_local` object with a destructor: under mingw-w64 (emulated
// TLS over winpthreads) a thread's TLS blocks are freed at its exit by one thread-specific key's
// destructor, and the C++ runtime runs the `thread_local` destructors from another key created
// after it, so they would run on freed memory. Trivially destructible `thread_local` values are
// safe everywhere.
#pragma once

#include <memory>

namespace tov::platform {

// One object of a thread's state, owned by the thread's record.
class ThreadStatePart {
 public:
  virtual ~ThreadStatePart() = default;
};

// The calling thread's part for tag, made by make on the thread's first use of tag. When the
// thread ends, its parts are destroyed on it, the one made last first, and then its message
// queue closes; parts made while that runs end too. A thread that never ends (the process's main
// thread) keeps its parts until the process ends.
ThreadStatePart& threadStatePart(const void* tag, std::unique_ptr<ThreadStatePart> (*make)());

// The calling thread's T, value-initialized on the thread's first use, under the same rules.
template <class T>
T& threadState() {
  struct Part final : ThreadStatePart {
    T value{};
  };
  static char tag;  // one address per T
  auto make = []() -> std::unique_ptr<ThreadStatePart> { return std::make_unique<Part>(); };
  return static_cast<Part&>(threadStatePart(&tag, make)).value;
}

}  // namespace tov::platform
