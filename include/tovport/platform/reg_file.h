// Loader of .reg text files (REGEDIT4 in ANSI, "Windows Registry Editor Version 5.00" in ANSI or
// UTF-16LE with a byte-order mark) into a Registry.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include <tovport/platform/registry.h>

namespace tov::platform {

// A malformed file: names the file, the 1-based line and what is wrong. A file that cannot be read
// has line 0 and the system's reason.
class RegFileError : public std::runtime_error {
 public:
  RegFileError(std::string file, int line, const std::string& what);
  const std::string& file() const { return file_; }
  int line() const { return line_; }

 private:
  std::string file_;
  int line_;
};

// Applies the file's keys, values and deletions to the registry. A malformed file changes
// nothing: it is parsed completely before anything is applied.
void loadRegFile(Registry& registry, const std::string& path);
// The same for text already in memory; name is used in error messages.
void loadRegText(Registry& registry, std::string_view bytes, const std::string& name);

}  // namespace tov::platform
