#include <tovport/platform/message_queue.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <map>

#include "platform/clock.h"
#include "platform/last_error.h"

namespace tov::platform {
namespace {

// The queues of the living threads by thread id, for posts from other threads.
class QueueDirectory {
 public:
  void add(DWORD id, const std::shared_ptr<MessageQueue>& queue) {
    std::lock_guard lock(mutex_);
    queues_[id] = queue;
  }
  void remove(DWORD id) {
    std::lock_guard lock(mutex_);
    queues_.erase(id);
  }
  std::shared_ptr<MessageQueue> find(DWORD id) {
    std::lock_guard lock(mutex_);
    auto it = queues_.find(id);
    return it == queues_.end() ? nullptr : it->second.lock();
  }

 private:
  std::mutex mutex_;
  std::map<DWORD, std::weak_ptr<MessageQueue>> queues_;
};

QueueDirectory& directory() {
  static QueueDirectory* instance = new QueueDirectory;  // outlives every thread's exit
  return *instance;
}

DWORD newThreadId() {
  static std::atomic<DWORD> last{0};
  DWORD id = ++last;
  if (id == 0) id = ++last;
  return id;
}

// The thread's id and queue. The queue is closed when the thread ends, so that posts from
// elsewhere fail instead of waiting forever for a pump that will not come.
struct ThreadQueue {
  DWORD id = newThreadId();
  std::shared_ptr<MessageQueue> queue = std::make_shared<MessageQueue>();
  ThreadQueue() { directory().add(id, queue); }
  ~ThreadQueue() {
    directory().remove(id);
    queue->close();
  }
};

ThreadQueue& threadQueue() {
  thread_local ThreadQueue holder;
  return holder;
}

}  // namespace

std::shared_ptr<MessageQueue> MessageQueue::current() { return threadQueue().queue; }

bool MessageQueue::post(std::function<void()> call) {
  {
    std::lock_guard lock(mutex_);
    if (!closed_) {
      posted_.push_back(std::move(call));
      arrived_.notify_all();
      return true;
    }
  }
  return false;  // call is destroyed here, outside the lock
}

UINT_PTR MessageQueue::setTimer(UINT period, TIMERPROC proc) {
  period = std::clamp(period, USER_TIMER_MINIMUM, USER_TIMER_MAXIMUM);
  std::lock_guard lock(mutex_);
  const UINT_PTR id = nextTimerId_++;
  if (nextTimerId_ == 0) nextTimerId_ = 1;
  timers_.push_back({id, period, proc, clock().monotonicMs() + period});
  return id;
}

bool MessageQueue::killTimer(UINT_PTR id) {
  std::lock_guard lock(mutex_);
  auto it = std::find_if(timers_.begin(), timers_.end(), [&](const Timer& t) { return t.id == id; });
  if (it == timers_.end()) return false;
  timers_.erase(it);
  return true;
}

std::size_t MessageQueue::timerCount() const {
  std::lock_guard lock(mutex_);
  return timers_.size();
}

bool MessageQueue::timerDueLocked(std::int64_t now) const {
  return std::any_of(timers_.begin(), timers_.end(), [&](const Timer& t) { return t.due <= now; });
}

std::int64_t MessageQueue::nextDueLocked() const {
  std::int64_t next = std::numeric_limits<std::int64_t>::max();
  for (const auto& t : timers_) next = std::min(next, t.due);
  return next;
}

bool MessageQueue::hasWaiting() const {
  std::lock_guard lock(mutex_);
  return !posted_.empty() || timerDueLocked(clock().monotonicMs());
}

void MessageQueue::pump() {
  std::deque<std::function<void()>> calls;
  {
    std::lock_guard lock(mutex_);
    calls.swap(posted_);
  }
  for (auto& call : calls) call();

  std::vector<UINT_PTR> due;
  {
    std::lock_guard lock(mutex_);
    const std::int64_t now = clock().monotonicMs();
    for (const auto& t : timers_)
      if (t.due <= now) due.push_back(t.id);
  }
  for (UINT_PTR id : due) {
    TIMERPROC proc = nullptr;
    std::int64_t now = 0;
    {
      std::lock_guard lock(mutex_);
      auto it = std::find_if(timers_.begin(), timers_.end(), [&](const Timer& t) { return t.id == id; });
      if (it == timers_.end()) continue;  // killed by an earlier tick of this pass
      now = clock().monotonicMs();
      it->due = now + it->period;  // ticks that fell due meanwhile coalesce into this one
      proc = it->proc;
    }
    proc(0, WM_TIMER, id, static_cast<DWORD>(now));
  }
}

bool MessageQueue::wait(std::uint32_t boundMs) {
  std::unique_lock lock(mutex_);
  const std::int64_t now = clock().monotonicMs();
  const std::int64_t deadline = std::min(now + static_cast<std::int64_t>(boundMs), nextDueLocked());
  auto ready = [&] { return !posted_.empty() || timerDueLocked(clock().monotonicMs()); };
  if (ready()) return true;
  return clock().waitUntil(lock, arrived_, deadline, ready);
}

void MessageQueue::close() {
  std::deque<std::function<void()>> dropped;
  {
    std::lock_guard lock(mutex_);
    closed_ = true;
    dropped.swap(posted_);
    timers_.clear();
  }
}

UINT_PTR SetTimer(HWND hwnd, UINT_PTR, UINT elapse, TIMERPROC proc) {
  if (hwnd != 0 || proc == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  return MessageQueue::current()->setTimer(elapse, proc);
}

BOOL KillTimer(HWND hwnd, UINT_PTR id) {
  if (hwnd != 0 || !MessageQueue::current()->killTimer(id)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  return TRUE;
}

DWORD GetCurrentThreadId() { return threadQueue().id; }

BOOL PostThreadMessage(DWORD idThread, UINT Msg, WPARAM, LPARAM lParam) {
  auto* call = reinterpret_cast<ThreadCall*>(lParam);
  if (Msg != WM_TOV_THREADCALL || call == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const std::shared_ptr<MessageQueue> queue = directory().find(idThread);
  // The queued message owns the call from here; a refused post hands it back to the poster.
  auto owned = std::make_shared<std::unique_ptr<ThreadCall>>(call);
  if (queue && queue->post([owned] { (*owned)->run(); })) return TRUE;
  owned->release();
  SetLastError(ERROR_INVALID_THREAD_ID);
  return FALSE;
}

void PumpMessages() { MessageQueue::current()->pump(); }

}  // namespace tov::platform
