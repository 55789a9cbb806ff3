// Rules about the device control block that hold for every serial backend.
#pragma once

#include <tovport/platform/win32.h>

namespace tov::platform {

// What SetCommState accepts: a non-zero baud rate, 5 to 8 data bits, a known parity and stop-bit
// code, 1.5 stop bits only with 5 data bits and 2 only with 6 to 8, and distinct XON and XOFF
// characters when software flow control is on.
bool isValidDcb(const DCB& dcb);

// The levels SetCommState gives the control lines: raised unless the mode is "disable" (handshake
// and toggle modes start with the line raised).
bool dtrRaisedBy(const DCB& dcb);
bool rtsRaisedBy(const DCB& dcb);

// The settings a device reports before anyone sets them: 9600 baud 8N1, binary mode, DTR and RTS
// enabled, no flow control, XON 0x11 / XOFF 0x13 with limits 2048 / 512.
DCB defaultDcb();

}  // namespace tov::platform
