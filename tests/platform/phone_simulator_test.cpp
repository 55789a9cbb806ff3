#include <gtest/gtest.h>

#include "platform/clock.h"
#include <tovport/platform/phone_simulator.h>

namespace tov::platform {
namespace {

using Answers = std::vector<std::string>;

TEST(PhoneSimulator, AnswersMakerAndModelAndRefusesOtherCommands) {
  PhoneProfile profile;
  profile.model = "SL75";
  profile.echo = false;
  profile.failing.insert("AT+CGMR");
  Responder phone(profile);
  EXPECT_EQ(phone.receive("AT+CGMI\r"), Answers{"\r\nSIEMENS\r\n\r\nOK\r\n"});
  EXPECT_EQ(phone.receive("at+cgmm\r"), Answers{"\r\nSL75\r\n\r\nOK\r\n"});
  EXPECT_EQ(phone.receive("ATI\r"), Answers{"\r\nERROR\r\n"});
  EXPECT_EQ(phone.receive("AT+CGMR\r"), Answers{"\r\nERROR\r\n"});
  profile.silent = true;
  EXPECT_TRUE(Responder(profile).receive("AT+CGMI\r").empty());
}

TEST(PhoneSimulator, JoinsCommandsAcrossChunksEchoesAndSplitsAnswers) {
  Responder phone(PhoneProfile{});
  EXPECT_TRUE(phone.receive("AT+C").empty());
  EXPECT_EQ(phone.receive("GMI\rAT+CGMM\r"),
            (Answers{"AT+CGMI\r\r\nSIEMENS\r\n\r\nOK\r\n", "AT+CGMM\r\r\nS65\r\n\r\nOK\r\n"}));
  const Answers pieces = split("\r\nS65\r\n\r\nOK\r\n", 3);
  ASSERT_EQ(pieces.size(), 3u);
  EXPECT_EQ(pieces[0] + pieces[1] + pieces[2], "\r\nS65\r\n\r\nOK\r\n");
  EXPECT_EQ(pieces[0].find("OK"), std::string::npos);
}

TEST(PhoneSimulator, AsThePeerOfASimulatedPortItAnswersAfterItsDelay) {
  ManualClock clock;
  ScopedClock clockScope(clock);
  MemorySerialBackend backend;
  ScopedSerialBackend backendScope(backend);
  PhoneProfile profile;
  profile.echo = false;
  backend.port(2).setPeer(phonePeer(profile, 150));
  const HANDLE h = CreateFileA("COM2", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, 0);
  const COMMTIMEOUTS firstByteWithin1s{MAXDWORD, MAXDWORD, 1000, 0, 0};
  ASSERT_TRUE(SetCommTimeouts(h, &firstByteWithin1s));
  DWORD n = 0;
  ASSERT_TRUE(WriteFile(h, "AT+CGMI\r", 8, &n, nullptr));
  char answer[64];
  ASSERT_TRUE(ReadFile(h, answer, sizeof answer, &n, nullptr));
  EXPECT_EQ(std::string(answer, n), "\r\nSIEMENS\r\n\r\nOK\r\n");
  EXPECT_EQ(clock.monotonicMs(), 150);
  CloseHandle(h);
}

}  // namespace
}  // namespace tov::platform
