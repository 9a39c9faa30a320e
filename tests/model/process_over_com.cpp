#include <stdexcept>

#include "automation/com/com.h"
#include "tests/apps/windows/process.h"
#include "tests/model/outside.h"
#include "tests/model/process_in_here.h"

namespace tarnwick::model {
namespace {

constexpr const wchar_t* kServer = L"Tarnwick.exe";
constexpr int kPatience = 3000;  // hundredths of a second

void wait_until_no_server_runs() {
  for (int i = 0; test_support::running(kServer) > 0; ++i) {
    if (i == kPatience) throw std::runtime_error("A server runs that does not end.");
    Sleep(10);
  }
}

// It would wait some seconds for another client. Who looks for none any more ends in order, as COM
// wants it: of one that is killed Wine remembers for ever that it serves.
void end_waiting_server() {
  for (const PROCESSENTRY32W& server : test_support::processes(kServer)) {
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 thread{};
    thread.dwSize = sizeof thread;
    for (BOOL more = Thread32First(snapshot, &thread); more != FALSE;
         more = Thread32Next(snapshot, &thread)) {
      if (thread.th32OwnerProcessID != server.th32ProcessID) continue;
      PostThreadMessageW(thread.th32ThreadID, WM_QUIT, 0, 0);
    }
    CloseHandle(snapshot);
  }
}

class ComLibrary {
 public:
  ComLibrary() {
    if (FAILED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {
      throw std::runtime_error("COM cannot be used.");
    }
  }
  ~ComLibrary() { CoUninitialize(); }
  ComLibrary(const ComLibrary&) = delete;
  ComLibrary& operator=(const ComLibrary&) = delete;
};

/// The registered server, of which there is one for all: each of these finds none, and leaves none.
class ProcessOverCom final : public PlayedProcess {
 public:
  ProcessOverCom() {
    wait_until_no_server_runs();
    transport_ = client::make_com_transport();
    // From now on something is held: a server whose last object was given up would end.
    (void)transport_->last_cause();
  }
  ~ProcessOverCom() override {
    transport_.reset();
    end_waiting_server();
  }
  ProcessOverCom(const ProcessOverCom&) = delete;
  ProcessOverCom& operator=(const ProcessOverCom&) = delete;

  client::Transport& transport() override { return *transport_; }
  [[nodiscard]] bool has_own_time() const override { return true; }
  /// Nobody sits in front of it.
  [[nodiscard]] ProcessTraits traits() const override {
    return {.asks_nobody = true, .raising_tells_the_cause = true};
  }

 private:
  ComLibrary library_;
  std::unique_ptr<client::Transport> transport_;
};

}  // namespace

const Stage kOverCom{[](int number) -> std::unique_ptr<PlayedProcess> {
                       if (number > 0) return make_embedded_process(number);
                       return std::make_unique<ProcessOverCom>();
                     },
                     &make_embedded_database};

}  // namespace tarnwick::model
