#include <tovport/platform/serial_memory.h>

#include <algorithm>
#include <climits>

#include "platform/clock.h"
#include "platform/serial_timeouts.h"

namespace tov::platform {

// --- the test's side -------------------------------------------------------------------------

void SimulatedPort::setPresent(bool present) {
  std::lock_guard lock(mutex_);
  present_ = present;
}

void SimulatedPort::setBusy(bool busy) {
  std::lock_guard lock(mutex_);
  busy_ = busy;
}

void SimulatedPort::unplug() {
  {
    std::lock_guard lock(mutex_);
    present_ = false;
    ++unplugs_;
  }
  arrived_.notify_all();
}

bool SimulatedPort::isOpen() const {
  std::lock_guard lock(mutex_);
  return open_;
}

int SimulatedPort::openCount() const {
  std::lock_guard lock(mutex_);
  return openCount_;
}

void SimulatedPort::deliver(std::string_view bytes, std::int64_t delayMs) {
  {
    std::lock_guard lock(mutex_);
    const std::int64_t at = clock().monotonicMs() + std::max<std::int64_t>(delayMs, 0);
    // Stable order: equal times arrive in the order they were scheduled.
    const auto pos = std::upper_bound(scheduled_.begin(), scheduled_.end(), at,
                                      [](std::int64_t t, const Scheduled& s) { return t < s.at; });
    scheduled_.insert(pos, Scheduled{at, std::string(bytes)});
    if (delayMs <= 0) deliverDue(at);
  }
  arrived_.notify_all();
}

void SimulatedPort::setPeer(Peer peer) {
  std::lock_guard lock(mutex_);
  peer_ = std::move(peer);
}

std::string SimulatedPort::output() const {
  std::lock_guard lock(mutex_);
  return output_;
}

std::size_t SimulatedPort::inputWaiting() const {
  std::lock_guard lock(mutex_);
  return input_.size();
}

void SimulatedPort::setModemLines(DWORD lines) {
  {
    std::lock_guard lock(mutex_);
    modemLines_ = lines;
  }
  arrived_.notify_all();  // CTS may release a held write
}

void SimulatedPort::raiseErrors(DWORD flags) {
  std::lock_guard lock(mutex_);
  errorFlags_ |= flags;
}

bool SimulatedPort::rts() const {
  std::lock_guard lock(mutex_);
  return rts_;
}
bool SimulatedPort::dtr() const {
  std::lock_guard lock(mutex_);
  return dtr_;
}
bool SimulatedPort::breakOn() const {
  std::lock_guard lock(mutex_);
  return break_;
}
bool SimulatedPort::transmitHeld() const {
  std::lock_guard lock(mutex_);
  return transmitHeld_;
}
DCB SimulatedPort::state() const {
  std::lock_guard lock(mutex_);
  return dcb_;
}
COMMTIMEOUTS SimulatedPort::timeouts() const {
  std::lock_guard lock(mutex_);
  return timeouts_;
}
DWORD SimulatedPort::inQueueSize() const {
  std::lock_guard lock(mutex_);
  return inQueue_;
}
DWORD SimulatedPort::outQueueSize() const {
  std::lock_guard lock(mutex_);
  return outQueue_;
}
std::vector<DWORD> SimulatedPort::purges() const {
  std::lock_guard lock(mutex_);
  return purges_;
}
std::vector<DWORD> SimulatedPort::escapes() const {
  std::lock_guard lock(mutex_);
  return escapes_;
}

void SimulatedPort::failNext(SerialOp op, DWORD code, int times) {
  std::lock_guard lock(mutex_);
  failures_[op] = Failure{code, std::max(times, 1)};
}

void SimulatedPort::failAlways(SerialOp op, DWORD code) {
  std::lock_guard lock(mutex_);
  failures_[op] = Failure{code, -1};
}

void SimulatedPort::clearFailures() {
  std::lock_guard lock(mutex_);
  failures_.clear();
}

void SimulatedPort::pendNext(SerialOp op, std::vector<DWORD> outcomes) {
  std::lock_guard lock(mutex_);
  Pending pending;
  pending.op = op;
  pending.outcomes = outcomes.empty() ? std::vector<DWORD>{ERROR_SUCCESS} : std::move(outcomes);
  pendings_.push_back(std::move(pending));
}

// --- helpers (lock held) ---------------------------------------------------------------------

DWORD SimulatedPort::injectedFailure(SerialOp op) {
  const auto it = failures_.find(op);
  if (it == failures_.end()) return ERROR_SUCCESS;
  const DWORD code = it->second.code;
  if (it->second.remaining > 0 && --it->second.remaining == 0) failures_.erase(it);
  return code;
}

void SimulatedPort::deliverDue(std::int64_t now) {
  auto due = scheduled_.begin();
  for (; due != scheduled_.end() && due->at <= now; ++due) input_.insert(input_.end(), due->bytes.begin(), due->bytes.end());
  scheduled_.erase(scheduled_.begin(), due);
}

std::int64_t SimulatedPort::nextArrival() const {
  return scheduled_.empty() ? INT64_MAX : scheduled_.front().at;
}

DWORD SimulatedPort::take(char* out, DWORD max) {
  const DWORD n = static_cast<DWORD>(std::min<std::size_t>(max, input_.size()));
  std::copy_n(input_.begin(), n, out);
  input_.erase(input_.begin(), input_.begin() + n);
  return n;
}

bool SimulatedPort::transmitBlocked() const {
  return transmitHeld_ || (getBits(dcb_, fOutxCtsFlow) != 0 && (modemLines_ & MS_CTS_ON) == 0);
}

// --- the program's side ----------------------------------------------------------------------

class SimulatedDevice final : public SerialDevice {
 public:
  explicit SimulatedDevice(std::shared_ptr<SimulatedPort> port) : port_(std::move(port)), p_(*port_) {
    unplugs_ = p_.unplugs_;
  }

