// The machine's COM ports as `watch` follows them: what the system lists now, what the component's
// discovery is shown, and a thread that waits for the system's notices of change.
#pragma once

#include <functional>
#include <memory>
#include <mutex>

#include "command.h"
#include "port_changes.h"

namespace tovport_cli {

class MachinePorts {
 public:
  // Linux: refuses --registry and --map (UsageError): watch describes the machine itself.
  explicit MachinePorts(const HostOptions& options);
  ~MachinePorts();
  MachinePorts(const MachinePorts&) = delete;
  MachinePorts& operator=(const MachinePorts&) = delete;

  // The ports present now. Linux: the serial devices sysfs lists whose device node exists,
  // numbered so that the ports present keep their numbers (ComPortNumbering); the path is the
  // node. Windows: the system's serial device map, the path its device name ("\Device\VCP1").
  PortMap scan();
  // Shows the component's next discovery the ports of the last scan. Linux: the view of the
  // machine and the devices of its ports are described afresh, under discovery(). Windows keeps
  // its registry itself.
  void publish();
  // Held by a component thread while its discovery reads the view, and by publish.
  std::mutex& discovery() { return discovery_; }

  struct State;

 private:
  std::unique_ptr<State> state_;
  std::mutex discovery_;
};

// Waits on a thread of its own for the system's notices of port changes and for the request to
// stop (SIGINT or SIGTERM on Linux, a console control event on Windows), and posts changed (once
// per burst of notices) or stop to the message queue of the thread that creates it. Linux: SIGINT
// and SIGTERM are blocked from then on, for every thread started later too, and read here.
// Destruction ends and joins the thread.
class PortNotices {
 public:
  PortNotices(const HostOptions& options, std::function<void()> changed, std::function<void()> stop);
  ~PortNotices();
  PortNotices(const PortNotices&) = delete;
  PortNotices& operator=(const PortNotices&) = delete;

  struct Waiter;

 private:
  std::unique_ptr<Waiter> waiter_;
};

// The notices of a burst within this quiet time, or this long after its first, make one change.
inline constexpr Debounce::Duration kNoticeQuiet{150};
inline constexpr Debounce::Duration kNoticeBurstLongest{500};
// The longest wait of the threads for anything, so that nothing blocks without a bound.
inline constexpr Debounce::Duration kIdleWait{1000};

}  // namespace tovport_cli
