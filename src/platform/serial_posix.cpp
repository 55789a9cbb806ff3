#include <tovport/platform/serial_posix.h>

#include <fcntl.h>
#include <linux/serial.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <optional>

#include <tovport/platform/serial_dcb.h>
#include "platform/serial_timeouts.h"

namespace tov::platform {

DWORD win32ErrorFromErrno(int err) {
  if (err == EAGAIN || err == EWOULDBLOCK) return ERROR_ACCESS_DENIED;  // an exclusive lock held elsewhere
  switch (err) {
    case 0: return ERROR_SUCCESS;
    case ENOENT: case ENXIO: case ENODEV: return ERROR_FILE_NOT_FOUND;
    case EACCES: case EPERM: case EROFS: case EBUSY: return ERROR_ACCESS_DENIED;
    case EBADF: return ERROR_INVALID_HANDLE;
    case EIO: return ERROR_IO_DEVICE;
    case EINVAL: return ERROR_INVALID_PARAMETER;
    case ENOTTY: case EOPNOTSUPP: return ERROR_INVALID_FUNCTION;
    case ETIMEDOUT: return ERROR_SEM_TIMEOUT;
    case EPIPE: case ECONNRESET: return ERROR_DEVICE_NOT_CONNECTED;
    default: return ERROR_GEN_FAILURE;
  }
}

namespace {

struct BaudSpeed {
  DWORD baud;
  speed_t speed;
};

constexpr BaudSpeed kSpeeds[] = {
    {50, B50},         {75, B75},         {110, B110},       {134, B134},         {150, B150},
    {200, B200},       {300, B300},       {600, B600},       {1200, B1200},       {1800, B1800},
    {2400, B2400},     {4800, B4800},     {9600, B9600},     {19200, B19200},     {38400, B38400},
    {57600, B57600},   {115200, B115200}, {230400, B230400}, {460800, B460800},   {500000, B500000},
    {576000, B576000}, {921600, B921600}, {1000000, B1000000}, {1152000, B1152000}, {1500000, B1500000},
    {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000}, {3500000, B3500000}, {4000000, B4000000},
};

std::optional<speed_t> speedFor(DWORD baud) {
  for (const auto& s : kSpeeds)
    if (s.baud == baud) return s.speed;
  return std::nullopt;
}

std::optional<DWORD> baudFor(speed_t speed) {
  for (const auto& s : kSpeeds)
    if (s.speed == speed) return s.baud;
  return std::nullopt;
}

std::int64_t nowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

// poll() timeout for an optional absolute deadline (-1 = none).
int pollTimeout(std::optional<std::int64_t> deadline) {
  if (!deadline) return -1;
  return static_cast<int>(std::clamp<std::int64_t>(*deadline - nowMs(), 0, INT_MAX));
}

// The line settings a device has when it is opened.
DCB dcbFromTermios(const termios& tio) {
  DCB dcb = defaultDcb();
  if (const auto baud = baudFor(cfgetospeed(&tio))) dcb.BaudRate = *baud;
  switch (tio.c_cflag & CSIZE) {
    case CS5: dcb.ByteSize = 5; break;
    case CS6: dcb.ByteSize = 6; break;
    case CS7: dcb.ByteSize = 7; break;
    default: dcb.ByteSize = 8; break;
  }
  if ((tio.c_cflag & PARENB) != 0) {
    const bool odd = (tio.c_cflag & PARODD) != 0;
    if ((tio.c_cflag & CMSPAR) != 0)
      dcb.Parity = odd ? MARKPARITY : SPACEPARITY;
    else
      dcb.Parity = odd ? ODDPARITY : EVENPARITY;
  }
  if ((tio.c_cflag & CSTOPB) != 0) dcb.StopBits = dcb.ByteSize == 5 ? ONE5STOPBITS : TWOSTOPBITS;
  const bool hardwareFlow = (tio.c_cflag & CRTSCTS) != 0;
  setBits(dcb, fOutxCtsFlow, hardwareFlow);
  setBits(dcb, fRtsControl, hardwareFlow ? RTS_CONTROL_HANDSHAKE : RTS_CONTROL_ENABLE);
  setBits(dcb, fOutX, (tio.c_iflag & IXON) != 0);
  setBits(dcb, fInX, (tio.c_iflag & IXOFF) != 0);
  setBits(dcb, fParity, (tio.c_iflag & INPCK) != 0);
  dcb.XonChar = static_cast<char>(tio.c_cc[VSTART]);
  dcb.XoffChar = static_cast<char>(tio.c_cc[VSTOP]);
  return dcb;
}

// The termios form of a (valid) DCB over the device's current settings; false for a baud rate
// the driver interface has no speed for. DSR sensitivity, DSR flow, error and NUL replacement
// have no termios counterpart and only show in the DCB the device reports.
bool applyDcb(const DCB& dcb, termios& tio) {
  const auto speed = speedFor(dcb.BaudRate);
  if (!speed) return false;
  cfsetispeed(&tio, *speed);
  cfsetospeed(&tio, *speed);
  tio.c_cflag &= ~static_cast<tcflag_t>(CSIZE | PARENB | PARODD | CMSPAR | CSTOPB | CRTSCTS);
  constexpr tcflag_t sizes[] = {CS5, CS6, CS7, CS8};
  tio.c_cflag |= sizes[dcb.ByteSize - 5];
  switch (dcb.Parity) {
    case ODDPARITY: tio.c_cflag |= PARENB | PARODD; break;
    case EVENPARITY: tio.c_cflag |= PARENB; break;
    case MARKPARITY: tio.c_cflag |= PARENB | PARODD | CMSPAR; break;
    case SPACEPARITY: tio.c_cflag |= PARENB | CMSPAR; break;
    default: break;
  }
  if (dcb.StopBits != ONESTOPBIT) tio.c_cflag |= CSTOPB;  // 1.5 with 5 data bits, else 2
  if (getBits(dcb, fOutxCtsFlow) != 0 || getBits(dcb, fRtsControl) == RTS_CONTROL_HANDSHAKE)
    tio.c_cflag |= CRTSCTS;
  tio.c_iflag &= ~static_cast<tcflag_t>(IXON | IXOFF | IXANY | INPCK);
  if (getBits(dcb, fOutX) != 0) tio.c_iflag |= IXON;
  if (getBits(dcb, fInX) != 0) tio.c_iflag |= IXOFF;
  if (getBits(dcb, fParity) != 0 && dcb.Parity != NOPARITY) tio.c_iflag |= INPCK;
  tio.c_cc[VSTART] = static_cast<cc_t>(dcb.XonChar);
  tio.c_cc[VSTOP] = static_cast<cc_t>(dcb.XoffChar);
  return true;
}

DWORD modemBits(int lines) {
  DWORD status = 0;
  if ((lines & TIOCM_CTS) != 0) status |= MS_CTS_ON;
  if ((lines & TIOCM_DSR) != 0) status |= MS_DSR_ON;
  if ((lines & TIOCM_RNG) != 0) status |= MS_RING_ON;
  if ((lines & TIOCM_CAR) != 0) status |= MS_RLSD_ON;
  return status;
}

class PosixSerialDevice final : public SerialDevice {
 public:
  PosixSerialDevice(int fd, const DCB& dcb) : fd_(fd), dcb_(dcb) { countsKnown_ = ioctl(fd_, TIOCGICOUNT, &counts_) == 0; }

