// The apartment's message queue: one per thread. Other threads post calls to it; the owning
// thread runs them, and the ticks of its timers, only when it pumps. Nothing here runs
// concurrently with the owning thread's other work. On Windows the thread's system message queue
// stands behind it (message_queue_win32.cpp): posted calls and the ticks of timers set on the real
// clock are window messages, so they also run when the host pumps with its own message loop.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include <tovport/platform/win32.h>

namespace tov::platform {

inline constexpr UINT WM_TIMER = 0x0113;
inline constexpr UINT USER_TIMER_MINIMUM = 10;
inline constexpr UINT USER_TIMER_MAXIMUM = 0x7FFFFFFF;

using TIMERPROC = void (*)(HWND hwnd, UINT message, UINT_PTR idEvent, DWORD time);
using WPARAM = std::uintptr_t;
using LPARAM = std::intptr_t;

inline constexpr UINT WM_APP = 0x8000;
// A call carried to another thread as a thread message: its LPARAM is a ThreadCall* that the
// message owns. The receiving thread's pump runs the call and deletes it; when the post fails the
// call stays with the poster.
inline constexpr UINT WM_TOV_THREADCALL = WM_APP + 0x0100;
struct ThreadCall {
  std::function<void()> run;
};
inline constexpr DWORD ERROR_INVALID_THREAD_ID = 1444;

class SystemQueue;

class MessageQueue {
 public:
  // The calling thread's queue, created on first use and closed when the thread ends.
  static std::shared_ptr<MessageQueue> current();

  MessageQueue();
  ~MessageQueue();
  MessageQueue(const MessageQueue&) = delete;
  MessageQueue& operator=(const MessageQueue&) = delete;

  // From any thread: queue call to run on the owning thread. Returns false, dropping the call
  // (and so whatever it owns), when the owning thread has ended.
  bool post(std::function<void()> call);

  // Owning thread only. A timer with no window: a fresh id (never 0), ticking every period
  // milliseconds (clamped to USER_TIMER_MINIMUM..USER_TIMER_MAXIMUM).
  UINT_PTR setTimer(UINT period, TIMERPROC proc);
  bool killTimer(UINT_PTR id);
  std::size_t timerCount() const;

  // Processes the messages waiting when it is called: posted calls first, in order, then one
  // tick of every timer that is due. Messages that arrive meanwhile wait for the next pump
  // (or are handled by a pump nested inside one of these calls).
  void pump();
  // Owning thread only: runs the posted calls waiting (the first step of pump).
  void runPosted();
  // Blocks until a message is waiting or boundMs passes on the process clock; returns whether
  // one is waiting. On the manual clock, simulated time moves on to the next timer tick.
  bool wait(std::uint32_t boundMs);
  bool hasWaiting() const;  // owning thread only

  void close();  // drops every posted call and refuses new ones

 private:
  struct Timer {
    UINT_PTR id;
    UINT period;
    TIMERPROC proc;
    std::int64_t due;
  };
  bool timerDueLocked(std::int64_t now) const;
  std::int64_t nextDueLocked() const;
  // The system's queue serves timers and waits while the real clock runs; the manual clock
  // needs the simulated ones.
  bool systemServes() const;

  mutable std::mutex mutex_;
  std::condition_variable arrived_;
  std::deque<std::function<void()>> posted_;
  std::vector<Timer> timers_;
  UINT_PTR nextTimerId_ = 1;
  bool closed_ = false;
  std::unique_ptr<SystemQueue> system_;  // the thread's system queue, where there is one
};

// Win32 shapes. GetCurrentThreadId never answers 0. PostThreadMessage takes WM_TOV_THREADCALL
// only (any other message is ERROR_INVALID_PARAMETER) and fails with ERROR_INVALID_THREAD_ID when
// idThread has no queue, or no longer has one.
DWORD GetCurrentThreadId();
BOOL PostThreadMessage(DWORD idThread, UINT Msg, WPARAM wParam, LPARAM lParam);

// Win32 shapes on the calling thread's queue. hwnd must be 0: timers belong to the thread.
UINT_PTR SetTimer(HWND hwnd, UINT_PTR idEvent, UINT elapse, TIMERPROC proc);
BOOL KillTimer(HWND hwnd, UINT_PTR idEvent);
// One pass of the calling thread's message pump.
void PumpMessages();

}  // namespace tov::platform
