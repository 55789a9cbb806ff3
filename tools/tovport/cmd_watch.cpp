// tovport watch [--no-detect]: the machine's COM ports reported as they come and go, and the
// phones on them detected, until SIGINT or SIGTERM (Ctrl-C on Windows).
//
// The main thread follows the ports: it rescans on each notice, reports the ports that went at
// once and the ports that came once their kinds are known, and queues their detections. The
// component's port table belongs to its thread and only DetectAllDevices refreshes it, so every
// question about new ports runs on a component thread of its own (an apartment of its own on
// Windows): it creates the component, asks, pumps its own messages until its request's end mark,
// and ends; the main thread joins it. Kinds are asked at once, beside a running detection;
// detections run one at a time, in the order their ports came.
#include <atomic>
#include <deque>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <syncstream>
#include <thread>

#include <tovport/automation/convert.h>
#include <tovport/component/types.h>
#include <tovport/platform/message_queue.h>
#include "component_host.h"
#include "event_printer.h"
#include "machine_watch.h"
#include "summary.h"
#include "value_text.h"

namespace tovport_cli {
namespace {

using tov::automation::callByName;
using tov::automation::IDispatch;
using tov::automation::toBool;
using Call = RequestScope::Call;

struct Port {
  int number = 0;
  std::string path;
  auto operator<=>(const Port&) const = default;
};

// A port as reported, with its kind; none beyond COM32 (out of the component's reach) or when the
// discovery failed.
struct KnownPort {
  Port port;
  std::optional<std::int32_t> kind;
};

std::string portLine(const char* event, const KnownPort& p, bool json, bool withKind) {
  std::string line = json ? std::string("{\"event\":\"") + event + "\",\"PortNr\":" + std::to_string(p.port.number) +
                                ",\"path\":" + jsonString(p.port.path)
                          : std::string(event) + " PortNr=" + std::to_string(p.port.number) +
                                " path=" + jsonString(p.port.path);
  if (withKind) {
    const std::string kind = p.kind ? memberName("ComPortType", *p.kind) : "";
    line += json ? ",\"kind\":" + (p.kind ? jsonString(kind) : std::string("null")) : p.kind ? " kind=" + kind : "";
  }
  return json ? line + "}" : line;
}

class Watch {
 public:
  Watch(const HostOptions& options, bool detect) : options_(options), detect_(detect), machine_(options) {}

  int run() {
    PortNotices notices(options_, [this] { rescan(); }, [this] { stopRequested_ = true; });
    // Held for the whole watch, so that the server module stays loaded while component threads
    // come and go (unloading it would end its worker threads from inside the system's loader);
    // a component that cannot be created ends the watch here.
    const auto keeper = createComponent();
    present_ = machine_.scan();
    machine_.publish();
    askKinds(present_, true);
    while (!stopRequested_) pumpMessages(static_cast<int>(kIdleWait.count()));
    // Every component thread sees stopping_ within a pump (100 ms), stops its workers and ends.
    stopping_ = true;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!threads_.empty() && std::chrono::steady_clock::now() < deadline) pumpMessages(100);
    for (auto& [id, thread] : threads_) thread.join();
    return 0;
  }

 private:
  void print(const std::string& line) { std::osyncstream(std::cout) << line << std::endl; }

  // The main thread's answer to a burst of notices.
  void rescan() {
    if (stopping_) return;
    const PortMap now = machine_.scan();
    const PortChanges changes = comparePorts(present_, now);
    present_ = now;
    if (changes.removed.empty() && changes.added.empty()) return;
    machine_.publish();
    for (const auto& [number, path] : changes.removed) {
      const Port port{number, path};
      std::erase_if(waiting_, [&](const Port& waiting) { return waiting == port; });
      if (announced_.erase(port)) print(portLine("PortRemoved", {port, {}}, options_.json, false));
    }
    if (!changes.added.empty()) askKinds(changes.added, false);
  }

  // The kinds of new ports, from a fresh discovery on a component thread; the ports are reported
  // when the answer comes back here.
  void askKinds(const PortMap& ports, bool start) {
    startThread([this, ports, start] {
      std::vector<KnownPort> known;
      for (const auto& [number, path] : ports) known.push_back({{number, path}, {}});
      try {
        auto component = createComponent();
        std::lock_guard discovering(machine_.discovery());
        for (auto& p : known)
          if (p.port.number <= tov::MaxPorts)
            p.kind = tov::automation::toI4(
                callByName(*component, u"GetComPortType", {static_cast<std::int16_t>(p.port.number)}));
      } catch (const std::exception& e) {
        std::cerr << errorText(e) << std::endl;
      }
      owner_->post([this, known = std::move(known), start] { announce(known, start); });
    });
  }

