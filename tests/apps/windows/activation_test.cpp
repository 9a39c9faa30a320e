#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/apps/windows/process.h"
#include "tests/automation/com/connected_client.h"

namespace tarnwick {
namespace {

using test_support::ComThread;
using test_support::LateBound;
using test_support::Process;
using test_support::running;

void wait_until_no_server_runs() {
  for (int i = 0; i < 600 && running(L"Tarnwick.exe") > 0; ++i) Sleep(100);
  ASSERT_EQ(running(L"Tarnwick.exe"), 0);
}

/// Every test begins without a server: what one test used is about to end while the next one runs,
/// and under Wine that end can meet a client.
class Activation : public ::testing::Test {
 protected:
  void SetUp() override { wait_until_no_server_runs(); }
};

/// The right to serve, as a process has it that takes no new clients any more and is about to end.
class EndingServer {
 public:
  EndingServer() = default;
  ~EndingServer() {
    for (const HANDLE right : {usual_, elevated_}) {
      ReleaseMutex(right);
      CloseHandle(right);
    }
  }
  EndingServer(const EndingServer&) = delete;
  EndingServer& operator=(const EndingServer&) = delete;

 private:
  HANDLE usual_ = CreateMutexW(nullptr, TRUE, L"Local\\Tarnwick.Server");
  HANDLE elevated_ = CreateMutexW(nullptr, TRUE, L"Local\\Tarnwick.Server.Elevated");
};

/// A desktop as it is while Wine's shell makes it: it has its first window, but not the second one,
/// by which windows that only take messages hang.
class HalfMadeDesktop {
 public:
  HalfMadeDesktop() {
    std::thread([this] {
      SetThreadDesktop(desktop_);
      constexpr ATOM kDesktopClass = 32769;
      made_ = CreateWindowExW(0, MAKEINTATOM(kDesktopClass), nullptr, WS_POPUP, 0, 0, 0, 0, nullptr,
                              nullptr, nullptr, nullptr) != nullptr;
    }).join();
  }
  ~HalfMadeDesktop() { CloseDesktop(desktop_); }
  HalfMadeDesktop(const HalfMadeDesktop&) = delete;
  HalfMadeDesktop& operator=(const HalfMadeDesktop&) = delete;

  [[nodiscard]] bool made() const { return made_; }
  [[nodiscard]] const std::wstring& name() const { return name_; }
  /// Makes the second window; false if there is one.
  bool complete() {
    bool completed = false;
    std::thread([&] {
      SetThreadDesktop(desktop_);
      const HWND window = CreateWindowExW(0, L"Message", nullptr, WS_POPUP, 0, 0, 0, 0, nullptr,
                                          nullptr, nullptr, nullptr);
      completed = window != nullptr && GetAncestor(window, GA_PARENT) == nullptr;
    }).join();
    return completed;
  }

 private:
  // No desktop of another run, which lives as long as anybody uses it.
  std::wstring name_ = L"Tarnwick.Test." + std::to_wstring(GetTickCount64());
  HDESK desktop_ = CreateDesktopW(name_.c_str(), nullptr, nullptr, 0, GENERIC_ALL, nullptr);
  bool made_ = false;
};

// All of them hold their objects until the last one has its own: a server that some were done with
// may end while others are still on their way to it.
TEST_F(Activation, OfManyColdClientsAtOnceServesThemAllFromOneProcess) {
  constexpr wchar_t kReady[] = L"Local\\Tarnwick.Test.Ready";
  constexpr wchar_t kGo[] = L"Local\\Tarnwick.Test.Go";
  constexpr int kClients = 4;
  const HANDLE ready = CreateSemaphoreW(nullptr, 0, kClients, kReady);
  const HANDLE go = CreateEventW(nullptr, TRUE, FALSE, kGo);
  std::vector<std::unique_ptr<Process>> clients;
  for (int i = 0; i < kClients; ++i) {
    clients.push_back(
        std::make_unique<Process>(std::wstring(L"\"" ACTIVATE L"\" hold ") + kReady + L" " + kGo));
  }
  for (int i = 0; i < kClients; ++i) WaitForSingleObject(ready, INFINITE);
  // What all objects of one process share.
  const ComThread com;
  const LateBound server = LateBound::create(L"Tarnwick.Server");
  EXPECT_FALSE(server.call(L"SetConnection", {u"Provider=Tarnwick.Embedded;Nonsense=1", u"", u""})
                   .boolean());
  const int number = server.call(L"LastErrorNumber").number();
  EXPECT_NE(number, 0);
  SetEvent(go);
  for (const auto& client : clients) {
    EXPECT_EQ(client->output(), std::to_string(number));
    EXPECT_EQ(client->exit_code(), 0u);
  }
  CloseHandle(go);
  CloseHandle(ready);
}

// COM would make the server an apartment without the window that calls come by: its first clients
// would wait for its end.
TEST_F(Activation, OnADesktopThatIsBeingMadeServesTheClient) {
  if (GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version") == nullptr) {
    GTEST_SKIP() << "Only Wine lets a process meet such a desktop.";
  }
  HalfMadeDesktop desktop;
  ASSERT_TRUE(desktop.made());
  Process client(L"\"" ACTIVATE L"\" once", desktop.name());
  while (running(L"Tarnwick.exe") == 0) Sleep(10);
  Sleep(1000);  // so that the server has met the desktop as it is
  EXPECT_TRUE(desktop.complete());
  EXPECT_EQ(client.output(), "");
  EXPECT_EQ(client.exit_code(), 0u);
}

TEST_F(Activation, EndsTheProcessAfterItsLastClient) {
  {
    const ComThread com;
    EXPECT_FALSE(LateBound::create(L"Tarnwick.Server").call(L"Initialized").boolean());
    EXPECT_GE(running(L"Tarnwick.exe"), 1);
  }
  wait_until_no_server_runs();
}

TEST_F(Activation, AfterTheEndGetsANewServer) {
  for (int i = 0; i < 2; ++i) {
    Process client(L"\"" ACTIVATE L"\" once");
    EXPECT_EQ(client.output(), "");
    EXPECT_EQ(client.exit_code(), 0u);
    wait_until_no_server_runs();
  }
}

TEST_F(Activation, DuringTheEndGetsANewServer) {
  std::optional<EndingServer> ending;
  ending.emplace();
  Process client(L"\"" ACTIVATE L"\" once");
  while (running(L"Tarnwick.exe") == 0) Sleep(10);
  ending.reset();
  EXPECT_EQ(client.output(), "");
  EXPECT_EQ(client.exit_code(), 0u);
}

TEST_F(Activation, GivesTwoClientsObjectsOfTheSameProcess) {
  const ComThread com;
  const LateBound components = LateBound::create(L"Tarnwick.Components");
  EXPECT_EQ(
      components.object(L"Add", {1, u"One", 0, 1, 1, true, 2, 1, u"", u""}).call(L"Key").text(),
      u"C1");
  // Another client's process finds the component in the list that all objects of the process share.
  Process other(L"\"" ACTIVATE L"\" new-components");
  EXPECT_EQ(other.exit_code(), 0u);
  EXPECT_EQ(components.call(L"Count").number(), 0);
}

}  // namespace
}  // namespace tarnwick
