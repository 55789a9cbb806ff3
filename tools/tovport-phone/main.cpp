// tovport-phone: a simulated BenQ-Siemens phone on a pseudo-terminal (or a given device), for
// testing hosts without a phone.
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <tovport/platform/phone_simulator.h>

namespace tovport_phone {
namespace {

using tov::platform::PhoneProfile;
using tov::platform::Responder;
using tov::platform::split;

volatile std::sig_atomic_t stopRequested = 0;
void onSignal(int) { stopRequested = 1; }

const char* const kUsage =
    "usage: tovport-phone [--device PATH] [--maker TEXT] [--model TEXT] [--echo on|off] [--delay MS]\n"
    "                     [--split N] [--split-pause MS] [--error COMMAND]... [--silent]\n"
    "                     [--close-after COMMAND] [--log FILE] [--until-stdin-closes]\n";

const char* const kHelp =
    "Simulates a phone that answers AT commands. Opens a pseudo-terminal (or the device given with\n"
    "--device), prints the path of the end a host should open on the first line of stdout, and\n"
    "answers until it receives SIGINT, SIGTERM or SIGHUP (then it exits 0). It never reads the\n"
    "terminal, so it runs in the background of an interactive shell.\n\n"
    "It answers as a phone of the family does, in upper or lower case, several commands on one\n"
    "line separated by ';' (AT+CMEE=1;+CGMI):\n"
    "  AT+CGMI, AT+GMI    the maker:  CR LF <maker> CR LF CR LF OK CR LF\n"
    "  AT+CGMM, AT+GMM    the model:  CR LF <model> CR LF CR LF OK CR LF\n"
    "  AT+CGMR, AT+GMR    the software revision;  AT+CGSN, AT+GSN  the IMEI;  AT+CIMI  the IMSI\n"
    "  ATI, ATI0          maker, model and revision (ATI1 to ATI9: OK)\n"
    "  AT, ATZ, AT&F      OK (ATZ and AT&F restore the settings below)\n"
    "  ATE0/ATE1          echo off/on;  ATV0/ATV1  numeric/word result codes;  ATQ0/ATQ1\n"
    "  AT+CMEE=0|1|2      failures as ERROR, +CME ERROR: <number> or +CME ERROR: <text>\n"
    "  AT+CSCS, AT+CFUN, AT+CPIN?, AT+CSQ, AT+CBC, and AT+CLAC listing every command\n"
    "  anything else      CR LF ERROR CR LF\n\n"
    "Options:\n"
    "  --device PATH      use this device instead of a new pseudo-terminal\n"
    "  --maker TEXT       the maker answer (default SIEMENS)\n"
    "  --model TEXT       the model answer (default S65)\n"
    "  --echo on|off      echo each command line back first (default on)\n"
    "  --delay MS         wait this long before answering (default 0)\n"
    "  --split N          send each answer in N writes (default 1)\n"
    "  --split-pause MS   pause between those writes (default 200)\n"
    "  --error COMMAND    answer COMMAND (e.g. AT+CGMM) with ERROR; repeatable\n"
    "  --silent           never answer\n"
    "  --close-after COMMAND  after answering COMMAND (e.g. AT+CGMI) close the line, as a phone\n"
    "                     unplugged mid-dialogue; the program goes on until it is told to stop\n"
    "  --log FILE         write each command line received and each answer sent to FILE\n"
    "  --until-stdin-closes  also end when stdin reaches its end (for a caller that holds a pipe)\n"
    "  --help             this text\n";

struct Options {
  PhoneProfile profile;
  std::string device;
  int delayMs = 0;
  int pieces = 1;
  int pauseMs = 200;
  std::string closeAfter;  // upper case; empty: never
  std::string log;         // empty: none
  bool untilStdinCloses = false;
};

std::string upper(std::string text) {
  for (auto& ch : text) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
  return text;
}

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

int number(const std::string& option, const std::string& text, int min) {
  try {
    std::size_t used = 0;
    const int v = std::stoi(text, &used);
    if (used == text.size() && v >= min) return v;
  } catch (const std::exception&) {
  }
  throw UsageError(option + " takes a whole number of at least " + std::to_string(min));
}

Options parse(int argc, char** argv, bool& help) {
  Options o;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    auto value = [&]() -> std::string {
      if (i + 1 >= argc) throw UsageError(a + " needs a value");
      return argv[++i];
    };
    if (a == "--help" || a == "-h") help = true;
    else if (a == "--device") o.device = value();
    else if (a == "--maker") o.profile.maker = value();
    else if (a == "--model") o.profile.model = value();
    else if (a == "--echo") {
      const std::string v = value();
      if (v != "on" && v != "off") throw UsageError("--echo takes on or off");
      o.profile.echo = v == "on";
    } else if (a == "--delay") o.delayMs = number(a, value(), 0);
    else if (a == "--split") o.pieces = number(a, value(), 1);
    else if (a == "--split-pause") o.pauseMs = number(a, value(), 0);
    else if (a == "--error") o.profile.failing.insert(upper(value()));
    else if (a == "--close-after") o.closeAfter = upper(value());
    else if (a == "--log") o.log = value();
    else if (a == "--silent") o.profile.silent = true;
    else if (a == "--until-stdin-closes") o.untilStdinCloses = true;
    else throw UsageError("unknown option " + a);
  }
  return o;
}

void makeRaw(int fd) {
  termios t{};
  if (tcgetattr(fd, &t) != 0) return;
  cfmakeraw(&t);
  tcsetattr(fd, TCSANOW, &t);
}

void writeAll(int fd, const std::string& bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n <= 0) {
      if (n < 0 && errno == EINTR) continue;
      return;
    }
    done += static_cast<std::size_t>(n);
  }
}

