// Windows: the ports are the values of the system's serial device map, HARDWARE\DEVICEMAP\SERIALCOMM
// (device name = "COMn"), which the serial drivers keep; its changes come from
// RegNotifyChangeKeyValue, armed on DEVICEMAP with its subkeys so that a map created after the
// start is seen too; the stop request from the console's control events.
#include "machine_watch.h"

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/machine_ports.h"
#include <tovport/platform/message_queue.h>

// Last: windows.h macros would rewrite the platform headers.
#include <windows.h>

namespace tovport_cli {
namespace {

constexpr const char* kDeviceMap = "HARDWARE\\DEVICEMAP";
constexpr const char* kSerialMap = "HARDWARE\\DEVICEMAP\\SERIALCOMM";

// Set by the console's control handler (Ctrl-C, Ctrl-Break, closing the console), which runs on a
// thread of the system's.
std::atomic<HANDLE> stopRequested{nullptr};

BOOL WINAPI onControlEvent(DWORD) {
  const HANDLE event = stopRequested.load();
  if (event == nullptr) return FALSE;
  SetEvent(event);
  return TRUE;
}

class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle) {
    if (handle_ == nullptr) throw std::runtime_error("CreateEvent failed");
  }
  ~Handle() { CloseHandle(handle_); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

HANDLE newEvent() { return CreateEventA(nullptr, FALSE, FALSE, nullptr); }

}  // namespace

struct MachinePorts::State {};

MachinePorts::MachinePorts(const HostOptions&) {}
MachinePorts::~MachinePorts() = default;

PortMap MachinePorts::scan() {
  PortMap present;
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kSerialMap, 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS) return present;
  for (DWORD i = 0;; ++i) {
    char name[512];
    char data[256];
    DWORD nameSize = sizeof name;
    DWORD dataSize = sizeof data - 1;
    DWORD type = 0;
    const LONG status =
        RegEnumValueA(key, i, name, &nameSize, nullptr, &type, reinterpret_cast<BYTE*>(data), &dataSize);
    if (status == ERROR_NO_MORE_ITEMS) break;
    if (status != ERROR_SUCCESS || type != REG_SZ) continue;  // too long, or no port name
    data[dataSize] = '\0';
    if (const int port = tov::platform::comNumber(data)) present[port] = std::string(name, nameSize);
  }
  RegCloseKey(key);
  return present;
}

void MachinePorts::publish() {}

struct PortNotices::Waiter {
  Handle changed{newEvent()};
  Handle stop{newEvent()};
  Handle quit{newEvent()};
  HKEY deviceMap = nullptr;
  std::thread thread;

  ~Waiter() {
    if (deviceMap != nullptr) RegCloseKey(deviceMap);
  }

  // Each notice is given once: the watch is armed again before the map is read.
  bool arm() const {
    return RegNotifyChangeKeyValue(deviceMap, TRUE, REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET,
                                   changed.get(), TRUE) == ERROR_SUCCESS;
  }

  void run(const std::shared_ptr<tov::platform::MessageQueue>& owner, const std::function<void()>& onChanged,
           const std::function<void()>& onStop) {
    Debounce burst(kNoticeQuiet, kNoticeBurstLongest);
    const HANDLE events[] = {quit.get(), stop.get(), changed.get()};
    for (;;) {
      const auto wait = burst.wait(Debounce::Clock::now(), kIdleWait);
      const DWORD woken = WaitForMultipleObjects(3, events, FALSE, static_cast<DWORD>(wait.count()));
      if (woken == WAIT_OBJECT_0 || woken == WAIT_FAILED) return;
      if (woken == WAIT_OBJECT_0 + 1) owner->post(onStop);
      if (woken == WAIT_OBJECT_0 + 2) {
        arm();
        burst.notice(Debounce::Clock::now());
      }
      if (burst.due(Debounce::Clock::now())) owner->post(onChanged);
    }
  }
};

PortNotices::PortNotices(const HostOptions&, std::function<void()> changed, std::function<void()> stop)
    : waiter_(std::make_unique<Waiter>()) {
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kDeviceMap, 0, KEY_NOTIFY, &waiter_->deviceMap) != ERROR_SUCCESS ||
      !waiter_->arm())
    throw std::runtime_error(std::string("cannot watch HKLM\\") + kDeviceMap);
  stopRequested = waiter_->stop.get();
  SetConsoleCtrlHandler(onControlEvent, TRUE);
  waiter_->thread = std::thread([waiter = waiter_.get(), owner = tov::platform::MessageQueue::current(),
                                 changed = std::move(changed), stop = std::move(stop)] {
    waiter->run(owner, changed, stop);
  });
}

PortNotices::~PortNotices() {
  SetConsoleCtrlHandler(onControlEvent, FALSE);
  stopRequested = nullptr;
  SetEvent(waiter_->quit.get());
  waiter_->thread.join();
}

}  // namespace tovport_cli
