#include "platform/reading_program.h"

#include <cstdlib>
#include <mutex>

#include "platform/windows/console.h"
#include "platform/windows/wide.h"

namespace tarnwick::platform {
namespace {

constexpr DWORD kPatience = 1'000;  // milliseconds that a program may take to end

// The end of the process ends it too. Never destroyed: that may come at any time.
struct Running {
  std::mutex mutex;
  HANDLE process = nullptr;
};
Running& running() {
  static auto* const one = new Running;
  return *one;
}

std::wstring wide(std::string_view utf8) { return to_wide(from_stored_utf8(utf8)); }

// The usual one, where there is one: what the system brings knows no Unicode.
std::optional<std::wstring> usual_command() {
  if (SearchPathW(nullptr, L"less", L".exe", 0, nullptr, nullptr) == 0) return std::nullopt;
  if (std::getenv("LESS") == nullptr) SetEnvironmentVariableW(L"LESS", L"FRX");
  // It takes UTF-8 for what it is.
  if (std::getenv("LESSCHARSET") == nullptr) SetEnvironmentVariableW(L"LESSCHARSET", L"utf-8");
  return L"less";
}

// A process on the console of this one; null where there is no such program.
HANDLE start(std::wstring command, HANDLE input) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = input;
  startup.hStdOutput = handle_of(Standard::kOutput);
  startup.hStdError = handle_of(Standard::kError);
  PROCESS_INFORMATION made{};
  if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup,
                     &made) == 0) {
    return nullptr;
  }
  CloseHandle(made.hThread);
  return made.hProcess;
}

// As much as the reader wants of it: who leaves early has seen enough.
void write_all(HANDLE pipe, std::string_view text) {
  while (!text.empty()) {
    DWORD written = 0;
    if (WriteFile(pipe, text.data(), static_cast<DWORD>(text.size()), &written, nullptr) == 0) {
      return;
    }
    text.remove_prefix(written);
  }
}

bool show(const std::wstring& command, std::string_view text) {
  HANDLE read_end = nullptr;
  HANDLE write_end = nullptr;
  if (CreatePipe(&read_end, &write_end, nullptr, 0) == 0) return false;
  SetHandleInformation(read_end, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  HANDLE process = nullptr;
  {
    const std::lock_guard lock(running().mutex);
    process = running().process = start(command, read_end);
  }
  CloseHandle(read_end);
  if (process != nullptr) write_all(write_end, text);
  CloseHandle(write_end);
  if (process == nullptr) return false;
  WaitForSingleObject(process, INFINITE);
  const std::lock_guard lock(running().mutex);
  CloseHandle(process);
  running().process = nullptr;
  return true;
}

}  // namespace

bool show_in_program(const std::optional<std::string>& command, std::string_view text) {
  const auto line = command ? std::optional(wide(*command)) : usual_command();
  return line && show(*line, text);
}

void end_showing_for_good() {
  running().mutex.lock();
  if (running().process == nullptr) return;
  // What interrupts this process interrupts it, too, as a rule.
  if (WaitForSingleObject(running().process, kPatience) == WAIT_OBJECT_0) return;
  TerminateProcess(running().process, EXIT_FAILURE);
}

std::string usual_editor() { return "notepad"; }

bool run_editor(const std::string& command, const std::filesystem::path& file) {
  const HANDLE process =
      start(wide(command) + L" \"" + file.wstring() + L'"', handle_of(Standard::kInput));
  if (process == nullptr) return false;
  WaitForSingleObject(process, INFINITE);
  DWORD code = EXIT_FAILURE;
  GetExitCodeProcess(process, &code);
  CloseHandle(process);
  // The key that has interrupted it interrupts this process, too, though perhaps not yet.
  if (code == STATUS_CONTROL_C_EXIT) Sleep(kPatience);
  return code == EXIT_SUCCESS;
}

}  // namespace tarnwick::platform
