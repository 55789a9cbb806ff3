// The simulated phone's answers to the basic command set, line by line, as a client sees them.
#include <gtest/gtest.h>

#include <algorithm>

#include <tovport/platform/phone_simulator.h>

#include "platform/phone_commands.h"

namespace tov::platform {
namespace {

// What the phone sends back for each line of a session, in order.
std::vector<std::string> answers(Responder& phone, const std::vector<std::string>& lines) {
  std::vector<std::string> out;
  for (const auto& line : lines)
    for (const auto& exchange : phone.receive(line + "\r")) out.push_back(exchange.answer);
  return out;
}

TEST(PhoneSimulator, AnswersTheBasicCommandSetLikeAPhoneOfTheFamily) {
  PhoneProfile sl75;
  sl75.model = "SL75";
  sl75.echo = false;
  sl75.failing.insert("AT+CGMR");
  const std::string imei = imeiOf(sl75);
  struct Session {
    const char* name;
    std::vector<std::string> lines;
    std::vector<std::string> answers;
  };
  const Session sessions[] = {
      {"identification",
       {"AT", "at+cgmi", "AT+GMI", "AT+CGMM", "AT+gmm", "ATI", "ATI9", "ATI10", "AT+CGSN", "AT+CIMI", "AT+CGMI=?"},
       {"\r\nOK\r\n", "\r\nSIEMENS\r\n\r\nOK\r\n", "\r\nSIEMENS\r\n\r\nOK\r\n", "\r\nSL75\r\n\r\nOK\r\n",
        "\r\nSL75\r\n\r\nOK\r\n", "\r\nSIEMENS\r\n\r\nSL75\r\n\r\nREVISION 50\r\n\r\nOK\r\n", "\r\nOK\r\n",
        "\r\nERROR\r\n", "\r\n" + imei + "\r\n\r\nOK\r\n", "\r\n" + imsiOf(sl75) + "\r\n\r\nOK\r\n", "\r\nOK\r\n"}},
      {"echo follows ATE, and ATZ brings back the profile's",
       {"ATE1", "AT", "ate0", "AT", "ATE1;+CGMM", "ATZ", "AT"},
       {"\r\nOK\r\n", "AT\r\r\nOK\r\n", "ate0\r\r\nOK\r\n", "\r\nOK\r\n", "\r\nSL75\r\n\r\nOK\r\n",
        "ATZ\r\r\nOK\r\n", "\r\nOK\r\n"}},
      {"ATV0 numeric result codes, ATQ1 none",
       {"ATV0", "AT+CGMI", "AT+NOSUCH", "ATV1Q1", "AT+CGMM", "ATQ0"},
       {"0\r", "SIEMENS\r\n0\r", "4\r", "", "\r\nSL75\r\n", "\r\nOK\r\n"}},
      {"chained commands stop at the first failure; +CMEE chooses how it reads",
       {"AT+CMEE=1;+CGMI", "AT+CGMR", "AT+CMEE=2;+CSCS=\"XYZ\"", "AT+CMEE?;+CMEE=?", "AT+CMEE=3", "AT&F;+CGMR",
        "AT+CGMI;+NOSUCH;+CGMM"},
       {"\r\nSIEMENS\r\n\r\nOK\r\n", "\r\n+CME ERROR: 100\r\n", "\r\n+CME ERROR: operation not supported\r\n",
        "\r\n+CMEE: 2\r\n\r\n+CMEE: (0-2)\r\n\r\nOK\r\n", "\r\n+CME ERROR: operation not supported\r\n",
        "\r\nERROR\r\n", "\r\nSIEMENS\r\n\r\nERROR\r\n"}},
      {"settings and readings",
       {"AT+CSCS?", "AT+CSCS=?", "AT + cscs = \"ucs2\"", "AT+CSCS?", "AT+CFUN?", "AT+CFUN=0", "AT+CFUN?",
        "AT+CFUN=1,1", "AT+CFUN=2", "AT+CPIN?", "AT+CSQ", "AT+CBC", "AT+CSQ?"},
       {"\r\n+CSCS: \"GSM\"\r\n\r\nOK\r\n", "\r\n+CSCS: (\"GSM\",\"UCS2\")\r\n\r\nOK\r\n", "\r\nOK\r\n",
        "\r\n+CSCS: \"UCS2\"\r\n\r\nOK\r\n", "\r\n+CFUN: 1\r\n\r\nOK\r\n", "\r\nOK\r\n", "\r\n+CFUN: 0\r\n\r\nOK\r\n",
        "\r\nOK\r\n", "\r\nERROR\r\n", "\r\n+CPIN: READY\r\n\r\nOK\r\n", "\r\n+CSQ: 20,99\r\n\r\nOK\r\n",
        "\r\n+CBC: 0,80\r\n\r\nOK\r\n", "\r\nERROR\r\n"}},
      {"unknown commands and lines", {"AT+CGMX", "ATX", "HELLO", "AT$X"},
       {"\r\nERROR\r\n", "\r\nERROR\r\n", "\r\nERROR\r\n", "\r\nERROR\r\n"}},
  };
  for (const Session& s : sessions) {
    SCOPED_TRACE(s.name);
    Responder phone(sl75);
    EXPECT_EQ(answers(phone, s.lines), s.answers);
  }
}

TEST(PhoneSimulator, ListsEveryCommandItKnowsAndEachListedCommandAnswers) {
  PhoneProfile profile;
  profile.echo = false;
  Responder phone(profile);
  const std::string list = answers(phone, {"AT+CLAC"}).at(0);
  std::vector<std::string> listed;
  for (std::size_t at = list.find("\r\nAT"); at != std::string::npos; at = list.find("\r\nAT", at + 2))
    listed.push_back(list.substr(at + 2, list.find('\r', at + 2) - at - 2));
  EXPECT_GE(listed.size(), 20u);
  for (const char* expected : {"ATE", "ATI", "AT&F", "AT+CGMI", "AT+CMEE", "AT+CLAC"})
    EXPECT_NE(std::find(listed.begin(), listed.end(), expected), listed.end()) << expected;
  for (const auto& command : listed) {  // extended commands in their test form, basic ones bare
    Responder fresh(profile);
    const std::string answer = answers(fresh, {command.starts_with("AT+") ? command + "=?" : command}).at(0);
    EXPECT_TRUE(answer.find("ERROR") == std::string::npos && answer != "4\r") << command << ": " << answer;
  }
}

TEST(PhoneSimulator, SerialNumberIsAnImeiWithAValidCheckDigit) {
  for (const char* model : {"S65", "SL75", "EF81"}) {
    PhoneProfile profile;
    profile.model = model;
    const std::string imei = imeiOf(profile);
    ASSERT_EQ(imei.size(), 15u);
    int sum = 0;
    for (std::size_t i = 0; i < imei.size(); ++i) {
      int d = imei[imei.size() - 1 - i] - '0';
      if (i % 2 == 1 && (d *= 2) > 9) d -= 9;
      sum += d;
    }
    EXPECT_EQ(sum % 10, 0) << imei;
    EXPECT_EQ(imsiOf(profile).size(), 15u);
  }
}

TEST(PhoneSimulator, JoinsCommandsAcrossChunksDropsEscapedLinesAndSplitsAnswers) {
  Responder phone(PhoneProfile{});
  EXPECT_TRUE(phone.receive("AT+C").empty());
  const auto exchanges = phone.receive("GMI\rAT+CGMM\r\x1b\rAT+CG\x1b" "AT\r");
  ASSERT_EQ(exchanges.size(), 3u);
  EXPECT_EQ(exchanges[0].command, "AT+CGMI");
  EXPECT_EQ(exchanges[0].answer, "AT+CGMI\r\r\nSIEMENS\r\n\r\nOK\r\n");
  EXPECT_EQ(exchanges[1].answer, "AT+CGMM\r\r\nS65\r\n\r\nOK\r\n");
  EXPECT_EQ(exchanges[2].command, "AT");
  PhoneProfile silent;
  silent.silent = true;
  Responder quiet(silent);
  const auto heard = quiet.receive("AT+CGMI\r");
  ASSERT_EQ(heard.size(), 1u);
  EXPECT_EQ(heard[0].answer, "");
  const auto pieces = split("\r\nS65\r\n\r\nOK\r\n", 3);
  ASSERT_EQ(pieces.size(), 3u);
  EXPECT_EQ(pieces[0] + pieces[1] + pieces[2], "\r\nS65\r\n\r\nOK\r\n");
  EXPECT_EQ(pieces[0].find("OK"), std::string::npos);
}

}  // namespace
}  // namespace tov::platform
