#include "threads/worker_thread.h"

#include <chrono>
#include <future>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <tovport/automation/dispatch.h>
#include <tovport/automation/runtime_error.h>

namespace tov::threads {

using automation::BStr;
using automation::IDispatch;
using automation::Ref;
using automation::Variant;

void WorkerState::end() {
  std::lock_guard lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

bool WorkerState::ended() const {
  std::lock_guard lock(mutex_);
  return ended_;
}

Ref<IDispatch> WorkerState::target() const {
  std::lock_guard lock(mutex_);
  return Ref<IDispatch>(target_);
}

bool WorkerState::exited() const {
  std::lock_guard lock(mutex_);
  return exited_;
}

void WorkerState::settle() {
  std::lock_guard lock(mutex_);
  target_ = nullptr;
  settled_ = true;
  changed_.notify_all();
}

void WorkerState::waitForCall() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return settled_ || ended_; });
}

void WorkerState::markExited() {
  std::lock_guard lock(mutex_);
  exited_ = true;
}

namespace {

// How long a start waits for its worker to queue the call (a thread that is slow to run only
// gives up the port order).
constexpr int kQueueBoundMs = 5000;

// The marshalled call as it waits in the target thread's queue. It owns the target, so the
// reference goes where the call goes: released on the target's thread after the call, or with
// the queue when that thread ends first.
class CallMessage {
 public:
  CallMessage(std::shared_ptr<WorkerState> state, Ref<IDispatch> target, BStr method)
      : state_(std::move(state)), target_(std::move(target)), method_(std::move(method)) {}
  CallMessage(const CallMessage&) = delete;
  CallMessage& operator=(const CallMessage&) = delete;
  ~CallMessage() { state_->settle(); }

  void run() {
    if (state_->ended()) return;
    try {
      automation::callByName(*target_, method_, {Variant::byRef(&state_->argument())});
    } catch (const std::exception&) {
      // The error reaches the worker, which has nothing to do with it but end; it must not
      // escape into the target thread's message pump.
    }
    state_->settle();
  }

 private:
  std::shared_ptr<WorkerState> state_;
  Ref<IDispatch> target_;
  BStr method_;
};

// The worker's thread: queues the call on the target's thread, tells the starter that it did, and
// waits for the call to settle or for the end.
void runWorker(std::shared_ptr<WorkerState> state, platform::DWORD targetThread, std::shared_ptr<CallMessage> message,
               std::shared_ptr<std::promise<void>> queued) {
  auto call = std::make_unique<platform::ThreadCall>();
  call->run = [message] { message->run(); };
  message.reset();
  // A refused post leaves the call here: it is dropped with its message, which settles the worker.
  if (platform::PostThreadMessage(targetThread, platform::WM_TOV_THREADCALL, 0,
                                  reinterpret_cast<platform::LPARAM>(call.get())))
    call.release();
  call.reset();
  queued->set_value();
  state->waitForCall();
  state->markExited();
}

// Owns every worker thread of the process. A worker is never joined by the code that ends it
// (that code may run inside the worker's own call, while the worker waits for it): finished
// workers are joined when the next one starts, and the rest are ended and joined at exit.
class Reaper {
 public:
  ~Reaper() {
    std::vector<Entry> all;
    {
      std::lock_guard lock(mutex_);
      all.swap(entries_);
    }
    for (auto& e : all) e.state->end();
    for (auto& e : all) e.thread.join();
  }

  void add(std::shared_ptr<WorkerState> state, std::thread thread) {
    joinExited();
    std::lock_guard lock(mutex_);
    entries_.push_back({std::move(state), std::move(thread)});
  }

  std::size_t running() {
    joinExited();
    std::lock_guard lock(mutex_);
    return entries_.size();
  }

 private:
  struct Entry {
    std::shared_ptr<WorkerState> state;
    std::thread thread;
  };

  void joinExited() {
    std::vector<Entry> done;
    {
      std::lock_guard lock(mutex_);
      for (auto it = entries_.begin(); it != entries_.end();) {
        if (it->state->exited()) {
          done.push_back(std::move(*it));
          it = entries_.erase(it);
        } else {
          ++it;
        }
      }
    }
    for (auto& e : done) e.thread.join();  // only the thread's last few instructions are left
  }

  std::mutex mutex_;
  std::vector<Entry> entries_;
};

Reaper& reaper() {
  static Reaper instance;
  return instance;
}

}  // namespace

std::shared_ptr<WorkerState> startWorker(platform::DWORD targetThread, Ref<IDispatch> target, BStr method,
                                         Variant argument) {
  auto state = std::make_shared<WorkerState>(target.get(), std::move(argument));
  auto message = std::make_shared<CallMessage>(state, std::move(target), std::move(method));
  auto queued = std::make_shared<std::promise<void>>();
  std::future<void> posted = queued->get_future();
  Reaper& threads = reaper();
  try {
    threads.add(state, std::thread(runWorker, state, targetThread, std::move(message), std::move(queued)));
  } catch (const std::system_error&) {
    throw automation::RuntimeError(7);  // out of memory
  }
  // Workers queue their calls in the order they were started: the ports' work begins in port order.
  posted.wait_for(std::chrono::milliseconds(kQueueBoundMs));
  return state;
}

std::size_t runningWorkerCount() { return reaper().running(); }

}  // namespace tov::threads
