// One worker: a thread that makes a single call by name on a target object. The call is
// marshalled to the thread that started the worker (the target's apartment) and runs there when
// that thread pumps its messages; the worker waits for it the way a caller into a single-threaded
// apartment waits, but the wait can be ended from outside at any moment.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>

#include <tovport/automation/com.h>
#include <tovport/automation/idispatch.h>
#include <tovport/automation/variant.h>
#include <tovport/platform/message_queue.h>

namespace tov::threads {

class WorkerState {
 public:
  WorkerState(automation::IDispatch* target, automation::Variant argument)
      : target_(target), argument_(std::move(argument)) {}

  // Ends the worker: a call that has not run yet never runs, and the worker's wait ends.
  void end();
  bool ended() const;
  // The target while the call is outstanding (queued or running), Nothing afterwards.
  automation::Ref<automation::IDispatch> target() const;
  bool exited() const;

  // The worker's side.
  automation::Variant& argument() { return argument_; }  // touched only by the running call
  void settle();       // the call returned or was dropped: forget the target, wake the worker
  void waitForCall();  // until settled or ended
  void markExited();

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  automation::IDispatch* target_;  // kept alive by the queued call while set
  automation::Variant argument_;   // the worker's own copy, passed on by reference
  bool ended_ = false;
  bool settled_ = false;
  bool exited_ = false;
};

// Starts a worker that posts the call method(argument) on target to the thread targetThread, and
// returns once the call is queued there. The queued call holds the target, so it is released on
// that thread. Throws RuntimeError 7 when no thread can be created.
std::shared_ptr<WorkerState> startWorker(platform::DWORD targetThread, automation::Ref<automation::IDispatch> target,
                                         automation::BStr method, automation::Variant argument);

// Worker threads of the process that have not finished yet (for diagnosis and tests).
std::size_t runningWorkerCount();

}  // namespace tov::threads