  // The descriptor is released only when no call is using it any more (the handle layer holds a
  // reference during each call), so a close cannot pull it from under a read in another thread.
  ~PosixSerialDevice() override {
    ioctl(fd_, TIOCNXCL);
    ::close(fd_);
  }

  DWORD setupComm(DWORD, DWORD) override { return ERROR_SUCCESS; }  // the driver's queues are fixed

  DWORD purge(DWORD flags) override {
    const bool input = (flags & (PURGE_RXABORT | PURGE_RXCLEAR)) != 0;
    const bool output = (flags & (PURGE_TXABORT | PURGE_TXCLEAR)) != 0;
    if (!input && !output) return ERROR_SUCCESS;
    return tcflush(fd_, input && output ? TCIOFLUSH : input ? TCIFLUSH : TCOFLUSH) == 0 ? ERROR_SUCCESS : failure(errno);
  }

  DWORD setTimeouts(const COMMTIMEOUTS& t) override {
    std::lock_guard lock(mutex_);
    timeouts_ = t;
    return ERROR_SUCCESS;
  }

  DWORD getTimeouts(COMMTIMEOUTS& t) override {
    std::lock_guard lock(mutex_);
    t = timeouts_;
    return ERROR_SUCCESS;
  }

  DWORD getState(DCB& dcb) override {
    std::lock_guard lock(mutex_);
    dcb = dcb_;
    return ERROR_SUCCESS;
  }

