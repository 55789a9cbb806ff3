// The component's log texts go to debugprint, which writes nothing anywhere. A test (or a
// diagnosing host) may observe them on its own thread.
#pragma once

#include <functional>
#include <string>

namespace tov {

using LogObserver = std::function<void(const std::u16string& text)>;

// Installs an observer for the log texts handed to debugprint and PortTypeTrace on the calling
// thread; an empty function removes it. Returns the previous observer.
LogObserver observeLog(LogObserver observer);
void notifyLogObserver(const std::u16string& text);

}  // namespace tov
