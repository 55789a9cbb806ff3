// Simulated serial devices for tests and the demo. Each COM number may have a SimulatedPort that
// the test drives: present or missing, busy elsewhere, bytes arriving (now or later on the process
// clock), modem lines, error flags, injected failures and a scriptable peer that answers what is
// written. Reads wait on the process clock (clock.h): the manual clock jumps to the next arrival
// or timeout, the real clock really waits.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <tovport/platform/serial.h>
#include <tovport/platform/serial_dcb.h>

namespace tov::platform {

// The operations a test can make fail.
enum class SerialOp {
  Open, SetupComm, Purge, SetTimeouts, GetTimeouts, GetState, SetState,
  Read, Write, ClearError, ModemStatus, Escape, Close,
};

class SimulatedPort {
 public:
  // Called (without the port's lock) with each chunk a program writes; may call deliver().
  using Peer = std::function<void(SimulatedPort& port, std::string_view written)>;

  SimulatedPort() = default;
  SimulatedPort(const SimulatedPort&) = delete;
  SimulatedPort& operator=(const SimulatedPort&) = delete;

  // Presence: a missing port is not found (2); a busy one is open in another program (5). An
  // unplugged port goes missing and its open handle fails with 1167 (device not connected).
  void setPresent(bool present);
  void setBusy(bool busy);
  void unplug();
  bool isOpen() const;
  int openCount() const;  // successful opens so far

  // Bytes from the device: now, or delayMs after now on the process clock.
  void deliver(std::string_view bytes, std::int64_t delayMs = 0);
  void setPeer(Peer peer);
  std::string output() const;  // everything written to the device, in order
  std::size_t inputWaiting() const;

  // Modem lines the device shows (MS_CTS_ON, MS_DSR_ON, MS_RING_ON, MS_RLSD_ON).
  void setModemLines(DWORD lines);
  // Error flags (CE_*) for the next ClearCommError, which reports and clears them.
  void raiseErrors(DWORD flags);

  // What the program did to the device.
  bool rts() const;
  bool dtr() const;
  bool breakOn() const;
  bool transmitHeld() const;  // after SETXOFF until SETXON
  DCB state() const;
  COMMTIMEOUTS timeouts() const;
  DWORD inQueueSize() const;
  DWORD outQueueSize() const;
  std::vector<DWORD> purges() const;
  std::vector<DWORD> escapes() const;

  // Failures: the next `times` calls of op fail with code, or every call until cleared.
  void failNext(SerialOp op, DWORD code, int times = 1);
  void failAlways(SerialOp op, DWORD code);
  void clearFailures();
  // The next read or write (op) reports ERROR_IO_PENDING; GetOverlappedResult then returns the
  // queued codes in turn, whatever its wait flag. Code 0 completes the transfer at that moment
  // (a read takes what is buffered then); after the queue is used up the last outcome repeats.
  void pendNext(SerialOp op, std::vector<DWORD> outcomes);

 private:
  friend class SimulatedDevice;
  friend class MemorySerialBackend;
  struct Scheduled {
    std::int64_t at;
    std::string bytes;
  };
  struct Failure {
    DWORD code;
    int remaining;  // < 0: persistent
  };
  struct Pending {
    SerialOp op = SerialOp::Read;
    std::vector<DWORD> outcomes;
    std::size_t next = 0;
    void* readBuffer = nullptr;
    std::string writeBytes;
    DWORD count = 0;
    DWORD transferred = 0;
    bool started = false;
    bool done = false;
  };

  // The helpers below run with the lock held.
  DWORD injectedFailure(SerialOp op);
  void deliverDue(std::int64_t now);
  std::int64_t nextArrival() const;  // INT64_MAX when nothing is scheduled
  DWORD take(char* out, DWORD max);
  bool transmitBlocked() const;      // XOFF or CTS flow control with CTS off

  mutable std::mutex mutex_;
  std::condition_variable arrived_;
  bool present_ = true;
  bool busy_ = false;
  int unplugs_ = 0;  // a handle opened before an unplug stays disconnected
  bool open_ = false;
  int openCount_ = 0;
  std::deque<char> input_;
  std::vector<Scheduled> scheduled_;  // in delivery order
  std::string output_;
  Peer peer_;
  DWORD modemLines_ = 0;
  DWORD errorFlags_ = 0;
  bool rts_ = false;
  bool dtr_ = false;
  bool break_ = false;
  bool transmitHeld_ = false;
  DCB dcb_ = defaultDcb();
  COMMTIMEOUTS timeouts_{};
  DWORD inQueue_ = 0;
  DWORD outQueue_ = 0;
  std::vector<DWORD> purges_;
  std::vector<DWORD> escapes_;
  std::map<SerialOp, Failure> failures_;
  std::vector<Pending> pendings_;  // armed, not yet started
  Pending current_;                 // the transfer GetOverlappedResult reports on
};

class MemorySerialBackend final : public SerialBackend {
 public:
  // The port of COM number n, created present on first use.
  SimulatedPort& port(int n);
  std::unique_ptr<SerialDevice> open(int port, DWORD& error) override;

 private:
  std::mutex mutex_;
  std::map<int, std::shared_ptr<SimulatedPort>> ports_;
};

}  // namespace tov::platform
