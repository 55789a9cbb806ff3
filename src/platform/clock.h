// Time as the component sees it: a monotonic millisecond count for timers and timeouts, the local
// date and time for deadlines, and Sleep. The real clock follows the system; the manual clock
// moves only when told to (or when code sleeps on it), so time-dependent behaviour is testable.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace tov::platform {

class Clock {
 public:
  virtual ~Clock() = default;
  // Milliseconds on a monotonic scale (origin unspecified).
  virtual std::int64_t monotonicMs() const = 0;
  // Local date and time as an automation DATE: days since 1899-12-30, fraction = time of day.
  virtual double localDate() const = 0;
  // Block the calling thread for ms milliseconds (the manual clock advances instead).
  virtual void sleepMs(std::uint32_t ms) = 0;
  // Wait on cv (locked by lock) until pred holds or the monotonic deadline passes; returns pred().
  // The manual clock advances itself to the deadline when pred still fails after a real wake-up.
  virtual bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& cv,
                         std::int64_t deadlineMs, const std::function<bool()>& pred) = 0;
  virtual bool isManual() const { return false; }
};

class RealClock final : public Clock {
 public:
  std::int64_t monotonicMs() const override;
  double localDate() const override;
  void sleepMs(std::uint32_t ms) override;
  bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& cv, std::int64_t deadlineMs,
                 const std::function<bool()>& pred) override;
};

// Starts at 2026-01-01 00:00:00 local time unless told otherwise.
class ManualClock final : public Clock {
 public:
  explicit ManualClock(double startDate = kDefaultStart);
  std::int64_t monotonicMs() const override { return now_.load(); }
  double localDate() const override;
  void sleepMs(std::uint32_t ms) override { advance(ms); }
  bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& cv, std::int64_t deadlineMs,
                 const std::function<bool()>& pred) override;
  bool isManual() const override { return true; }

  void advance(std::int64_t ms) { now_ += ms; }
  void advanceTo(std::int64_t ms) {
    if (ms > now_.load()) now_ = ms;
  }

  static constexpr double kDefaultStart = 46023.0;  // 2026-01-01

 private:
  std::atomic<std::int64_t> now_{0};
  double startDate_;
};

// The process-wide clock (the real clock unless a test or the host installs another).
Clock& clock();
// Installs a clock for the lifetime of the guard; the previous one comes back afterwards.
class ScopedClock {
 public:
  explicit ScopedClock(Clock& c);
  ~ScopedClock();
  ScopedClock(const ScopedClock&) = delete;
  ScopedClock& operator=(const ScopedClock&) = delete;

 private:
  Clock* previous_;
};

// Win32 Sleep on the process clock.
void Sleep(std::uint32_t ms);

// The DATE of a civil date (proleptic Gregorian calendar): days since 1899-12-30.
double dateFromCivil(int year, unsigned month, unsigned day);

// Seconds as a fraction of a DATE day.
inline constexpr double kSecondsPerDay = 86400.0;

}  // namespace tov::platform
