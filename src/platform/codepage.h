// Conversions between automation text (UTF-16) and the system ANSI code page (Windows-1252).
#pragma once

#include <string>
#include <string_view>

namespace tov::platform {

std::u16string ansiToUtf16(std::string_view ansi);
// Characters without a Windows-1252 form become '?', as the system conversion does.
std::string utf16ToAnsi(std::u16string_view text);

}  // namespace tov::platform
