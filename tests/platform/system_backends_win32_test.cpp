// The Windows backends against the system itself (under Wine in CI): what serves while nothing is
// installed, that an installed stand-in still takes over, and that posted calls and timer ticks
// reach the thread through a host's own message loop.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include <tovport/platform/message_queue.h>
#include <tovport/platform/os_version.h>
#include <tovport/platform/registry.h>
#include <tovport/platform/serial.h>
#include <tovport/platform/serial_memory.h>

// Last: windows.h macros would rewrite the platform headers.
#include <windows.h>

namespace tov::platform {
namespace {

// A host's message loop, bounded: dispatches until done() holds; false if 5 s pass first.
bool hostLoopUntil(const std::function<bool()>& done) {
  const ULONGLONG end = ::GetTickCount64() + 5000;
  while (!done()) {
    if (::GetTickCount64() >= end) return false;
    ::MsgWaitForMultipleObjects(0, nullptr, FALSE, 50, QS_ALLINPUT);
    ::MSG message;
    while (::PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != 0) ::DispatchMessageA(&message);
  }
  return true;
}

TEST(SystemQueue, CallsPostedFromAWorkerRunInTheHostsLoopOnTheOwningThread) {
  auto queue = MessageQueue::current();
  const auto owner = std::this_thread::get_id();
  std::atomic<int> ran{0};
  std::thread([&] {
    for (int i = 0; i < 3; ++i) queue->post([&] { ran += std::this_thread::get_id() == owner ? 1 : 100; });
  }).join();
  EXPECT_TRUE(hostLoopUntil([&] { return ran.load() >= 3; }));
  EXPECT_EQ(ran.load(), 3);
}

TEST(SystemQueue, WaitWakesForAPostedCallAndThePumpRunsIt) {
  auto queue = MessageQueue::current();
  bool ran = false;
  std::thread worker([&] {
    ::Sleep(20);
    queue->post([&] { ran = true; });
  });
  const ULONGLONG start = ::GetTickCount64();
  while (!ran && ::GetTickCount64() - start < 5000) {
    queue->wait(5000);
    PumpMessages();
  }
  worker.join();
  EXPECT_TRUE(ran);
}

std::atomic<int> ticks{0};
std::atomic<UINT_PTR> tickedId{0};
void countTick(HWND, UINT message, UINT_PTR id, DWORD) {
  if (message == WM_TIMER) ++ticks;
  tickedId = id;
}

TEST(SystemQueue, TimersOnTheRealClockAreSystemTimersThatTickInTheHostsLoop) {
  ticks = 0;
  auto queue = MessageQueue::current();
  const UINT_PTR id = SetTimer(0, 0, 10, countTick);
  ASSERT_NE(id, 0u);
  EXPECT_EQ(queue->timerCount(), 1u);
  EXPECT_TRUE(hostLoopUntil([] { return ticks.load() >= 2; }));
  EXPECT_EQ(tickedId.load(), id);
  EXPECT_EQ(KillTimer(0, id), TRUE);
  EXPECT_EQ(KillTimer(0, id), FALSE);
  EXPECT_EQ(queue->timerCount(), 0u);
}

TEST(SystemBackends, RegistryIsTheSystemsUntilOneIsInstalled) {
  const char* path = "Software\\tovport-test";
  HKEY key = 0;
  ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, path, &key), static_cast<LSTATUS>(ERROR_SUCCESS));
  const std::string text = "seriell";
  ASSERT_EQ(RegSetValueExA(key, "Kind", REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                           static_cast<DWORD>(text.size() + 1)),
            static_cast<LSTATUS>(ERROR_SUCCESS));
  RegCloseKey(key);
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, path, 0, KEY_READ, &key), static_cast<LSTATUS>(ERROR_SUCCESS));
  char read[16] = {};
  DWORD size = sizeof read;
  EXPECT_EQ(RegQueryValueExA(key, "Kind", nullptr, nullptr, reinterpret_cast<BYTE*>(read), &size),
            static_cast<LSTATUS>(ERROR_SUCCESS));
  EXPECT_EQ(std::string(read), text);
  RegCloseKey(key);
  {
    Registry empty;
    ScopedRegistry scope(empty);
    EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, path, 0, KEY_READ, &key), static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND));
  }
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, path, 0, KEY_READ, &key), static_cast<LSTATUS>(ERROR_SUCCESS));
  char name[16];
  DWORD nameSize = sizeof name, type = 0;
  EXPECT_EQ(RegEnumValueA(key, 0, name, &nameSize, nullptr, &type, nullptr, nullptr),
            static_cast<LSTATUS>(ERROR_SUCCESS));
  EXPECT_EQ(std::string(name), "Kind");
  EXPECT_EQ(type, REG_SZ);
  RegCloseKey(key);
  EXPECT_EQ(RegDeleteTreeA(HKEY_CURRENT_USER, path), static_cast<LSTATUS>(ERROR_SUCCESS));
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, path, 0, KEY_READ, &key), static_cast<LSTATUS>(ERROR_FILE_NOT_FOUND));
}

TEST(SystemBackends, VersionIsTheSystemsUntilTheHostSetsOne) {
  clearOsVersion();  // earlier tests may have set one
  OSVERSIONINFOA info{};
  info.dwOSVersionInfoSize = sizeof info;
  ASSERT_EQ(GetVersionExA(&info), TRUE);
  EXPECT_EQ(info.dwPlatformId, VER_PLATFORM_WIN32_NT);
  EXPECT_GE(info.dwMajorVersion, 6u);  // Wine reports Windows 7; an XP default would be 5
  ScopedOsVersion xp(*parseOsVersion("xp-sp2"));
  ASSERT_EQ(GetVersionExA(&info), TRUE);
  EXPECT_EQ(info.dwMajorVersion, 5u);
  EXPECT_STREQ(info.szCSDVersion, "Service Pack 2");
}

TEST(SystemBackends, SerialPortsAreTheSystemsUntilABackendIsInstalled) {
  // COM199 exists neither in the system nor, until it is set present, in the simulated backend.
  EXPECT_EQ(CreateFileA("\\\\.\\COM199", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, 0),
            INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_FILE_NOT_FOUND);
  MemorySerialBackend simulated;
  simulated.port(199).setPresent(true);
  ScopedSerialBackend scope(simulated);
  const HANDLE h = CreateFileA("\\\\.\\COM199", GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, 0);
  ASSERT_NE(h, INVALID_HANDLE_VALUE);
  EXPECT_EQ(CloseHandle(h), TRUE);
}

}  // namespace
}  // namespace tov::platform
