#include <tovport/platform/message_queue.h>

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <limits>
#include <map>
#include <utility>
#include <vector>

#include "platform/clock.h"
#include "platform/last_error.h"
#include "platform/message_queue_system.h"
#include "platform/thread_state.h"

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

// The thread's record: its id and queue, made on first use, and the parts of its state
// (thread_state.h). It lives on the heap behind a thread-specific key whose destructor receives
// it directly and ends it on the thread: the state first, then the queue, which is closed so that
// posts from elsewhere fail instead of waiting forever for a pump that will not come.
struct ThreadRecord {
  DWORD id = 0;
  std::shared_ptr<MessageQueue> queue;
  std::vector<std::pair<const void*, std::unique_ptr<ThreadStatePart>>> parts;
};

void endThread(void* record);

pthread_key_t recordKey() {
  static const pthread_key_t key = [] {
    pthread_key_t k;
    pthread_key_create(&k, endThread);
    return k;
  }();
  return key;
}

ThreadRecord& threadRecord() {
  auto* record = static_cast<ThreadRecord*>(pthread_getspecific(recordKey()));
  if (record == nullptr) {
    record = new ThreadRecord;
    pthread_setspecific(recordKey(), record);
  }
  return *record;
}

// The parts go one at a time, the one made last first; a destructor may still reach the
// thread's state, and may even make a part, which then ends too.
void endParts(ThreadRecord& record) {
  while (!record.parts.empty()) {
    std::unique_ptr<ThreadStatePart> part = std::move(record.parts.back().second);
    record.parts.pop_back();
    part.reset();
  }
}

void endThread(void* p) {
  auto* record = static_cast<ThreadRecord*>(p);
  if (record == nullptr) return;  // winpthreads calls again for a value set back to null
  // The key was cleared before this call; what runs from here on still finds the record.
  pthread_setspecific(recordKey(), record);
  endParts(*record);
  if (record->queue) {
    directory().remove(record->id);
    record->queue->close();  // drops the posted calls, and what they held
  }
  endParts(*record);
  pthread_setspecific(recordKey(), nullptr);
  delete record;
}

}  // namespace

ThreadStatePart& threadStatePart(const void* tag, std::unique_ptr<ThreadStatePart> (*make)()) {
  ThreadRecord& record = threadRecord();
  for (auto& [partTag, part] : record.parts)
    if (partTag == tag) return *part;
  std::unique_ptr<ThreadStatePart> made = make();  // may itself reach the thread's state
  ThreadStatePart& part = *made;
  record.parts.emplace_back(tag, std::move(made));
  return part;
}

MessageQueue::MessageQueue() = default;
MessageQueue::~MessageQueue() = default;

std::shared_ptr<MessageQueue> MessageQueue::current() {
  ThreadRecord& record = threadRecord();
  if (!record.queue) {
    auto queue = std::make_shared<MessageQueue>();
    queue->system_ = SystemQueue::attach(*queue);
    record.id = newThreadId();
    record.queue = queue;
    directory().add(record.id, queue);
  }
  return record.queue;
}

bool MessageQueue::systemServes() const { return system_ != nullptr && !clock().isManual(); }

bool MessageQueue::post(std::function<void()> call) {
  {
    std::lock_guard lock(mutex_);
    if (!closed_) {
      posted_.push_back(std::move(call));
      arrived_.notify_all();
      if (system_) system_->wake();
      return true;
    }
  }
  return false;  // call is destroyed here, outside the lock
}

UINT_PTR MessageQueue::setTimer(UINT period, TIMERPROC proc) {
  period = std::clamp(period, USER_TIMER_MINIMUM, USER_TIMER_MAXIMUM);
  if (systemServes()) return system_->setTimer(period, proc);
  std::lock_guard lock(mutex_);
  const UINT_PTR id = nextTimerId_++;
  if (nextTimerId_ == 0) nextTimerId_ = 1;
  timers_.push_back({id, period, proc, clock().monotonicMs() + period});
  return id;
}

bool MessageQueue::killTimer(UINT_PTR id) {
  {
    std::lock_guard lock(mutex_);
    auto it = std::find_if(timers_.begin(), timers_.end(), [&](const Timer& t) { return t.id == id; });
    if (it != timers_.end()) {
      timers_.erase(it);
      return true;
    }
  }
  return system_ != nullptr && system_->killTimer(id);
}

std::size_t MessageQueue::timerCount() const {
  std::lock_guard lock(mutex_);
  return timers_.size() + (system_ ? system_->timerCount() : 0);
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
  {
    std::lock_guard lock(mutex_);
    if (!posted_.empty() || timerDueLocked(clock().monotonicMs())) return true;
  }
  return system_ != nullptr && system_->waiting();
}

void MessageQueue::runPosted() {
  std::deque<std::function<void()>> calls;
  {
    std::lock_guard lock(mutex_);
    calls.swap(posted_);
  }
  for (auto& call : calls) call();
}

void MessageQueue::pump() {
  // With a system queue the posted calls run through its wake message, in the order of the
  // system's messages, before timer ticks (which the system makes only when nothing else waits).
  if (system_)
    system_->dispatch();
  else
    runPosted();

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
  if (systemServes()) {
    // Posted calls wake the system's queue too, so one wait covers both.
    if (hasWaiting()) return true;
    return system_->wait(boundMs) || hasWaiting();
  }
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
    if (system_) system_->close();
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

DWORD GetCurrentThreadId() {
  MessageQueue::current();
  return threadRecord().id;
}

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
