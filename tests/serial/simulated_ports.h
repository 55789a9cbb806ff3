// A component over simulated COM1..COM32 on the manual clock, with the log texts it hands to
// debugprint and a counter of the message-pump passes its operations make.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "component/debug_log.h"
#include "component/mod_public.h"
#include <tovport/component/tovcomprtv3.h>
#include "platform/clock.h"
#include <tovport/platform/message_queue.h>
#include <tovport/platform/serial_memory.h>

namespace tov::serial_test {

inline constexpr const char16_t* kSettings = u"baud=57600 parity=N data=8 stop=1";

// Counts the passes of the calling thread's message pump while it lives, running onPass in each
// with its number (1, 2, ...).
class PumpCounter {
 public:
  explicit PumpCounter(std::function<void(int)> onPass = [](int) {})
      : state_(std::make_shared<State>(State{std::move(onPass)})) {
    arm(state_);
  }
  ~PumpCounter() {
    state_->stopped = true;
    platform::PumpMessages();  // drops the call still posted
  }
  int passes() const { return state_->passes; }

 private:
  struct State {
    std::function<void(int)> onPass;
    int passes = 0;
    bool stopped = false;
  };
  // Each pass runs only the calls posted before it, so re-posting counts one per pass.
  static void arm(const std::shared_ptr<State>& state) {
    platform::MessageQueue::current()->post([state] {
      if (state->stopped) return;
      state->onPass(++state->passes);
      arm(state);
    });
  }
  std::shared_ptr<State> state_;
};

class SimulatedPorts : public ::testing::Test {
 protected:
  void SetUp() override {
    for (int n = 1; n <= MaxPorts; ++n) backend.port(n);
    previousObserver = observeLog([this](const std::u16string& text) { logged.push_back(text); });
  }

  // Handles live in the process's handle table: leave no port open for the next test.
  void TearDown() override {
    for (std::int16_t p = 1; p <= MaxPorts; ++p) EXPECT_EQ(c->VBCommClose(p), 0) << "port " << p;
    observeLog(previousObserver);
    gComponent().reset();
  }

  std::int32_t open(std::int16_t portNr, const char16_t* settings = kSettings) {
    return c->VBCommOpen(portNr, u"COM" + automation::numberText(portNr), settings);
  }

  std::u16string errorText() {
    BStr text;
    c->VBCommGetError(text);
    return text;
  }

  platform::ManualClock manual;
  platform::ScopedClock clockGuard{manual};
  platform::MemorySerialBackend backend;
  platform::ScopedSerialBackend installed{backend};
  automation::Ref<tovComPrtv3> c = tovComPrtv3::create();
  std::vector<std::u16string> logged;
  LogObserver previousObserver;
};

}  // namespace tov::serial_test
