// Run-time errors of the automation runtime: error number n travels to callers as
// HRESULT 0x800A0000 + n with its description.
#pragma once

#include <stdexcept>
#include <string>

#include <tovport/automation/com.h>

namespace tov::automation {

inline constexpr int kErrInvalidCall = 5;
inline constexpr int kErrOverflow = 6;
inline constexpr int kErrSubscript = 9;
inline constexpr int kErrTypeMismatch = 13;
inline constexpr int kErrObjectNotSet = 91;

class RuntimeError : public std::runtime_error {
 public:
  explicit RuntimeError(int number);
  RuntimeError(int number, const std::string& description);
  int number() const { return number_; }
  HRESULT hresult() const { return static_cast<HRESULT>(0x800A0000u + static_cast<unsigned>(number_)); }
  const std::string& description() const { return description_; }

 private:
  int number_;
  std::string description_;
};

// The standard description of a run-time error number ("Overflow", "Subscript out of range", ...).
std::string describeError(int number);

// Raises error 9 unless lo <= index <= hi.
inline void checkIndex(long index, long lo, long hi) {
  if (index < lo || index > hi) throw RuntimeError(kErrSubscript);
}

}  // namespace tov::automation