  DWORD setupComm(DWORD inQueue, DWORD outQueue) override {
    return withPort(SerialOp::SetupComm, [&] {
      p_.inQueue_ = inQueue;
      p_.outQueue_ = outQueue;
    });
  }

  DWORD purge(DWORD flags) override {
    return withPort(SerialOp::Purge, [&] {
      p_.purges_.push_back(flags);
      if ((flags & (PURGE_RXABORT | PURGE_RXCLEAR)) != 0) p_.input_.clear();
    });
  }

  DWORD setTimeouts(const COMMTIMEOUTS& t) override {
    return withPort(SerialOp::SetTimeouts, [&] { p_.timeouts_ = t; });
  }

  DWORD getTimeouts(COMMTIMEOUTS& t) override {
    return withPort(SerialOp::GetTimeouts, [&] { t = p_.timeouts_; });
  }

  DWORD getState(DCB& dcb) override {
    return withPort(SerialOp::GetState, [&] { dcb = p_.dcb_; });
  }

  DWORD setState(const DCB& dcb) override {
    const DWORD error = withPort(SerialOp::SetState, [&] {
      p_.dcb_ = dcb;
      p_.dtr_ = dtrRaisedBy(dcb);
      p_.rts_ = rtsRaisedBy(dcb);
    });
    p_.arrived_.notify_all();  // flow control may have changed
    return error;
  }

