#include <tovport/automation/runtime_error.h>

namespace tov::automation {

std::string describeError(int number) {
  switch (number) {
    case 3: return "Return without GoSub";
    case 5: return "Invalid procedure call or argument";
    case 6: return "Overflow";
    case 7: return "Out of memory";
    case 9: return "Subscript out of range";
    case 11: return "Division by zero";
    case 13: return "Type mismatch";
    case 91: return "Object variable or With block variable not set";
    case 424: return "Object required";
    case 438: return "Object doesn't support this property or method";
    default: return "Application-defined or object-defined error";
  }
}

RuntimeError::RuntimeError(int number) : RuntimeError(number, describeError(number)) {}

RuntimeError::RuntimeError(int number, const std::string& description)
    : std::runtime_error(description), number_(number), description_(description) {}

}  // namespace tov::automation
