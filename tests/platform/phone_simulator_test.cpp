#include <gtest/gtest.h>

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

}  // namespace
}  // namespace tov::platform
