// Why a user may not open a serial device, and what to do about it: the words a host shows beside
// the component's "Access is denied.", which stays the system's own text.
#pragma once

#include <string>

namespace tov::platform {

// False when the user lacks read or write permission on the device (a missing device is not this).
bool mayOpenDevice(const std::string& path);

// Whether a port's device node is there for this user: present, missing (no node, or a link to
// none) or refused (a folder on the way, or the node itself, is closed to the user).
enum class DeviceNode { Present, Missing, Refused };
DeviceNode deviceNodeState(const std::string& path);
// For a device the user may not open: the group it is open to and how to join it, or that only its
// owner may open it.
std::string accessAdvice(const std::string& path);

}  // namespace tov::platform
