// The thread's system message queue (user32) behind its MessageQueue. A message-only window of
// the thread receives a wake message for posted calls, so they run whoever pumps: our own pump or
// the host's message loop (a thread message, PostThreadMessage, would be dropped by a host's
// DispatchMessage and lost in modal loops). Timers are SetTimer timers without a window whose
// TIMERPROC runs when the thread dispatches their WM_TIMER.
#include <atomic>
#include <map>

#include "platform/message_queue_system.h"

// Last: windows.h macros would rewrite the platform headers.
#include <windows.h>

namespace {
// Outside the platform namespace, where the macro's HWND is the system's.
const HWND kMessageOnlyParent = HWND_MESSAGE;
}  // namespace

namespace tov::platform {
namespace {

constexpr ::UINT kWake = WM_APP + 0x7E;  // "run the posted calls"
constexpr int kMostPerDispatch = 256;    // a pass ends even if messages keep coming
constexpr const char* kWindowClass = "tovportMessageQueue";

class Win32Queue;
thread_local Win32Queue* threadQueue = nullptr;  // for the timer callback

::LRESULT CALLBACK windowProc(::HWND window, ::UINT message, ::WPARAM wParam, ::LPARAM lParam);
void CALLBACK timerProc(::HWND, ::UINT, ::UINT_PTR id, ::DWORD time);

::HINSTANCE thisModule() {
  ::HMODULE module = nullptr;
  ::GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const char*>(&windowProc), &module);
  return module;
}

bool registerWindowClass() {
  static const bool registered = [] {
    ::WNDCLASSEXA windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = windowProc;
    windowClass.hInstance = thisModule();
    windowClass.lpszClassName = kWindowClass;
    return ::RegisterClassExA(&windowClass) != 0 || ::GetLastError() == ERROR_CLASS_ALREADY_EXISTS;
  }();
  return registered;
}

class Win32Queue final : public SystemQueue {
 public:
  Win32Queue(MessageQueue& owner, ::HWND window) : owner_(owner), window_(window) {
    ::SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<::LONG_PTR>(this));
    threadQueue = this;
  }
  ~Win32Queue() override {
    if (threadQueue == this) threadQueue = nullptr;
  }

  void wake() override {
    // One wake message at a time: the call that runs the posted calls runs them all.
    if (window_ == nullptr || wakePending_.exchange(true)) return;
    if (::PostMessageA(window_, kWake, 0, 0) == 0) wakePending_ = false;
  }

  void onWake() {
    wakePending_ = false;
    owner_.runPosted();
  }

  // Calls posted while the pass runs the posted calls wait for the next pass: a second wake
  // message in one pass ends it and is put back.
  void dispatch() override {
    const ::DWORD start = ::GetTickCount();
    bool woken = false;
    ::MSG message;
    for (int i = 0; i < kMostPerDispatch && ::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != 0; ++i) {
      if (message.message == WM_QUIT) {
        ::PostQuitMessage(static_cast<int>(message.wParam));  // it belongs to the host's loop
        break;
      }
      if (message.hwnd == window_ && message.message == kWake) {
        if (woken) {
          ::PostMessageA(window_, kWake, 0, 0);
          break;
        }
        woken = true;
      }
      ::TranslateMessage(&message);
      ::DispatchMessageA(&message);
      if (static_cast<::LONG>(message.time - start) > 0) break;  // posted after this pass began
    }
  }

  bool waiting() const override { return HIWORD(::GetQueueStatus(QS_ALLINPUT)) != 0; }

  bool wait(std::uint32_t ms) override {
    return ::MsgWaitForMultipleObjectsEx(0, nullptr, ms, QS_ALLINPUT, MWMO_INPUTAVAILABLE) == WAIT_OBJECT_0;
  }

  UINT_PTR setTimer(UINT period, TIMERPROC proc) override {
    const ::UINT_PTR id = ::SetTimer(nullptr, 0, period, timerProc);
    if (id == 0) return 0;
    if (id > 0xFFFFFFFFu) {  // cannot be handed out as a 32-bit timer id
      ::KillTimer(nullptr, id);
      return 0;
    }
    timers_[static_cast<UINT_PTR>(id)] = proc;
    return static_cast<UINT_PTR>(id);
  }

  bool killTimer(UINT_PTR id) override {
    if (timers_.erase(id) == 0) return false;
    ::KillTimer(nullptr, id);
    return true;
  }

  std::size_t timerCount() const override { return timers_.size(); }

  void tick(::UINT_PTR id, ::DWORD time) {
    const auto it = timers_.find(static_cast<UINT_PTR>(id));
    if (it != timers_.end()) it->second(0, WM_TIMER, it->first, time);
  }

  // The queue closes as its thread ends, which takes the thread's window and timers with it; no
  // system call is made here, in the thread's last moments.
  void close() override {
    timers_.clear();
    window_ = nullptr;
  }

 private:
  MessageQueue& owner_;
  ::HWND window_;
  std::atomic<bool> wakePending_{false};
  std::map<UINT_PTR, TIMERPROC> timers_;
};

::LRESULT CALLBACK windowProc(::HWND window, ::UINT message, ::WPARAM wParam, ::LPARAM lParam) {
  if (message == kWake) {
    if (auto* queue = reinterpret_cast<Win32Queue*>(::GetWindowLongPtrA(window, GWLP_USERDATA))) queue->onWake();
    return 0;
  }
  return ::DefWindowProcA(window, message, wParam, lParam);
}

void CALLBACK timerProc(::HWND, ::UINT, ::UINT_PTR id, ::DWORD time) {
  if (threadQueue != nullptr) threadQueue->tick(id, time);
}

}  // namespace

std::unique_ptr<SystemQueue> SystemQueue::attach(MessageQueue& owner) {
  if (!registerWindowClass()) return nullptr;
  ::HWND window = ::CreateWindowExA(0, kWindowClass, "", 0, 0, 0, 0, 0, kMessageOnlyParent, nullptr, thisModule(), nullptr);
  if (window == nullptr) return nullptr;
  return std::make_unique<Win32Queue>(owner, window);
}

}  // namespace tov::platform