// A log line: what came or went, control characters written as \r, \n or \xNN.
std::string logLine(const char* what, const std::string& bytes) {
  std::string text = what;
  for (unsigned char c : bytes) {
    if (c == '\r') {
      text += "\\r";
    } else if (c == '\n') {
      text += "\\n";
    } else if (c < 0x20 || c == 0x7f || c == '\\') {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\x%02x", c);
      text += escaped;
    } else {
      text.push_back(static_cast<char>(c));
    }
  }
  return text + "\n";
}

void closeLine(int& line, int& keepOpen) {
  if (keepOpen >= 0) ::close(keepOpen);
  if (line >= 0) ::close(line);
  keepOpen = line = -1;
}

int run(const Options& o, const sigset_t& waitMask) {
  int line = -1;
  int keepOpen = -1;  // our own handle on the far end, so a host closing it does not hang us up
  std::string path;
  if (o.device.empty()) {
    int master = -1, slave = -1;
    if (openpty(&master, &slave, nullptr, nullptr, nullptr) != 0) {
      std::cerr << "tovport-phone: openpty: " << std::strerror(errno) << "\n";
      return 1;
    }
    makeRaw(slave);
    path = ttyname(slave);
    line = master;
    keepOpen = slave;
  } else {
    line = ::open(o.device.c_str(), O_RDWR | O_NOCTTY);
    if (line < 0) {
      std::cerr << "tovport-phone: " << o.device << ": " << std::strerror(errno) << "\n";
      return 1;
    }
    makeRaw(line);
    path = o.device;
  }
  std::ofstream log;
  if (!o.log.empty()) {
    log.open(o.log, std::ios::app);
    if (!log) {
      std::cerr << "tovport-phone: " << o.log << ": " << std::strerror(errno) << "\n";
      closeLine(line, keepOpen);
      return 1;
    }
  }
  std::cout << path << std::endl;

  Responder phone(o.profile);
  std::string heard;  // upper case, for --close-after
  char buf[512];
  while (!stopRequested) {
    pollfd fds[2] = {{line, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    // The stop signals are blocked outside the wait, so one that comes before it ends it at once.
    const int n = ::ppoll(fds, o.untilStdinCloses ? 2 : 1, nullptr, &waitMask);
    if (n < 0) {
      if (errno == EINTR) continue;
      break;
    }
    if (o.untilStdinCloses && (fds[1].revents & (POLLIN | POLLHUP | POLLERR))) {
      const ssize_t r = ::read(STDIN_FILENO, buf, sizeof buf);
      if (r <= 0) break;  // stdin closed: the caller is done with us
    }
    if (line >= 0 && (fds[0].revents & POLLIN)) {
      const ssize_t r = ::read(line, buf, sizeof buf);
      if (r <= 0) continue;
      if (!o.closeAfter.empty()) heard += upper(std::string(buf, static_cast<std::size_t>(r)));
      for (const auto& exchange : phone.receive(std::string(buf, static_cast<std::size_t>(r)))) {
        if (log.is_open()) log << logLine("received ", exchange.command) << std::flush;
        if (exchange.answer.empty()) continue;
        if (o.delayMs > 0) ::usleep(static_cast<useconds_t>(o.delayMs) * 1000);
        const auto pieces = split(exchange.answer, o.pieces);
        for (std::size_t i = 0; i < pieces.size(); ++i) {
          if (i > 0) ::usleep(static_cast<useconds_t>(o.pauseMs) * 1000);
          writeAll(line, pieces[i]);
        }
        if (log.is_open()) log << logLine("sent ", exchange.answer) << std::flush;
      }
      if (!o.closeAfter.empty() && heard.find(o.closeAfter + "\r") != std::string::npos) {
        tcdrain(line);
        closeLine(line, keepOpen);  // the host's end hangs up; the program itself waits to be stopped
      }
    }
  }
  closeLine(line, keepOpen);
  return 0;
}

}  // namespace
}  // namespace tovport_phone

int main(int argc, char** argv) {
  using namespace tovport_phone;
  sigset_t stopSignals, waitMask;
  sigemptyset(&stopSignals);
  struct sigaction stop {};
  stop.sa_handler = onSignal;
  for (int s : {SIGINT, SIGTERM, SIGHUP}) {
    sigaddset(&stopSignals, s);
    sigaction(s, &stop, nullptr);
  }
  sigprocmask(SIG_BLOCK, &stopSignals, &waitMask);
  std::signal(SIGPIPE, SIG_IGN);
  try {
    bool help = false;
    const Options o = parse(argc, argv, help);
    if (help) {
      std::cout << kUsage << "\n" << kHelp;
      return 0;
    }
    return run(o, waitMask);
  } catch (const UsageError& e) {
    std::cerr << "tovport-phone: " << e.what() << "\n" << kUsage;
    return 2;
  }
}