  DWORD read(void* buffer, DWORD toRead, DWORD& read) override {
    std::unique_lock lock(p_.mutex_);
    if (const DWORD error = check(SerialOp::Read)) return error;
    if (startPending(SerialOp::Read, buffer, nullptr, toRead)) return ERROR_IO_PENDING;
    if (toRead == 0) return ERROR_SUCCESS;
    Clock& clk = clock();
    auto* out = static_cast<char*>(buffer);
    ReadDeadline deadline(p_.timeouts_, toRead, clk.monotonicMs());
    for (;;) {
      const std::int64_t now = clk.monotonicMs();
      p_.deliverDue(now);
      if (const DWORD got = p_.take(out + read, toRead - read); got > 0) {
        read += got;
        deadline.bytesArrived(now);
      }
      if (read == toRead || deadline.expired(read, now)) return ERROR_SUCCESS;
      if (!connected()) return ERROR_DEVICE_NOT_CONNECTED;
      const std::int64_t wake = std::min(deadline.wakeAt().value_or(INT64_MAX), p_.nextArrival());
      const auto woken = [&] { return !p_.input_.empty() || !connected() || p_.nextArrival() < wake; };
      if (wake == INT64_MAX)
        p_.arrived_.wait(lock, woken);
      else
        clk.waitUntil(lock, p_.arrived_, wake, woken);
    }
  }

  // Writes go out at once unless flow control holds the transmitter, in which case the write
  // waits for release up to its total timeout and then succeeds with nothing written.
  DWORD write(const void* buffer, DWORD toWrite, DWORD& written) override {
    std::unique_lock lock(p_.mutex_);
    if (const DWORD error = check(SerialOp::Write)) return error;
    const std::string_view bytes(static_cast<const char*>(buffer), toWrite);
    if (startPending(SerialOp::Write, nullptr, &bytes, toWrite)) return ERROR_IO_PENDING;
    if (p_.transmitBlocked()) {
      const auto released = [&] { return !p_.transmitBlocked() || !connected(); };
      if (const auto timeout = writeTimeoutMs(p_.timeouts_, toWrite)) {
        Clock& clk = clock();
        if (!clk.waitUntil(lock, p_.arrived_, clk.monotonicMs() + *timeout, released)) return ERROR_SUCCESS;
      } else {
        p_.arrived_.wait(lock, released);
      }
      if (!connected()) return ERROR_DEVICE_NOT_CONNECTED;
    }
    written = toWrite;
    transmit(lock, bytes);
    return ERROR_SUCCESS;
  }

  DWORD clearError(DWORD& errors, COMSTAT& status) override {
    return withPort(SerialOp::ClearError, [&] {
      p_.deliverDue(clock().monotonicMs());
      errors = p_.errorFlags_;
      p_.errorFlags_ = 0;
      status.fBitFields = 0;
      if (getBits(p_.dcb_, fOutxCtsFlow) != 0 && (p_.modemLines_ & MS_CTS_ON) == 0) status.fBitFields |= 0x1;
      if (p_.transmitHeld_) status.fBitFields |= 0x8;  // fXoffHold
      status.cbInQue = static_cast<DWORD>(p_.input_.size());
      status.cbOutQue = 0;
    });
  }

  DWORD modemStatus(DWORD& status) override {
    return withPort(SerialOp::ModemStatus, [&] { status = p_.modemLines_; });
  }

  DWORD escape(DWORD function) override {
    const DWORD error = withPort(SerialOp::Escape, [&] {
      p_.escapes_.push_back(function);
      switch (function) {
        case SETXOFF: p_.transmitHeld_ = true; break;
        case SETXON: p_.transmitHeld_ = false; break;
        case SETRTS: p_.rts_ = true; break;
        case CLRRTS: p_.rts_ = false; break;
        case SETDTR: p_.dtr_ = true; break;
        case CLRDTR: p_.dtr_ = false; break;
        case SETBREAK: p_.break_ = true; break;
        case CLRBREAK: p_.break_ = false; break;
        default: break;  // RESETDEV: nothing to reset
      }
    });
    p_.arrived_.notify_all();
    return error;
  }

  DWORD close() override {
    std::lock_guard lock(p_.mutex_);
    if (const DWORD error = p_.injectedFailure(SerialOp::Close)) return error;
    p_.open_ = false;
    return ERROR_SUCCESS;
  }

