#include <tovport/platform/serial_dcb.h>

namespace tov::platform {

bool isValidDcb(const DCB& dcb) {
  if (dcb.BaudRate == 0 || dcb.ByteSize < 5 || dcb.ByteSize > 8) return false;
  if (dcb.Parity > SPACEPARITY || dcb.StopBits > TWOSTOPBITS) return false;
  if (dcb.StopBits == ONE5STOPBITS && dcb.ByteSize != 5) return false;
  if (dcb.StopBits == TWOSTOPBITS && dcb.ByteSize == 5) return false;
  const bool softwareFlow = getBits(dcb, fOutX) != 0 || getBits(dcb, fInX) != 0;
  return !(softwareFlow && dcb.XonChar == dcb.XoffChar);
}

bool dtrRaisedBy(const DCB& dcb) { return getBits(dcb, fDtrControl) != DTR_CONTROL_DISABLE; }
bool rtsRaisedBy(const DCB& dcb) { return getBits(dcb, fRtsControl) != RTS_CONTROL_DISABLE; }

DCB defaultDcb() {
  DCB dcb{};
  dcb.DCBlength = sizeof(DCB);
  dcb.BaudRate = 9600;
  setBits(dcb, fBinary, 1);
  setBits(dcb, fDtrControl, DTR_CONTROL_ENABLE);
  setBits(dcb, fRtsControl, RTS_CONTROL_ENABLE);
  dcb.XonLim = 2048;
  dcb.XoffLim = 512;
  dcb.ByteSize = 8;
  dcb.Parity = NOPARITY;
  dcb.StopBits = ONESTOPBIT;
  dcb.XonChar = 0x11;
  dcb.XoffChar = 0x13;
  return dcb;
}

}  // namespace tov::platform
