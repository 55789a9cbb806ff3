// OSInfo: which Windows is running, asked afresh on every call.
#pragma once

#include <cstdint>

namespace tov::discovery {

// 0 for Win32s, 1 for the 9x family, 2 for the NT family and any other platform id. A failed
// version query reads as 0, which discovery treats like 9x.
std::int32_t OSPlatform();

// True on version 5.1 and later 5.x of the NT family whose service-pack text contains
// "Service Pack 2" (case-sensitive): XP and Server 2003 with Service Pack 2.
bool IsXPServicePack2();

}  // namespace tov::discovery
