#include <dlfcn.h>

#include "platform/module_path.h"

namespace tov::platform {

std::string modulePathOf(const void* address) {
  Dl_info info{};
  if (dladdr(address, &info) != 0 && info.dli_fname != nullptr) return info.dli_fname;
  return "libtovport.so";
}

}  // namespace tov::platform
