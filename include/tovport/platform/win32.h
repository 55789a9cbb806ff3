// Win32 shapes that the component's platform calls use: scalar types, status codes and the
// records of the communications, registry and version APIs, laid out as a 32-bit process sees them.
#pragma once

#include <cstdint>

namespace tov::platform {

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using BOOL = std::int32_t;
using LONG = std::int32_t;
using UINT = std::uint32_t;
using UINT_PTR = std::uint32_t;
using LSTATUS = std::int32_t;
using HANDLE = std::int32_t;  // handles are 32-bit values, as the type library publishes them
using HWND = std::int32_t;
using HKEY = std::uint32_t;
using REGSAM = std::uint32_t;

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;
inline constexpr HANDLE INVALID_HANDLE_VALUE = -1;
inline constexpr DWORD MAXDWORD = 0xFFFFFFFFu;

// System error codes produced by the backends.
inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_INVALID_FUNCTION = 1;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_READY = 21;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_SEM_TIMEOUT = 121;
inline constexpr DWORD ERROR_BUSY = 170;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_OPERATION_ABORTED = 995;
inline constexpr DWORD ERROR_IO_INCOMPLETE = 996;
inline constexpr DWORD ERROR_IO_PENDING = 997;
inline constexpr DWORD ERROR_IO_DEVICE = 1117;
inline constexpr DWORD ERROR_DEVICE_NOT_CONNECTED = 1167;

// CreateFileA
inline constexpr DWORD GENERIC_READ = 0x80000000u;
inline constexpr DWORD GENERIC_WRITE = 0x40000000u;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_FLAG_OVERLAPPED = 0x40000000u;

// PurgeComm
inline constexpr DWORD PURGE_TXABORT = 0x1;
inline constexpr DWORD PURGE_RXABORT = 0x2;
inline constexpr DWORD PURGE_TXCLEAR = 0x4;
inline constexpr DWORD PURGE_RXCLEAR = 0x8;

// EscapeCommFunction
inline constexpr DWORD SETXOFF = 1;
inline constexpr DWORD SETXON = 2;
inline constexpr DWORD SETRTS = 3;
inline constexpr DWORD CLRRTS = 4;
inline constexpr DWORD SETDTR = 5;
inline constexpr DWORD CLRDTR = 6;
inline constexpr DWORD RESETDEV = 7;
inline constexpr DWORD SETBREAK = 8;
inline constexpr DWORD CLRBREAK = 9;

// GetCommModemStatus
inline constexpr DWORD MS_CTS_ON = 0x10;
inline constexpr DWORD MS_DSR_ON = 0x20;
inline constexpr DWORD MS_RING_ON = 0x40;
inline constexpr DWORD MS_RLSD_ON = 0x80;

// ClearCommError error flags
inline constexpr DWORD CE_RXOVER = 0x1;
inline constexpr DWORD CE_OVERRUN = 0x2;
inline constexpr DWORD CE_RXPARITY = 0x4;
inline constexpr DWORD CE_FRAME = 0x8;
inline constexpr DWORD CE_BREAK = 0x10;

// DCB values
inline constexpr BYTE NOPARITY = 0, ODDPARITY = 1, EVENPARITY = 2, MARKPARITY = 3, SPACEPARITY = 4;
inline constexpr BYTE ONESTOPBIT = 0, ONE5STOPBITS = 1, TWOSTOPBITS = 2;
inline constexpr DWORD DTR_CONTROL_DISABLE = 0, DTR_CONTROL_ENABLE = 1, DTR_CONTROL_HANDSHAKE = 2;
inline constexpr DWORD RTS_CONTROL_DISABLE = 0, RTS_CONTROL_ENABLE = 1, RTS_CONTROL_HANDSHAKE = 2,
                       RTS_CONTROL_TOGGLE = 3;

// FormatMessageA
inline constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
inline constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

#pragma pack(push, 4)
// The 28-byte device control block. fBitFields holds, from bit 0: fBinary, fParity, fOutxCtsFlow,
// fOutxDsrFlow, fDtrControl (2 bits), fDsrSensitivity, fTXContinueOnXoff, fOutX, fInX, fErrorChar,
// fNull, fRtsControl (2 bits), fAbortOnError.
struct DCB {
  DWORD DCBlength;
  DWORD BaudRate;
  DWORD fBitFields;
  WORD wReserved;
  WORD XonLim;
  WORD XoffLim;
  BYTE ByteSize;
  BYTE Parity;
  BYTE StopBits;
  char XonChar;
  char XoffChar;
  char ErrorChar;
  char EofChar;
  char EvtChar;
  WORD wReserved1;
};

struct COMMTIMEOUTS {
  DWORD ReadIntervalTimeout;
  DWORD ReadTotalTimeoutMultiplier;
  DWORD ReadTotalTimeoutConstant;
  DWORD WriteTotalTimeoutMultiplier;
  DWORD WriteTotalTimeoutConstant;
};

struct COMSTAT {
  DWORD fBitFields;
  DWORD cbInQue;
  DWORD cbOutQue;
};

struct OVERLAPPED {
  DWORD Internal;
  DWORD InternalHigh;
  DWORD offset;
  DWORD OffsetHigh;
  HANDLE hEvent;
};

struct SECURITY_ATTRIBUTES {
  DWORD nLength;
  std::int32_t lpSecurityDescriptor;
  BOOL bInheritHandle;
};

struct OSVERSIONINFOA {
  DWORD dwOSVersionInfoSize;
  DWORD dwMajorVersion;
  DWORD dwMinorVersion;
  DWORD dwBuildNumber;
  DWORD dwPlatformId;
  char szCSDVersion[128];
};
#pragma pack(pop)

static_assert(sizeof(DCB) == 28);
static_assert(sizeof(OVERLAPPED) == 20);
static_assert(sizeof(OSVERSIONINFOA) == 148);

// DCB bit-field positions: {first bit, width}.
struct DcbField {
  unsigned shift;
  unsigned width;
};
inline constexpr DcbField fBinary{0, 1}, fParity{1, 1}, fOutxCtsFlow{2, 1}, fOutxDsrFlow{3, 1},
    fDtrControl{4, 2}, fDsrSensitivity{6, 1}, fTXContinueOnXoff{7, 1}, fOutX{8, 1}, fInX{9, 1},
    fErrorChar{10, 1}, fNull{11, 1}, fRtsControl{12, 2}, fAbortOnError{14, 1};

constexpr DWORD getBits(const DCB& dcb, DcbField f) {
  return (dcb.fBitFields >> f.shift) & ((1u << f.width) - 1u);
}
constexpr void setBits(DCB& dcb, DcbField f, DWORD value) {
  const DWORD mask = ((1u << f.width) - 1u) << f.shift;
  dcb.fBitFields = (dcb.fBitFields & ~mask) | ((value << f.shift) & mask);
}

// Registry
inline constexpr HKEY HKEY_CLASSES_ROOT = 0x80000000u;
inline constexpr HKEY HKEY_CURRENT_USER = 0x80000001u;
inline constexpr HKEY HKEY_LOCAL_MACHINE = 0x80000002u;
inline constexpr HKEY HKEY_USERS = 0x80000003u;
inline constexpr HKEY HKEY_PERFORMANCE_DATA = 0x80000004u;
inline constexpr HKEY HKEY_CURRENT_CONFIG = 0x80000005u;
inline constexpr HKEY HKEY_DYN_DATA = 0x80000006u;

inline constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;

inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_DWORD_BIG_ENDIAN = 5;
inline constexpr DWORD REG_LINK = 6;
inline constexpr DWORD REG_MULTI_SZ = 7;
inline constexpr DWORD REG_RESOURCE_LIST = 8;
inline constexpr DWORD REG_QWORD = 11;

// Version
inline constexpr DWORD VER_PLATFORM_WIN32s = 0;
inline constexpr DWORD VER_PLATFORM_WIN32_WINDOWS = 1;
inline constexpr DWORD VER_PLATFORM_WIN32_NT = 2;

}  // namespace tov::platform
