#include <tovport/platform/reg_file.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/reg_text.h"

namespace tov::platform {
namespace {

constexpr std::string_view kHeader4 = "REGEDIT4";
constexpr std::string_view kHeader5 = "Windows Registry Editor Version 5.00";

// One change the file asks for; all are collected before any is applied.
struct RegChange {
  enum class Kind { CreateKey, DeleteKey, SetValue, DeleteValue } kind;
  std::string keyPath;
  RegValueLine value;  // for the value kinds
};

class RegFileParser {
 public:
  RegFileParser(const std::string& fileName, std::string_view bytes) : fileName_(fileName) {
    const bool utf16 = bytes.starts_with("\xFF\xFE");
    text_ = utf16 ? utf16leToAnsi(bytes.substr(2)) : std::string(bytes);
    lines_ = splitLines(text_);
    if (utf16 && bytes.size() % 2 != 0)
      fail(static_cast<int>(lines_.size()), "odd number of bytes in UTF-16 text");
  }

  std::vector<RegChange> parse() {
    const std::string_view header = trimRight(lines_.empty() ? std::string_view() : lines_[0]);
    if (header == kHeader4) {
      format_ = RegTextFormat::Regedit4;
    } else if (header == kHeader5) {
      format_ = RegTextFormat::Version5;
    } else if (header.starts_with("\xEF\xBB\xBF")) {
      fail(1, "the file starts with a UTF-8 byte-order mark; save it as ANSI or as UTF-16LE (Unicode)");
    } else {
      fail(1, "not a registry file: the first line must be \"" + std::string(kHeader4) + "\" or \"" +
                  std::string(kHeader5) + "\"");
    }
    for (std::size_t i = 1; i < lines_.size(); ++i) {
      const std::string_view line = trimLeft(lines_[i]);
      const int lineNumber = static_cast<int>(i) + 1;
      if (line.empty() || line.front() == ';') continue;
      if (line.front() == '[') {
        keyLine(trimRight(line), lineNumber);
      } else if (line.front() == '"' || line.front() == '@') {
        valueLine(joinContinuations(i));
      } else {
        fail(lineNumber, "unrecognised line");
      }
    }
    return std::move(changes_);
  }

 private:
  [[noreturn]] void fail(int line, const std::string& what) const {
    throw RegFileError(fileName_, line, what);
  }

  void keyLine(std::string_view line, int lineNumber) {
    if (line.back() != ']') fail(lineNumber, "key line without closing ']'");
    std::string_view path = line.substr(1, line.size() - 2);
    const bool deletion = path.starts_with('-');
    if (deletion) path.remove_prefix(1);
    const auto split = splitRegistryPath(path);
    if (!split) fail(lineNumber, "invalid key path '" + std::string(path) + "'");
    if (deletion && split->names.empty()) fail(lineNumber, "a root key cannot be deleted");
    changes_.push_back(
        {deletion ? RegChange::Kind::DeleteKey : RegChange::Kind::CreateKey, std::string(path), {}});
    currentKey_ = deletion ? std::nullopt : std::optional<std::string>(path);
    keyLineSeen_ = true;
  }

  // A value line with the lines its trailing backslashes continue onto; advances i past them.
  LogicalLine joinContinuations(std::size_t& i) {
    LogicalLine logical;
    while (true) {
      logical.append(static_cast<int>(i) + 1, trimRight(trimLeft(lines_[i])));
      if (!logical.text.ends_with('\\')) return logical;
      logical.text.pop_back();
      if (++i == lines_.size()) fail(static_cast<int>(i), "continuation past the end of the file");
    }
  }

  void valueLine(const LogicalLine& line) {
    if (!currentKey_) {
      fail(line.lineAt(0), keyLineSeen_ ? "value under a deleted key" : "value before the first key line");
    }
    try {
      RegValueLine value = parseRegValueLine(line.text, format_);
      const auto kind = value.deletion ? RegChange::Kind::DeleteValue : RegChange::Kind::SetValue;
      changes_.push_back({kind, *currentKey_, std::move(value)});
    } catch (const RegSyntaxError& e) {
      fail(line.lineAt(e.position), e.what());
    }
  }

  std::string fileName_;
  std::string text_;
  std::vector<std::string_view> lines_;
  RegTextFormat format_ = RegTextFormat::Regedit4;
  std::optional<std::string> currentKey_;
  bool keyLineSeen_ = false;
  std::vector<RegChange> changes_;
};

void applyChanges(Registry& registry, const std::vector<RegChange>& changes) {
  for (const auto& c : changes) {
    switch (c.kind) {
      case RegChange::Kind::CreateKey:
        registry.createKey(c.keyPath);
        break;
      case RegChange::Kind::DeleteKey:
        registry.deleteKey(c.keyPath);
        break;
      case RegChange::Kind::SetValue:
        registry.setValue(c.keyPath, c.value.name, c.value.type, c.value.data);
        break;
      case RegChange::Kind::DeleteValue:
        registry.deleteValue(c.keyPath, c.value.name);
        break;
    }
  }
}

}  // namespace

RegFileError::RegFileError(std::string file, int line, const std::string& what)
    : std::runtime_error(file + (line > 0 ? ":" + std::to_string(line) : "") + ": " + what),
      file_(std::move(file)),
      line_(line) {}

void loadRegFile(Registry& registry, const std::string& path) {
  // The C library keeps the system's reason (errno) where a stream would not.
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) throw RegFileError(path, 0, std::strerror(errno));
  std::string bytes;
  char chunk[4096];
  while (const std::size_t n = std::fread(chunk, 1, sizeof chunk, file.get())) bytes.append(chunk, n);
  if (std::ferror(file.get())) throw RegFileError(path, 0, std::strerror(errno));
  loadRegText(registry, bytes, path);
}

void loadRegText(Registry& registry, std::string_view bytes, const std::string& name) {
  applyChanges(registry, RegFileParser(name, bytes).parse());
}

}  // namespace tov::platform
