// The system's half of a thread's MessageQueue, where the system has thread message queues
// (message_queue_win32.cpp; message_queue_posix.cpp has none). Only the queue's sources include this.
#pragma once

#include <cstdint>
#include <memory>

#include <tovport/platform/message_queue.h>

namespace tov::platform {

class SystemQueue {
 public:
  // The calling thread's system queue, bound to owner; null where there is none.
  static std::unique_ptr<SystemQueue> attach(MessageQueue& owner);

  virtual ~SystemQueue() = default;
  // Any thread, with the owner's lock held: a call was posted; have the owner run it.
  virtual void wake() = 0;
  // The owner's thread from here on.
  virtual void dispatch() = 0;                  // the system messages waiting, timer ticks among them
  virtual bool waiting() const = 0;             // whether a system message waits
  virtual bool wait(std::uint32_t ms) = 0;      // until a system message waits or ms pass
  virtual UINT_PTR setTimer(UINT period, TIMERPROC proc) = 0;  // 0 when the system refuses
  virtual bool killTimer(UINT_PTR id) = 0;
  virtual std::size_t timerCount() const = 0;
  virtual void close() = 0;  // with the owner's lock held: no more wakes, timers killed
};

}  // namespace tov::platform
