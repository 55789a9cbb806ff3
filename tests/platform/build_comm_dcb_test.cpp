#include <gtest/gtest.h>

#include <cstring>

#include "platform/last_error.h"
#include "platform/serial.h"

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
  const DCB before = markedDcb();
  const DCB dcb = built("baud=57600 parity=N data=8 stop=1");
  EXPECT_EQ(dcb.BaudRate, 57600u);
  EXPECT_EQ(dcb.Parity, NOPARITY);
  EXPECT_EQ(dcb.ByteSize, 8);
  EXPECT_EQ(dcb.StopBits, ONESTOPBIT);
  DCB expected = before;
  expected.BaudRate = 57600;
  expected.Parity = NOPARITY;
  expected.ByteSize = 8;
  expected.StopBits = ONESTOPBIT;
  EXPECT_TRUE(sameBytes(dcb, expected));
}

TEST(BuildCommDcbNewForm, MissingStopBitsFollowTheGivenBaudRate) {
  EXPECT_EQ(built("baud=110").StopBits, TWOSTOPBITS);
  EXPECT_EQ(built("baud=300 data=7").StopBits, ONESTOPBIT);
  DCB at110 = markedDcb();
  at110.BaudRate = 110;
  EXPECT_EQ(built("parity=e", at110).StopBits, ONESTOPBIT);  // 110 baud not named in the text
  EXPECT_EQ(built("baud=110 stop=1.5").StopBits, ONE5STOPBITS);
}

TEST(BuildCommDcbNewForm, FlowKeysSetTheirBitsOnly) {
  DCB zero{};
  const DCB on = built("xon=on odsr=on octs=on idsr=on dtr=hs rts=tg", zero);
  EXPECT_EQ(getBits(on, fOutX), 1u);
  EXPECT_EQ(getBits(on, fInX), 1u);
  EXPECT_EQ(getBits(on, fOutxDsrFlow), 1u);
  EXPECT_EQ(getBits(on, fOutxCtsFlow), 1u);
  EXPECT_EQ(getBits(on, fDsrSensitivity), 1u);
  EXPECT_EQ(getBits(on, fDtrControl), DTR_CONTROL_HANDSHAKE);
  EXPECT_EQ(getBits(on, fRtsControl), RTS_CONTROL_TOGGLE);
  EXPECT_EQ(getBits(on, fBinary), 0u);
  EXPECT_EQ(on.XonChar, 0);
  EXPECT_EQ(on.XonLim, 0);

  const DCB off = built("xon=off odsr=off octs=off idsr=off dtr=off rts=hs", on);
  EXPECT_EQ(off.fBitFields & ((1u << fOutX.shift) | (1u << fInX.shift) | (1u << fOutxDsrFlow.shift) |
                              (1u << fOutxCtsFlow.shift) | (1u << fDsrSensitivity.shift)),
            0u);
  EXPECT_EQ(getBits(off, fDtrControl), DTR_CONTROL_DISABLE);
  EXPECT_EQ(getBits(off, fRtsControl), RTS_CONTROL_HANDSHAKE);
  EXPECT_EQ(getBits(built("dtr=on rts=on", off), fRtsControl), RTS_CONTROL_ENABLE);
}

TEST(BuildCommDcbNewForm, KeysAndValuesAreCaseBlindAndBlanksRepeat) {
  const DCB dcb = built("BAUD=9600   Parity=e  DATA=7 XON=On ");
  EXPECT_EQ(dcb.BaudRate, 9600u);
  EXPECT_EQ(dcb.Parity, EVENPARITY);
  EXPECT_EQ(dcb.ByteSize, 7);
  EXPECT_EQ(getBits(dcb, fOutX), 1u);
}

TEST(BuildCommDcbNewForm, WriteTimeoutKeyLeavesTheDcbAlone) {
  DCB expected = markedDcb();
  expected.StopBits = ONESTOPBIT;  // the stop default still applies
  EXPECT_TRUE(sameBytes(built("to=on"), expected));
  EXPECT_TRUE(sameBytes(built("to=OFF"), expected));
}

TEST(BuildCommDcbOldForm, ParsesFieldsAndSetsFlowControlMembers) {
  const DCB none = built("9600,n,8,1");
  EXPECT_EQ(none.BaudRate, 9600u);
  EXPECT_EQ(none.Parity, NOPARITY);
  EXPECT_EQ(none.ByteSize, 8);
  EXPECT_EQ(none.StopBits, ONESTOPBIT);
  EXPECT_EQ(getBits(none, fOutX) + getBits(none, fInX) + getBits(none, fOutxCtsFlow) + getBits(none, fOutxDsrFlow), 0u);
  EXPECT_EQ(getBits(none, fDtrControl), DTR_CONTROL_ENABLE);
  EXPECT_EQ(getBits(none, fRtsControl), RTS_CONTROL_ENABLE);

  const DCB xon = built("19200 , E , 7 , 2 , X");
  EXPECT_EQ(xon.Parity, EVENPARITY);
  EXPECT_EQ(xon.ByteSize, 7);
  EXPECT_EQ(xon.StopBits, TWOSTOPBITS);
  EXPECT_EQ(getBits(xon, fOutX) + getBits(xon, fInX), 2u);
  EXPECT_EQ(getBits(xon, fOutxCtsFlow), 0u);

  const DCB hardware = built("1200,m,5,1.5,p");
  EXPECT_EQ(hardware.Parity, MARKPARITY);
  EXPECT_EQ(hardware.StopBits, ONE5STOPBITS);
  EXPECT_EQ(getBits(hardware, fOutX), 0u);
  EXPECT_EQ(getBits(hardware, fOutxCtsFlow) + getBits(hardware, fOutxDsrFlow), 2u);
  EXPECT_EQ(getBits(hardware, fDtrControl), DTR_CONTROL_HANDSHAKE);
  EXPECT_EQ(getBits(hardware, fRtsControl), RTS_CONTROL_HANDSHAKE);
  EXPECT_EQ(built("300,s,6,1").Parity, SPACEPARITY);
  EXPECT_EQ(built("300,O,6,1").Parity, ODDPARITY);
}

TEST(BuildCommDcbOldForm, ShortBaudValuesExpand) {
  const std::pair<const char*, DWORD> cases[] = {
      {"11,n,8,1", 110},    {"30,n,8,1", 300},    {"60,n,8,1", 600},  {"12,n,8,1", 1200},
      {"24,n,8,1", 2400},   {"48,n,8,1", 4800},   {"96,n,8,1", 9600}, {"19,n,8,1", 19200},
      {"57600,n,8,1", 57600}, {"14,n,8,1", 14},
  };
  for (const auto& [text, baud] : cases) EXPECT_EQ(built(text).BaudRate, baud) << text;
}

TEST(BuildCommDcbPrefix, PortNameMayPrecedeEitherForm) {
  EXPECT_EQ(built("COM1: baud=4800").BaudRate, 4800u);
  EXPECT_EQ(built("com12 2400,n,8,1").BaudRate, 2400u);
  EXPECT_EQ(built("COM255:96,e,7,1").Parity, EVENPARITY);
  EXPECT_TRUE(sameBytes(built("COM3:"), markedDcb()));
  EXPECT_TRUE(sameBytes(built(""), markedDcb()));
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
}

TEST(BuildCommDcbRejects, MissingArgumentsAreInvalidParameters) {
  DCB dcb{};
  EXPECT_EQ(BuildCommDCBA(nullptr, &dcb), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  SetLastError(0);
  EXPECT_EQ(BuildCommDCBA("baud=9600", nullptr), FALSE);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

}  // namespace
}  // namespace tov::platform
