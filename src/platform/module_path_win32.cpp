#include "platform/module_path.h"

// Last: windows.h macros would rewrite the platform headers.
#include <windows.h>

namespace tov::platform {

std::string modulePathOf(const void* address) {
  HMODULE module = nullptr;
  constexpr DWORD flags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
  char path[MAX_PATH];
  if (GetModuleHandleExA(flags, static_cast<LPCSTR>(address), &module) != 0) {
    const DWORD length = GetModuleFileNameA(module, path, MAX_PATH);
    if (length > 0 && length < MAX_PATH) return std::string(path, length);
  }
  return "tovport.dll";
}

}  // namespace tov::platform
