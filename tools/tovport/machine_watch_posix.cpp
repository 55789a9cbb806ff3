// Linux: the ports come from sysfs, their changes from inotify on the folder of the device nodes
// (devtmpfs reports a node made or removed, and udev setting its owner and mode; sysfs itself
// reports nothing), and the stop signals from a signalfd.
#include "machine_watch.h"

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "host_platform.h"
#include "platform/machine_ports.h"
#include "platform/posix/sysfs_serial.h"
#include <tovport/platform/message_queue.h>

namespace tovport_cli {

namespace fs = std::filesystem;

// A descriptor owned for the watch's lifetime (outside the unnamed namespace: PortNotices::Waiter
// holds them).
class Descriptor {
 public:
  explicit Descriptor(int fd, const std::string& what) : fd_(fd) {
    if (fd_ < 0) throw std::runtime_error(what + ": " + std::strerror(errno));
  }
  ~Descriptor() { ::close(fd_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }
  // Reads until nothing is left: what was read only says that something happened.
  void drain() const {
    alignas(inotify_event) char buffer[4096];
    while (::read(fd_, buffer, sizeof buffer) > 0) {
    }
  }

 private:
  int fd_;
};

namespace {

sigset_t stopSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  return signals;
}

// Blocks the stop signals on this thread, which every thread it starts inherits, and gives the
// descriptor to read them from.
int blockStopSignals() {
  const sigset_t signals = stopSignals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

}  // namespace

struct MachinePorts::State {
  MachineFolders folders;
  tov::platform::ComPortNumbering numbering;
  std::vector<tov::platform::SerialPortDevice> ports;  // the last scan
};

MachinePorts::MachinePorts(const HostOptions& options) {
  if (!options.registryFiles.empty() || !options.maps.empty())
    throw UsageError("watch describes this machine as its ports come and go; it takes no --registry or --map");
  state_ = std::make_unique<State>(State{machineFolders(options), {}, {}});
}

MachinePorts::~MachinePorts() = default;

// A tty whose node is not (or no longer) there cannot be opened: it counts once its node exists.
PortMap MachinePorts::scan() {
  auto ports = tov::platform::findSerialPorts(state_->folders.sysfs, state_->folders.dev);
  std::erase_if(ports, [](const tov::platform::SerialPortDevice& p) {
    std::error_code ec;
    return !fs::exists(fs::symlink_status(p.path, ec));
  });
  state_->numbering.number(ports);
  PortMap present;
  for (const auto& p : ports)
    if (p.com != 0) present[p.com] = p.path;
  state_->ports = std::move(ports);
  return present;
}

void MachinePorts::publish() {
  std::lock_guard lock(discovery_);
  HostPlatform::current().describeMachine(state_->ports);
}

struct PortNotices::Waiter {
  Descriptor signals{blockStopSignals(), "signalfd"};
  Descriptor changes{inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify"};
  Descriptor quit{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd"};
  std::atomic<bool> quitting{false};  // seen within kIdleWait even if the wake-up were lost
  std::thread thread;

  void run(const std::shared_ptr<tov::platform::MessageQueue>& owner, const std::function<void()>& changed,
           const std::function<void()>& stop) {
    Debounce burst(kNoticeQuiet, kNoticeBurstLongest);
    for (;;) {
      pollfd fds[] = {{quit.get(), POLLIN, 0}, {signals.get(), POLLIN, 0}, {changes.get(), POLLIN, 0}};
      const auto wait = burst.wait(Debounce::Clock::now(), kIdleWait);
      if (::poll(fds, 3, static_cast<int>(wait.count())) < 0 && errno != EINTR) return;
      if (fds[0].revents != 0 || quitting) return;
      if (fds[1].revents != 0) {
        signals.drain();
        owner->post(stop);
      }
      if (fds[2].revents != 0) {
        changes.drain();
        burst.notice(Debounce::Clock::now());
      }
      if (burst.due(Debounce::Clock::now())) owner->post(changed);
    }
  }
};

PortNotices::PortNotices(const HostOptions& options, std::function<void()> changed, std::function<void()> stop)
    : waiter_(std::make_unique<Waiter>()) {
  const std::string dev = machineFolders(options).dev;
  if (inotify_add_watch(waiter_->changes.get(), dev.c_str(),
                        IN_CREATE | IN_DELETE | IN_ATTRIB | IN_MOVED_FROM | IN_MOVED_TO) < 0)
    throw std::runtime_error("cannot watch " + dev + ": " + std::strerror(errno));
  waiter_->thread = std::thread([waiter = waiter_.get(), owner = tov::platform::MessageQueue::current(),
                                 changed = std::move(changed), stop = std::move(stop)] {
    waiter->run(owner, changed, stop);
  });
}

// The stop signals stay blocked: one that comes during the shutdown is left unread, not fatal.
PortNotices::~PortNotices() {
  waiter_->quitting = true;
  const std::uint64_t one = 1;
  [[maybe_unused]] const ssize_t woken = ::write(waiter_->quit.get(), &one, sizeof one);  // else within kIdleWait
  waiter_->thread.join();
}

}  // namespace tovport_cli
