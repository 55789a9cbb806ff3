// How the host turns command-line words into automation values and values back into text.
#pragma once

#include <string>

#include <tovport/automation/variant.h>

namespace tovport_cli {

// Integers become I2 or I4, True/False a VARIANT_BOOL, anything else text.
tov::automation::Variant parseArgument(const std::string& word);
std::string displayText(const tov::automation::Variant& value);
// The value as a JSON value: numbers, true/false, strings with escapes, null for empty.
std::string jsonValue(const tov::automation::Variant& value);
std::string jsonString(const std::string& utf8);

}  // namespace tovport_cli
