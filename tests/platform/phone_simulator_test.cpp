#include <gtest/gtest.h>

#include "platform/clock.h"
#include "platform/phone_simulator.h"

namespace tov::platform {
namespace {

TEST(PhoneSimulator, AnswersMakerAndModelAndRefusesOtherCommands) {
  PhoneProfile profile;
  profile.model = "SL75";
  profile.echo = false;
  Responder phone(profile);
  EXPECT_EQ(phone.receive("AT+CGMI\r"), std::vector<std::string>{"\r\nSIEMENS\r\n\r\nOK\r\n"});
  EXPECT_EQ(phone.receive("at+cgmm\r"), std::vector<std::string>{"\r\nSL75\r\n\r\nOK\r\n"});
  EXPECT_EQ(phone.receive("ATI\r"), std::vector<std::string>{"\r\nERROR\r\n"});
}

TEST(PhoneSimulator, JoinsCommandsAcrossChunksAndEchoes) {
  Responder phone(PhoneProfile{});
  EXPECT_TRUE(phone.receive("AT+C").empty());
  EXPECT_EQ(phone.receive("GMI\rAT+CGMM\r"),
            (std::vector<std::string>{"AT+CGMI\r\r\nSIEMENS\r\n\r\nOK\r\n", "AT+CGMM\r\r\nS65\r\n\r\nOK\r\n"}));
}

TEST(PhoneSimulator, FailingSilentAndSplitAnswers) {
  PhoneProfile failing;
  failing.echo = false;
  failing.failing.insert("AT+CGMM");
  EXPECT_EQ(Responder(failing).receive("AT+CGMM\r"), std::vector<std::string>{"\r\nERROR\r\n"});
  PhoneProfile silent;
  silent.silent = true;
  EXPECT_TRUE(Responder(silent).receive("AT+CGMI\r").empty());
  const auto pieces = split("\r\nS65\r\n\r\nOK\r\n", 3);
  ASSERT_EQ(pieces.size(), 3u);
  EXPECT_EQ(pieces[0] + pieces[1] + pieces[2], "\r\nS65\r\n\r\nOK\r\n");
  EXPECT_EQ(pieces[0].find("OK"), std::string::npos);
}

TEST(PhoneSimulator, AsAPeerOfASimulatedPortItAnswersAfterItsDelay) {
  ManualClock clock;
  ScopedClock clockScope(clock);
  MemorySerialBackend backend;
  ScopedSerialBackend backendScope(backend);
  PhoneProfile profile;
  profile.echo = false;
  backend.port(2).setPeer(phonePeer(profile, 150));
  const HANDLE h = CreateFileA("COM2", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, 0);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  DWORD written = 0;
  ASSERT_TRUE(WriteFile(h, "AT+CGMI\r", 8, &written, nullptr));
  DWORD errors = 0;
  COMSTAT status{};
  ASSERT_TRUE(ClearCommError(h, &errors, &status));
  EXPECT_EQ(status.cbInQue, 0u);
  clock.advance(150);
  ASSERT_TRUE(ClearCommError(h, &errors, &status));
  EXPECT_EQ(status.cbInQue, std::string("\r\nSIEMENS\r\n\r\nOK\r\n").size());
  CloseHandle(h);
}

}  // namespace
}  // namespace tov::platform
