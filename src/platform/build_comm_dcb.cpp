// BuildCommDCBA: the MODE-style settings text into a device control block. Only the members the
// text names change (the old comma form also sets the flow-control members, as the NT family
// does); bad text changes nothing.
#include <algorithm>
#include <cctype>
#include <optional>
#include <string_view>

#include "platform/last_error.h"
#include <tovport/platform/serial.h>

namespace tov::platform {
namespace {

bool equalsNoCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
      return false;
  return true;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

void skipBlanks(std::string_view& s) {
  while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
}

// Consumes a decimal number that fits 32 bits.
std::optional<DWORD> takeNumber(std::string_view& s) {
  if (s.empty() || !isDigit(s.front())) return std::nullopt;
  std::uint64_t value = 0;
  while (!s.empty() && isDigit(s.front())) {
    value = value * 10 + static_cast<unsigned>(s.front() - '0');
    if (value > MAXDWORD) return std::nullopt;
    s.remove_prefix(1);
  }
  return static_cast<DWORD>(value);
}

std::optional<BYTE> takeParity(std::string_view& s) {
  if (s.empty()) return std::nullopt;
  BYTE parity;
  switch (std::tolower(static_cast<unsigned char>(s.front()))) {
    case 'n': parity = NOPARITY; break;
    case 'o': parity = ODDPARITY; break;
    case 'e': parity = EVENPARITY; break;
    case 'm': parity = MARKPARITY; break;
    case 's': parity = SPACEPARITY; break;
    default: return std::nullopt;
  }
  s.remove_prefix(1);
  return parity;
}

std::optional<BYTE> takeDataBits(std::string_view& s) {
  const auto bits = takeNumber(s);
  if (!bits || *bits < 5 || *bits > 8) return std::nullopt;
  return static_cast<BYTE>(*bits);
}

std::optional<BYTE> takeStopBits(std::string_view& s) {
  if (s.starts_with("1.5")) {
    s.remove_prefix(3);
    return ONE5STOPBITS;
  }
  const auto bits = takeNumber(s);
  if (bits == 1u) return ONESTOPBIT;
  if (bits == 2u) return TWOSTOPBITS;
  return std::nullopt;
}

// Old form baud values may be written short: 11, 30, 60 are tens, 12 to 96 hundreds, 19 is 19200.
DWORD expandShortBaud(DWORD baud) {
  switch (baud) {
    case 11: case 30: case 60: return baud * 10;
    case 12: case 24: case 48: case 96: return baud * 100;
    case 19: return 19200;
    default: return baud;
  }
}

// Optional "COMn:" or "COMn " in front of the settings; text starting with "COM" must be one.
bool skipPortPrefix(std::string_view& s) {
  if (s.size() < 3 || !equalsNoCase(s.substr(0, 3), "com")) return true;
  s.remove_prefix(3);
  if (s.empty() || s.front() == '0') return false;
  const auto port = takeNumber(s);
  if (!port || *port > 255 || s.empty() || (s.front() != ':' && s.front() != ' ')) return false;
  s.remove_prefix(1);
  skipBlanks(s);
  return true;
}

bool takeComma(std::string_view& s) {
  skipBlanks(s);
  if (s.empty() || s.front() != ',') return false;
  s.remove_prefix(1);
  skipBlanks(s);
  return true;
}

void setFlowControl(DCB& dcb, bool software, bool hardware) {
  setBits(dcb, fOutX, software);
  setBits(dcb, fInX, software);
  setBits(dcb, fOutxCtsFlow, hardware);
  setBits(dcb, fOutxDsrFlow, hardware);
  setBits(dcb, fDtrControl, hardware ? DTR_CONTROL_HANDSHAKE : DTR_CONTROL_ENABLE);
  setBits(dcb, fRtsControl, hardware ? RTS_CONTROL_HANDSHAKE : RTS_CONTROL_ENABLE);
}

// "baud,parity,data,stop[,x|p]"
bool parseOldForm(std::string_view s, DCB& dcb) {
  const auto baud = takeNumber(s);
  if (!baud || !takeComma(s)) return false;
  const auto parity = takeParity(s);
  if (!parity || !takeComma(s)) return false;
  const auto data = takeDataBits(s);
  if (!data || !takeComma(s)) return false;
  const auto stop = takeStopBits(s);
  if (!stop) return false;
  char flow = 0;
  skipBlanks(s);
  if (!s.empty() && s.front() == ',') {
    s.remove_prefix(1);
    skipBlanks(s);
    if (!s.empty()) {
      flow = static_cast<char>(std::tolower(static_cast<unsigned char>(s.front())));
      s.remove_prefix(1);
      skipBlanks(s);
    }
  }
  if (!s.empty() || (flow != 0 && flow != 'x' && flow != 'p')) return false;
  dcb.BaudRate = expandShortBaud(*baud);
  dcb.Parity = *parity;
  dcb.ByteSize = *data;
  dcb.StopBits = *stop;
  setFlowControl(dcb, flow == 'x', flow == 'p');
  return true;
}

// Parses all of `value` with take; fails when anything is left over.
template <class Take>
auto whole(std::string_view value, Take take) -> decltype(take(value)) {
  auto parsed = take(value);
  if (!value.empty()) return std::nullopt;
  return parsed;
}

std::optional<DWORD> onOff(std::string_view value) {
  if (equalsNoCase(value, "on")) return 1u;
  if (equalsNoCase(value, "off")) return 0u;
  return std::nullopt;
}

// on/off, plus "hs" (handshake) and, where allowed, "tg" (toggle).
std::optional<DWORD> lineControl(std::string_view value, bool toggleAllowed) {
  if (equalsNoCase(value, "on")) return DWORD{1};
  if (equalsNoCase(value, "off")) return DWORD{0};
  if (equalsNoCase(value, "hs")) return DWORD{2};
  if (toggleAllowed && equalsNoCase(value, "tg")) return DWORD{3};
  return std::nullopt;
}

bool applySetting(std::string_view key, std::string_view value, DCB& dcb, bool& baudGiven, bool& stopGiven) {
  auto setFlag = [&](DcbField field) {
    const auto on = onOff(value);
    if (on) setBits(dcb, field, *on);
    return on.has_value();
  };
  if (equalsNoCase(key, "baud")) {
    const auto baud = whole(value, takeNumber);
    if (baud) dcb.BaudRate = *baud;
    return baudGiven = baud.has_value();
  }
  if (equalsNoCase(key, "parity")) {
    const auto parity = whole(value, takeParity);
    if (parity) dcb.Parity = *parity;
    return parity.has_value();
  }
  if (equalsNoCase(key, "data")) {
    const auto data = whole(value, takeDataBits);
    if (data) dcb.ByteSize = *data;
    return data.has_value();
  }
  if (equalsNoCase(key, "stop")) {
    const auto stop = whole(value, takeStopBits);
    if (stop) dcb.StopBits = *stop;
    return stopGiven = stop.has_value();
  }
  if (equalsNoCase(key, "to")) return onOff(value).has_value();  // a write timeout, not a DCB member
  if (equalsNoCase(key, "xon")) return setFlag(fOutX) && setFlag(fInX);
  if (equalsNoCase(key, "odsr")) return setFlag(fOutxDsrFlow);
  if (equalsNoCase(key, "octs")) return setFlag(fOutxCtsFlow);
  if (equalsNoCase(key, "idsr")) return setFlag(fDsrSensitivity);
  if (equalsNoCase(key, "dtr") || equalsNoCase(key, "rts")) {
    const bool rts = equalsNoCase(key, "rts");
    const auto mode = lineControl(value, rts);
    if (mode) setBits(dcb, rts ? fRtsControl : fDtrControl, *mode);
    return mode.has_value();
  }
  return false;
}

// Blank-separated "key=value" settings.
bool parseNewForm(std::string_view s, DCB& dcb) {
  bool baudGiven = false;
  bool stopGiven = false;
  for (skipBlanks(s); !s.empty(); skipBlanks(s)) {
    const std::size_t end = std::min(s.find(' '), s.size());
    const std::string_view setting = s.substr(0, end);
    s.remove_prefix(end);
    const std::size_t equals = setting.find('=');
    if (equals == std::string_view::npos) return false;
    if (!applySetting(setting.substr(0, equals), setting.substr(equals + 1), dcb, baudGiven, stopGiven))
      return false;
  }
  if (!stopGiven) dcb.StopBits = baudGiven && dcb.BaudRate == 110 ? TWOSTOPBITS : ONESTOPBIT;
  return true;
}

bool parseDefinition(std::string_view s, DCB& dcb) {
  if (s.starts_with(' ') || !skipPortPrefix(s)) return false;
  if (s.empty()) return true;
  return s.find(',') != std::string_view::npos ? parseOldForm(s, dcb) : parseNewForm(s, dcb);
}

}  // namespace

BOOL BuildCommDCBA(const char* definition, DCB* dcb) {
  if (definition == nullptr || dcb == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  DCB parsed = *dcb;
  if (!parseDefinition(definition, parsed)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  *dcb = parsed;
  return TRUE;
}

}  // namespace tov::platform