  // A device without modem lines (a pseudo-terminal) takes the settings without them.
  DWORD setState(const DCB& dcb) override {
    std::lock_guard lock(mutex_);
    termios tio{};
    if (tcgetattr(fd_, &tio) != 0) return failure(errno);
    if (!applyDcb(dcb, tio)) return ERROR_INVALID_PARAMETER;
    if (tcsetattr(fd_, TCSANOW, &tio) != 0) return failure(errno);
    for (const auto& [line, raised] : {std::pair{TIOCM_DTR, dtrRaisedBy(dcb)}, std::pair{TIOCM_RTS, rtsRaisedBy(dcb)}}) {
      if (setLine(line, raised) != 0 && errno != ENOTTY && errno != EINVAL) return failure(errno);
    }
    dcb_ = dcb;
    dcb_.DCBlength = sizeof(DCB);
    return ERROR_SUCCESS;
  }

  DWORD read(void* buffer, DWORD toRead, DWORD& read) override {
    if (toRead == 0) return ERROR_SUCCESS;
    ReadDeadline deadline(timeouts(), toRead, nowMs());
    auto* out = static_cast<char*>(buffer);
    for (;;) {
      const ssize_t n = ::read(fd_, out + read, toRead - read);
      if (n > 0) {
        read += static_cast<DWORD>(n);
        deadline.bytesArrived(nowMs());
        if (read < toRead) continue;  // take everything buffered before judging the timeouts
      } else if (n == 0) {
        return ERROR_DEVICE_NOT_CONNECTED;  // end of file: the line hung up
      } else if (errno == EINTR) {
        continue;
      } else if (errno != EAGAIN) {
        return failure(errno);
      }
      if (read == toRead || deadline.expired(read, nowMs())) return ERROR_SUCCESS;
      if (const DWORD error = waitFor(POLLIN, deadline.wakeAt())) return error;
    }
  }

  // A write that runs out of its total timeout succeeds with the bytes taken so far.
  DWORD write(const void* buffer, DWORD toWrite, DWORD& written) override {
    const auto timeout = writeTimeoutMs(timeouts(), toWrite);
    const std::optional<std::int64_t> deadline = timeout ? std::optional(nowMs() + *timeout) : std::nullopt;
    const auto* in = static_cast<const char*>(buffer);
    while (written < toWrite) {
      const ssize_t n = ::write(fd_, in + written, toWrite - written);
      if (n > 0) {
        written += static_cast<DWORD>(n);
        continue;
      }
      if (n < 0 && errno == EINTR) continue;
      if (n < 0 && errno != EAGAIN) return failure(errno);
      if (deadline && nowMs() >= *deadline) return ERROR_SUCCESS;
      if (const DWORD error = waitFor(POLLOUT, deadline)) return error;
    }
    return ERROR_SUCCESS;
  }

  DWORD clearError(DWORD& errors, COMSTAT& status) override {
    int in = 0;
    int out = 0;
    if (ioctl(fd_, TIOCINQ, &in) != 0 || ioctl(fd_, TIOCOUTQ, &out) != 0) return failure(errno);
    status.fBitFields = 0;
    status.cbInQue = static_cast<DWORD>(in);
    status.cbOutQue = static_cast<DWORD>(out);
    errors = newLineErrors();
    return ERROR_SUCCESS;
  }

  DWORD modemStatus(DWORD& status) override {
    int lines = 0;
    if (ioctl(fd_, TIOCMGET, &lines) != 0) return failure(errno);
    status = modemBits(lines);
    return ERROR_SUCCESS;
  }

  DWORD escape(DWORD function) override {
    int rc = 0;
    switch (function) {
      case SETXOFF: rc = tcflow(fd_, TCOOFF); break;
      case SETXON: rc = tcflow(fd_, TCOON); break;
      case SETRTS: rc = setLine(TIOCM_RTS, true); break;
      case CLRRTS: rc = setLine(TIOCM_RTS, false); break;
      case SETDTR: rc = setLine(TIOCM_DTR, true); break;
      case CLRDTR: rc = setLine(TIOCM_DTR, false); break;
      case SETBREAK: rc = ioctl(fd_, TIOCSBRK); break;
      case CLRBREAK: rc = ioctl(fd_, TIOCCBRK); break;
      case RESETDEV: break;  // nothing to reset on a termios device
      default: return ERROR_INVALID_PARAMETER;
    }
    return rc == 0 ? ERROR_SUCCESS : failure(errno);
  }

  DWORD close() override { return ERROR_SUCCESS; }

 private:
  COMMTIMEOUTS timeouts() {
    std::lock_guard lock(mutex_);
    return timeouts_;
  }