  DWORD overlappedResult(DWORD& transferred, bool) override {
    std::unique_lock lock(p_.mutex_);
    SimulatedPort::Pending& pending = p_.current_;
    if (!pending.started) return ERROR_SUCCESS;
    const DWORD outcome = pending.outcomes[std::min(pending.next, pending.outcomes.size() - 1)];
    ++pending.next;
    if (outcome != ERROR_SUCCESS) return outcome;
    if (!pending.done) {
      pending.done = true;
      if (pending.op == SerialOp::Read) {
        p_.deliverDue(clock().monotonicMs());
        pending.transferred = p_.take(static_cast<char*>(pending.readBuffer), pending.count);
      } else {
        pending.transferred = pending.count;
        const std::string bytes = pending.writeBytes;
        transferred = pending.transferred;
        transmit(lock, bytes);
        return ERROR_SUCCESS;
      }
    }
    transferred = pending.transferred;
    return ERROR_SUCCESS;
  }

 private:
  bool connected() const { return p_.unplugs_ == unplugs_; }

  // Lock held: a disconnected device or an injected failure.
  DWORD check(SerialOp op) {
    if (!connected()) return ERROR_DEVICE_NOT_CONNECTED;
    return p_.injectedFailure(op);
  }

  template <class Action>
  DWORD withPort(SerialOp op, Action&& action) {
    std::lock_guard lock(p_.mutex_);
    if (const DWORD error = check(op)) return error;
    action();
    return ERROR_SUCCESS;
  }

  // Lock held: starts the armed pending transfer for op, if any.
  bool startPending(SerialOp op, void* readBuffer, const std::string_view* writeBytes, DWORD count) {
    const auto it = std::find_if(p_.pendings_.begin(), p_.pendings_.end(),
                                 [op](const SimulatedPort::Pending& pending) { return pending.op == op; });
    if (it == p_.pendings_.end()) return false;
    p_.current_ = std::move(*it);
    p_.pendings_.erase(it);
    p_.current_.started = true;
    p_.current_.readBuffer = readBuffer;
    p_.current_.count = count;
    if (writeBytes != nullptr) p_.current_.writeBytes = std::string(*writeBytes);
    return true;
  }

  // Logs the bytes and hands them to the peer with the lock released, so the peer may deliver.
  void transmit(std::unique_lock<std::mutex>& lock, std::string_view bytes) {
    p_.output_.append(bytes);
    const SimulatedPort::Peer peer = p_.peer_;
    const std::string chunk(bytes);
    lock.unlock();
    if (peer) peer(p_, chunk);
  }

  std::shared_ptr<SimulatedPort> port_;  // keeps the port alive while the handle is open
  SimulatedPort& p_;
  int unplugs_ = 0;
};

SimulatedPort& MemorySerialBackend::port(int n) {
  std::lock_guard lock(mutex_);
  auto& slot = ports_[n];
  if (!slot) slot = std::make_shared<SimulatedPort>();
  return *slot;
}

std::unique_ptr<SerialDevice> MemorySerialBackend::open(int n, DWORD& error) {
  std::shared_ptr<SimulatedPort> port;
  {
    std::lock_guard lock(mutex_);
    const auto it = ports_.find(n);
    if (it != ports_.end()) port = it->second;
  }
  error = ERROR_FILE_NOT_FOUND;
  if (!port) return nullptr;
  std::lock_guard lock(port->mutex_);
  if (!port->present_) return nullptr;
  if ((error = port->injectedFailure(SerialOp::Open)) != ERROR_SUCCESS) return nullptr;
  if (port->busy_ || port->open_) {
    error = ERROR_ACCESS_DENIED;
    return nullptr;
  }
  port->open_ = true;
  ++port->openCount_;
  port->current_ = SimulatedPort::Pending{};
  port->dtr_ = dtrRaisedBy(port->dcb_);
  port->rts_ = rtsRaisedBy(port->dcb_);
  port->break_ = false;
  port->transmitHeld_ = false;
  return std::make_unique<SimulatedDevice>(std::move(port));
}

}  // namespace tov::platform
