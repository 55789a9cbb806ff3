// Feeds arbitrary settings text to BuildCommDCBA: it must never crash, must leave the DCB as it
// was when it refuses the text, and must only store line settings the system accepts.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "platform/last_error.h"
#include <tovport/platform/serial.h>

using namespace tov::platform;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);  // c_str() ends at the first NUL
  DCB before;
  std::memset(&before, 0x5A, sizeof before);
  DCB dcb = before;
  if (BuildCommDCBA(text.c_str(), &dcb) == FALSE) {
    if (std::memcmp(&dcb, &before, sizeof dcb) != 0 || GetLastError() != ERROR_INVALID_PARAMETER) __builtin_trap();
    return 0;
  }
  if (dcb.ByteSize != before.ByteSize && (dcb.ByteSize < 5 || dcb.ByteSize > 8)) __builtin_trap();
  if (dcb.Parity != before.Parity && dcb.Parity > SPACEPARITY) __builtin_trap();
  if (dcb.StopBits != before.StopBits && dcb.StopBits > TWOSTOPBITS) __builtin_trap();
  if (dcb.XonChar != before.XonChar || dcb.EofChar != before.EofChar || dcb.XonLim != before.XonLim) __builtin_trap();
  return 0;
}