  int setLine(int line, bool raised) { return ioctl(fd_, raised ? TIOCMBIS : TIOCMBIC, &line); }

  bool hungUp() const {
    pollfd p{fd_, 0, 0};
    return poll(&p, 1, 0) == 1 && (p.revents & POLLHUP) != 0;
  }

  // Any failure on a line that has hung up means the device is gone.
  DWORD failure(int err) const { return hungUp() ? ERROR_DEVICE_NOT_CONNECTED : win32ErrorFromErrno(err); }

  // Waits until the descriptor is ready for `events` or the deadline passes (both 0).
  DWORD waitFor(short events, std::optional<std::int64_t> deadline) const {
    pollfd p{fd_, events, 0};
    const int rc = poll(&p, 1, pollTimeout(deadline));
    if (rc < 0) return errno == EINTR ? ERROR_SUCCESS : failure(errno);
    if ((p.revents & POLLNVAL) != 0) return ERROR_INVALID_HANDLE;
    if ((p.revents & POLLHUP) != 0 && (p.revents & events) == 0) return ERROR_DEVICE_NOT_CONNECTED;
    if ((p.revents & POLLERR) != 0 && (p.revents & events) == 0) return ERROR_IO_DEVICE;
    return ERROR_SUCCESS;
  }

  // CE_* flags for the line errors the driver counted since the last look (none where the driver
  // keeps no counts, as on a pseudo-terminal).
  DWORD newLineErrors() {
    std::lock_guard lock(mutex_);
    serial_icounter_struct now{};
    if (!countsKnown_ || ioctl(fd_, TIOCGICOUNT, &now) != 0) return 0;
    DWORD flags = 0;
    if (now.buf_overrun != counts_.buf_overrun) flags |= CE_RXOVER;
    if (now.overrun != counts_.overrun) flags |= CE_OVERRUN;
    if (now.parity != counts_.parity) flags |= CE_RXPARITY;
    if (now.frame != counts_.frame) flags |= CE_FRAME;
    if (now.brk != counts_.brk) flags |= CE_BREAK;
    counts_ = now;
    return flags;
  }

  const int fd_;
  std::mutex mutex_;  // guards the members below
  DCB dcb_;
  COMMTIMEOUTS timeouts_{};
  serial_icounter_struct counts_{};
  bool countsKnown_ = false;
};

}  // namespace

void PosixSerialBackend::map(int port, std::string path) {
  std::lock_guard lock(mutex_);
  paths_[port] = std::move(path);
}

void PosixSerialBackend::unmap(int port) {
  std::lock_guard lock(mutex_);
  paths_.erase(port);
}

void PosixSerialBackend::onPermissionDenied(std::function<void(int, const std::string&)> listener) {
  permissionDenied_ = std::move(listener);
}

// Opened without blocking on carrier, locked, then switched to raw 8-bit I/O that ignores the
// modem lines; the descriptor stays non-blocking because every wait goes through poll().
std::unique_ptr<SerialDevice> PosixSerialBackend::open(int port, DWORD& error) {
  std::string path;
  {
    std::lock_guard lock(mutex_);
    const auto it = paths_.find(port);
    if (it == paths_.end()) {
      error = ERROR_FILE_NOT_FOUND;
      return nullptr;
    }
    path = it->second;
  }
  const int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) {
    const int err = errno;
    if ((err == EACCES || err == EPERM) && permissionDenied_) permissionDenied_(port, path);
    error = win32ErrorFromErrno(err);
    return nullptr;
  }
  const auto fail = [&](int err) -> std::unique_ptr<SerialDevice> {
    ::close(fd);
    error = win32ErrorFromErrno(err);
    return nullptr;
  };
  if (flock(fd, LOCK_EX | LOCK_NB) != 0) return fail(errno);
  termios tio{};
  if (tcgetattr(fd, &tio) != 0) return fail(errno);
  cfmakeraw(&tio);
  tio.c_cflag |= CLOCAL | CREAD;
  tio.c_cc[VMIN] = 1;  // with VMIN 0 an empty read returns 0, which would look like a hang-up
  tio.c_cc[VTIME] = 0;
  if (tcsetattr(fd, TCSANOW, &tio) != 0) return fail(errno);
  ioctl(fd, TIOCEXCL);  // keeps out opens that do not use flock, where the driver supports it
  return std::make_unique<PosixSerialDevice>(fd, dcbFromTermios(tio));
}

}  // namespace tov::platform
