// Why a user may not open a serial device, and what to do about it: the words a host shows beside
// the component's "Access is denied.", which stays the system's own text.
#pragma once

#include <string>

namespace tov::platform {

// False when the user lacks read or write permission on the device (a missing device is not this).
bool mayOpenDevice(const std::string& path);
// For a device the user may not open: the group it is open to and how to join it, or that only its
// owner may open it.
std::string accessAdvice(const std::string& path);

}  // namespace tov::platform
