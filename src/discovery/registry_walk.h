// What the enumerators share: key and value tests under HKEY_LOCAL_MACHINE, listings as plain
// name lists, and the one port acceptance rule.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include <tovport/component/types.h>
#include "discovery/reg_access.h"

namespace tov::discovery {

// A & "\" & B.
BStr subPath(std::u16string_view key, std::u16string_view name);

bool keyExists(std::u16string_view key);
bool hasValue(std::u16string_view key, std::u16string_view valueName);

// A value read as text, as a number, or as the registry stores it (the kind reset each time);
// always with an empty default.
Variant readTextValue(std::u16string_view key, std::u16string_view valueName);
Variant readNumberValue(std::u16string_view key, std::u16string_view valueName);
Variant readStoredValue(std::u16string_view key, std::u16string_view valueName);
// The stored value taken as text (an empty result as empty text).
BStr readStoredText(std::u16string_view key, std::u16string_view valueName);

// Subkey and value names of a key; empty when it is missing or has none. The ...OfExisting forms
// first ask whether the key opens, the cheap test before a listing.
std::vector<BStr> subKeysOf(std::u16string_view key);
std::vector<BStr> subKeysOfExisting(std::u16string_view key);
std::vector<BStr> valueNamesOf(std::u16string_view key);
std::vector<BStr> valueNamesOfExisting(std::u16string_view key);

// Port acceptance: a port number 1..MaxPorts gets the kind; any other is ignored. True when marked.
bool markPort(int n, ComPortType kind);
bool acceptPort(const Variant& portName, ComPortType kind);

// When key holds valueName, reads it as text and accepts it as a port of kind.
bool acceptPortValue(std::u16string_view key, std::u16string_view valueName, ComPortType kind);

// acceptPortValue on key\S & suffix for each instance S of key. True when a port was marked.
bool acceptInstancePorts(std::u16string_view key, const std::vector<BStr>& instances, std::u16string_view suffix,
                         std::u16string_view valueName, ComPortType kind);
inline constexpr std::u16string_view kDeviceParameters = u"\\Device Parameters";

// The "MatchingDeviceID" of the first driver instance under classKey whose testValue, upper-cased,
// equals expected; nullopt when none qualifies. Instances without the id are passed over.
std::optional<BStr> matchingDeviceId(std::u16string_view classKey, std::u16string_view testValue,
                                     std::u16string_view expected);

}  // namespace tov::discovery
