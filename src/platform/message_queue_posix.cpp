// A POSIX thread has no system message queue: MessageQueue alone carries calls and timers.
#include "platform/message_queue_system.h"

namespace tov::platform {

std::unique_ptr<SystemQueue> SystemQueue::attach(MessageQueue&) { return nullptr; }

}  // namespace tov::platform
