// The file a loaded module (a shared library or DLL) was loaded from.
#pragma once

#include <string>

namespace tov::platform {

// The full path of the module holding code at address; the module's plain file name when the
// system cannot tell.
std::string modulePathOf(const void* address);

}  // namespace tov::platform