  // A port that went before its kind came back is reported neither way.
  void announce(const std::vector<KnownPort>& ports, bool start) {
    for (const auto& p : ports) {
      const auto present = present_.find(p.port.number);
      if (present == present_.end() || present->second != p.port.path || !announced_.insert(p.port).second) continue;
      print(portLine("PortAdded", p, options_.json, true));
      const bool testable = p.kind && requestTests({Call::DetectPort, static_cast<std::int16_t>(p.port.number), {}},
                                                   p.port.number, static_cast<tov::ComPortType>(*p.kind));
      if (!start && testable) waiting_.push_back(p.port);
    }
    if (start) {
      if (detect_) waiting_.push_front({});
      started_ = true;
    }
    detectNext();
  }

  void detectNext() {
    if (!detect_ || !started_ || detecting_ || waiting_.empty() || stopping_) return;
    const Port next = waiting_.front();
    waiting_.pop_front();
    detecting_ = true;
    startThread([this, next] { detect(next); }, [this] {
      detecting_ = false;
      detectNext();
    });
  }

  // On the component thread: one request to its end mark, then its summary (text only). Port
  // number 0 is the start's DetectAllDevices.
  void detect(const Port& port) {
    std::osyncstream out(std::cout);
    out << std::emit_on_flush;
    const auto number = static_cast<std::int16_t>(port.number);
    const RequestScope scope{number == 0 ? Call::DetectAll : Call::DetectPort, number, {}};
    const auto finished = [&](IDispatch& component, const std::vector<HostEvent>& events) {
      if (options_.json) return;
      printSummary(out, component, scope, events, number == 0 ? SummaryForm::Full : SummaryForm::AnswerOnly);
      out << std::flush;
    };
    const auto request = [&](IDispatch& component) {
      std::unique_lock discovering(machine_.discovery());
      if (number == 0) return toBool(callByName(component, u"DetectAllDevices", {}));
      callByName(component, u"GetComPortType", {number});  // the thread's discovery, before the view changes
      discovering.unlock();
      return toBool(callByName(component, u"DetectDevice", {number}));
    };
    try {
      runRequest(options_, request, finished, {&out, [this] { return stopping_.load(); }});
    } catch (const std::exception& e) {
      std::cerr << errorText(e) << std::endl;
    }
  }

  // Runs work on a component thread, in an apartment of its own; its end comes back here, where
  // the thread is joined and then ended runs.
  void startThread(std::function<void()> work, std::function<void()> ended = {}) {
    const int id = nextThread_++;
    threads_[id] = std::thread([this, id, work = std::move(work), ended = std::move(ended)] {
      try {
        const ComponentApartment apartment;
        work();
      } catch (const std::exception& e) {
        std::cerr << errorText(e) << std::endl;
      }
      owner_->post([this, id, ended] {
        threads_.at(id).join();
        threads_.erase(id);
        if (ended) ended();
      });
    });
  }

  const HostOptions& options_;
  const bool detect_;
  MachinePorts machine_;
  const std::shared_ptr<tov::platform::MessageQueue> owner_ = tov::platform::MessageQueue::current();
  PortMap present_;                 // the last scan
  std::set<Port> announced_;        // reported added, not yet removed
  std::deque<Port> waiting_;        // detections in the order their ports came, the start's first
  bool started_ = false;            // the ports present at the start are reported
  bool detecting_ = false;
  bool stopRequested_ = false;
  std::atomic<bool> stopping_{false};  // read by the component threads
  std::map<int, std::thread> threads_;
  int nextThread_ = 0;
};

int runWatch(const HostOptions& options, const std::vector<std::string>& args) {
  bool detect = true;
  for (const auto& a : args) {
    if (a == "--no-detect") detect = false;
    else throw UsageError("watch takes no arguments but --no-detect, not '" + a + "'");
  }
  return Watch(options, detect).run();
}

const Registration watchCommand{
    {"watch", "watch [--no-detect]",
     "Follows the machine's COM ports until SIGINT or SIGTERM (Ctrl-C), then exits 0. Reports\n"
     "every port present at the start (PortAdded, with its kind) and runs DetectAllDevices over\n"
     "them (then, without --json, its summary); then, within a second of a change, reports each\n"
     "port that comes (PortAdded) and runs DetectDevice on it when its kind is tested (one port\n"
     "after the other), and each port that goes (PortRemoved). COM numbers of present ports never\n"
     "change meanwhile. --no-detect reports the ports only. On Linux it follows the machine that\n"
     "--sysfs and --dev describe; --registry and --map are refused.",
     runWatch}};

}  // namespace
}  // namespace tovport_cli
