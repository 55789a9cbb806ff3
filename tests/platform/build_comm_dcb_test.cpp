#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <tuple>

#include "platform/last_error.h"
#include <tovport/platform/serial.h>

namespace tov::platform {
namespace {

// A DCB whose every byte is a marker, so that any member the parser touches shows.
DCB markedDcb() {
  DCB dcb;
  std::memset(&dcb, 0xA5, sizeof dcb);
  return dcb;
}

bool sameBytes(const DCB& a, const DCB& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

DCB built(const char* text, DCB dcb = markedDcb()) {
  EXPECT_EQ(BuildCommDCBA(text, &dcb), TRUE) << text;
  return dcb;
}

TEST(BuildCommDcbNewForm, DetectionSettingsSetLineFormatOnly) {
  DCB expected = markedDcb();
  expected.BaudRate = 57600;
  expected.Parity = NOPARITY;
  expected.ByteSize = 8;
  expected.StopBits = ONESTOPBIT;
  EXPECT_TRUE(sameBytes(built("baud=57600 parity=N data=8 stop=1"), expected));
  EXPECT_TRUE(sameBytes(built("COM1: BAUD=57600   Parity=n  DATA=8 "), expected));  // case-blind, blanks
  expected.BaudRate = 0xA5A5A5A5;
  expected.Parity = expected.ByteSize = 0xA5;
  EXPECT_TRUE(sameBytes(built("to=on"), expected));  // the write-timeout key changes no member
  EXPECT_TRUE(sameBytes(built("COM3:"), markedDcb()));
  EXPECT_TRUE(sameBytes(built(""), markedDcb()));
}

TEST(BuildCommDcbNewForm, MissingStopBitsFollowTheGivenBaudRate) {
  EXPECT_EQ(built("baud=110").StopBits, TWOSTOPBITS);
  EXPECT_EQ(built("baud=300 data=7").StopBits, ONESTOPBIT);
  DCB at110 = markedDcb();
  at110.BaudRate = 110;
  EXPECT_EQ(built("parity=e", at110).StopBits, ONESTOPBIT);  // 110 baud not named in the text
  EXPECT_EQ(built("baud=110 stop=1.5").StopBits, ONE5STOPBITS);
}

// The flow-control members: XON/XOFF out and in, CTS and DSR handshake, DTR and RTS control.
using Flow = std::array<DWORD, 6>;
Flow flowOf(const DCB& d) {
  return {getBits(d, fOutX),        getBits(d, fInX),        getBits(d, fOutxCtsFlow),
          getBits(d, fOutxDsrFlow), getBits(d, fDtrControl), getBits(d, fRtsControl)};
}

TEST(BuildCommDcbNewForm, FlowKeysSetTheirBitsOnly) {
  const DCB on = built("xon=on odsr=on octs=on idsr=on dtr=hs rts=tg", DCB{});
  EXPECT_EQ(flowOf(on), (Flow{1, 1, 1, 1, DTR_CONTROL_HANDSHAKE, RTS_CONTROL_TOGGLE}));
  EXPECT_EQ(getBits(on, fDsrSensitivity), 1u);
  EXPECT_EQ(getBits(on, fBinary), 0u);
  EXPECT_EQ(on.XonChar, 0);
  const DCB off = built("xon=off odsr=off octs=off idsr=off dtr=off rts=hs", on);
  EXPECT_EQ(flowOf(off), (Flow{0, 0, 0, 0, DTR_CONTROL_DISABLE, RTS_CONTROL_HANDSHAKE}));
  EXPECT_EQ(getBits(off, fDsrSensitivity), 0u);
  EXPECT_EQ(getBits(built("dtr=on rts=on", off), fRtsControl), RTS_CONTROL_ENABLE);
}

// The comma form also sets the flow-control members: none, x (XON/XOFF) or p (hardware).
TEST(BuildCommDcbOldForm, FieldsAndFlowControl) {
  using Line = std::tuple<DWORD, BYTE, BYTE, BYTE>;
  constexpr Flow none{0, 0, 0, 0, DTR_CONTROL_ENABLE, RTS_CONTROL_ENABLE};
  const std::tuple<const char*, Line, Flow> cases[] = {
      {"9600,n,8,1", {9600, NOPARITY, 8, ONESTOPBIT}, none},
      {"19200 , E , 7 , 2 , X", {19200, EVENPARITY, 7, TWOSTOPBITS}, {1, 1, 0, 0, DTR_CONTROL_ENABLE, RTS_CONTROL_ENABLE}},
      {"1200,m,5,1.5,p", {1200, MARKPARITY, 5, ONE5STOPBITS}, {0, 0, 1, 1, DTR_CONTROL_HANDSHAKE, RTS_CONTROL_HANDSHAKE}},
      {"com12 300,s,6,1", {300, SPACEPARITY, 6, ONESTOPBIT}, none},
      {"COM255:96,O,8,1", {9600, ODDPARITY, 8, ONESTOPBIT}, none},
  };
  for (const auto& [text, line, flow] : cases) {
    const DCB dcb = built(text);
    EXPECT_EQ(Line(dcb.BaudRate, dcb.Parity, dcb.ByteSize, dcb.StopBits), line) << text;
    EXPECT_EQ(flowOf(dcb), flow) << text;
  }
  const std::pair<const char*, DWORD> shortBauds[] = {{"11", 110},   {"30", 300},   {"60", 600},
                                                      {"12", 1200},  {"24", 2400},  {"48", 4800},
                                                      {"19", 19200}, {"57600", 57600}, {"14", 14}};
  for (const auto& [baud, expanded] : shortBauds) {
    EXPECT_EQ(built((std::string(baud) + ",n,8,1").c_str()).BaudRate, expanded) << baud;
  }
}

TEST(BuildCommDcbRejects, BadTextFailsWithInvalidParameterAndChangesNothing) {
  const char* bad[] = {
      " baud=9600",       "baud=9600x",      "baud=",           "baud",             "=9600",
      "speed=9600",       "parity=q",        "parity=no",       "data=4",           "data=9",
      "stop=3",           "stop=1.5x",       "stop=0",          "xon=yes",          "dtr=tg",
      "rts=maybe",        "baud=-1",         "baud=4294967296", "baud=9600\tdata=8", "to=1",
      "9600,n,8",         "9600,n,8,1,z",    "9600,n,8,1,x,",   "9600,n,8,1 junk",  "9600,q,8,1",
      "9600,n,9,1",       "9600,n,8,3",      ",n,8,1",          "9600,,8,1",        "COM0: baud=9600",
      "COM256: baud=9600", "COMx baud=9600", "COM1baud=9600",   "COM1",             "COM01: baud=9600",
  };
  for (const char* text : bad) {
    DCB dcb = markedDcb();
    SetLastError(0);
    EXPECT_EQ(BuildCommDCBA(text, &dcb), FALSE) << text;
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER) << text;
    EXPECT_TRUE(sameBytes(dcb, markedDcb())) << text;
  }
  DCB dcb{};
  SetLastError(0);
  EXPECT_EQ(BuildCommDCBA(nullptr, &dcb), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  SetLastError(0);
  EXPECT_EQ(BuildCommDCBA("baud=9600", nullptr), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

}  // namespace
}  // namespace tov::platform
