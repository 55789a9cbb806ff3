// Calls from a thread other than the component's: carried to the component's thread, run there
// while it pumps, with results, by-reference arguments and errors handed back to the caller.
#include <future>
#include <thread>

#include <tovport/automation/dispatch.h>
#include "requests/request_test.h"
#include "threads/apartment_call.h"

namespace tov::testing {
namespace {

using automation::callByName;
using automation::Variant;

class CallsFromAnotherThread : public RequestTest {
 protected:
  void SetUp() override {
    listSerialPort(3);
    phone(3, kS65Phone);
    componentThread_ = platform::GetCurrentThreadId();
    events_->handler = [this](automation::DISPID, std::vector<Variant>&) {
      eventThreads_.push_back(platform::GetCurrentThreadId());
    };
  }

  // Runs call on a second thread while this one, the component's, pumps until it returns.
  template <class Call>
  auto fromSecondThread(Call call) {
    auto result = std::async(std::launch::async, call);
    EXPECT_TRUE(pumpUntil([&] { return result.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    return result.get();
  }

  platform::DWORD componentThread_ = 0;
  std::vector<platform::DWORD> eventThreads_;
};

TEST_F(CallsFromAnotherThread, ARequestRunsOnTheComponentsThreadAndItsEventsComeThere) {
  const Variant accepted = fromSecondThread([this] { return callByName(*c_, u"DetectDevice", {Variant(std::int16_t{3})}); });
  EXPECT_EQ(automation::toBool(accepted), VariantBool::True);
  ASSERT_TRUE(pumpUntilEndMark()) << describeAll();
  ASSERT_EQ(outcomes().size(), 1u);
  EXPECT_EQ(outcomes()[0].device(), dtSiemens_S65);
  EXPECT_EQ(eventThreads_, std::vector<platform::DWORD>(eventThreads_.size(), componentThread_));
}

TEST_F(CallsFromAnotherThread, ByReferenceArgumentsAndErrorsComeBackToTheCaller) {
  c_->VBCommOpen(3, u"COM99", u"");  // fails: LastError now describes it
  const BStr message = fromSecondThread([this] {
    BStr text;
    callByName(*c_, u"VBCommGetError", {Variant::byRef(&text)});
    return text;
  });
  EXPECT_EQ(message.rfind(u"Error (2): VBCommOpen", 0), 0u) << automation::toUtf8(message);

  const int error = fromSecondThread([this] {
    BStr list = u"x;3";
    return errorNumberOf([&] { callByName(*c_, u"DetectDevicesFromList", {Variant::byRef(&list)}); });
  });
  EXPECT_EQ(error, 13);
}

TEST_F(CallsFromAnotherThread, ACallThatIsNotTakenInTimeNeverRunsAndAnEndedThreadIsReported) {
  bool ran = false;
  automation::DispParams params;
  const threads::DispatchCall call = [&](automation::DispParams&, Variant*, automation::ExcepInfo*, unsigned*) {
    ran = true;
    return automation::S_OK;
  };
  const auto owner = platform::GetCurrentThreadId();
  const auto hr = std::async(std::launch::async, [&] {
                    return threads::invokeOnThread(owner, call, params, nullptr, nullptr, nullptr, 50);
                  }).get();  // this thread does not pump meanwhile
  EXPECT_EQ(hr, threads::RPC_E_TIMEOUT);
  platform::PumpMessages();
  EXPECT_FALSE(ran);

  platform::DWORD ended = 0;
  std::thread([&] { ended = platform::GetCurrentThreadId(); }).join();
  EXPECT_EQ(threads::invokeOnThread(ended, call, params, nullptr, nullptr, nullptr), threads::RPC_E_DISCONNECTED);
  EXPECT_FALSE(ran);
}

}  // namespace
}  // namespace tov::testing
