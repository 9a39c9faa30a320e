#include "tests/apps/tarnwick/windows/console.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <memory>

namespace tarnwick::test_support {
namespace {

constexpr COORD kSize{160, 60};
// Nobody waits so long for what happens: a busy machine takes seconds.
constexpr std::chrono::seconds kPatience{120};
constexpr DWORD kPatienceInMilliseconds = 120'000;
constexpr DWORD kBetweenLooks = 20;  // milliseconds

struct Pipe {
  Pipe() { EXPECT_NE(CreatePipe(&read_end, &write_end, nullptr, 0), 0) << GetLastError(); }
  HANDLE read_end = nullptr;
  HANDLE write_end = nullptr;
};

void let_inherit(HANDLE handle) {
  SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
}

/// What CreateProcess is told beside the command line: the console.
class Attributes {
 public:
  explicit Attributes(HPCON console) {
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    room_ = std::make_unique<std::byte[]>(size);
    EXPECT_NE(InitializeProcThreadAttributeList(list(), 1, 0, &size), 0);
    EXPECT_NE(UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_PSEUDOCONSOLE, console,
                                        sizeof console, nullptr, nullptr),
              0);
  }
  ~Attributes() { DeleteProcThreadAttributeList(list()); }
  Attributes(const Attributes&) = delete;
  Attributes& operator=(const Attributes&) = delete;

  [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST list() const {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(room_.get());
  }

 private:
  std::unique_ptr<std::byte[]> room_;
};

void discard(HANDLE pipe) {
  std::array<char, 4096> bytes{};
  DWORD count = 0;
  while (ReadFile(pipe, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) != 0) {
  }
  CloseHandle(pipe);
}

}  // namespace

Console::Console() {
  const Pipe keys;
  const Pipe drawn;
  EXPECT_EQ(CreatePseudoConsole(kSize, keys.read_end, drawn.write_end, 0, &console_), S_OK);
  CloseHandle(keys.read_end);
  CloseHandle(drawn.write_end);
  keyboard_ = keys.write_end;
  shown_ = std::thread(discard, drawn.read_end);

  const Pipe questions;
  const Pipe answers;
  let_inherit(questions.read_end);
  let_inherit(answers.write_end);
  companion_ = start_process(L"\"" COMPANION L"\" screen", questions.read_end, answers.write_end);
  CloseHandle(questions.read_end);
  CloseHandle(answers.write_end);
  questions_ = questions.write_end;
  answers_ = answers.read_end;
}

Console::~Console() {
  end_program();
  CloseHandle(questions_);  // which ends the companion
  WaitForSingleObject(companion_, kPatienceInMilliseconds);
  CloseHandle(companion_);
  CloseHandle(answers_);
  CloseHandle(keyboard_);
  ClosePseudoConsole(console_);
  shown_.join();
}

void Console::end_program() {
  if (program_ == nullptr) return;
  TerminateProcess(program_, 99);
  WaitForSingleObject(program_, kPatienceInMilliseconds);
  CloseHandle(program_);
  program_ = nullptr;
}

HANDLE Console::start_process(std::wstring command_line, HANDLE input, HANDLE output) const {
  const Attributes attributes(console_);
  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof startup;
  // Not those of this process.
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = input;
  startup.StartupInfo.hStdOutput = output;
  startup.lpAttributeList = attributes.list();
  PROCESS_INFORMATION made{};
  EXPECT_NE(
      CreateProcessW(nullptr, command_line.data(), nullptr, nullptr, input != nullptr,
                     EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, &startup.StartupInfo, &made),
      0)
      << GetLastError();
  CloseHandle(made.hThread);
  return made.hProcess;
}

void Console::start(const std::wstring& command_line) {
  end_program();
  program_ = start_process(L"\"" COMPANION L"\" run " + command_line, nullptr, nullptr);
}

void Console::type(std::string_view text) const {
  DWORD count = 0;
  EXPECT_NE(WriteFile(keyboard_, text.data(), static_cast<DWORD>(text.size()), &count, nullptr), 0);
}

void Console::interrupt() const { EXPECT_EQ(ask('c'), "yes"); }

std::string Console::ask(char question) const {
  DWORD count = 0;
  EXPECT_NE(WriteFile(questions_, &question, 1, &count, nullptr), 0) << GetLastError();
  std::string answer;
  char c = 0;
  while (ReadFile(answers_, &c, 1, &count, nullptr) != 0 && count == 1 && c != '\0') answer += c;
  return answer;
}

void Console::wait_for(const std::string& text) const {
  const auto until = std::chrono::steady_clock::now() + kPatience;
  for (;;) {
    const bool last = !runs() || std::chrono::steady_clock::now() > until;
    const std::string seen = screen();
    if (seen.find(text) != std::string::npos) return;
    if (last) {
      ADD_FAILURE() << "'" << text << "' did not come; the screen:\n" << seen;
      return;
    }
    Sleep(kBetweenLooks);
  }
}

bool Console::runs() const { return WaitForSingleObject(program_, 0) == WAIT_TIMEOUT; }

DWORD Console::exit_code() const {
  EXPECT_EQ(WaitForSingleObject(program_, kPatienceInMilliseconds), WAIT_OBJECT_0)
      << "it does not end; the screen:\n"
      << screen();
  DWORD code = 0;
  EXPECT_NE(GetExitCodeProcess(program_, &code), 0);
  return code;
}

}  // namespace tarnwick::test_support
