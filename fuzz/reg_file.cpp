// Feeds arbitrary bytes to the .reg loader: a malformed file may only end in RegFileError, and
// whatever loads must dump to a REGEDIT4 text that loads back as the same tree.
#include <tovport/platform/reg_file.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tov::platform;
  Registry registry;
  try {
    loadRegText(registry, std::string_view(reinterpret_cast<const char*>(data), size), "fuzz.reg");
  } catch (const RegFileError&) {
    return 0;
  }
  const std::string dump = registry.dump();
  Registry copy;
  loadRegText(copy, dump, "dump");  // an error here escapes and is reported as a crash
  if (copy.dump() != dump) std::abort();
  return 0;
}
