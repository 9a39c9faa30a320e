#include "platform/process.h"

#include "platform/windows/console.h"
#include "platform/windows/host.h"
#include "platform/windows/wide.h"
// after windows.h
#include <lmcons.h>
#include <shellapi.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <random>
#include <system_error>
#include <thread>
#include <utility>

namespace tarnwick::platform {
namespace {

std::string utf8_of(std::wstring_view wide) { return to_display_utf8(from_wide(wide)); }

[[noreturn]] void fail(DWORD error, const char* what) {
  throw std::system_error(static_cast<int>(error), std::system_category(), what);
}

// The variables that other code pages would spell otherwise.
std::vector<std::wstring> variables_beyond_ascii() {
  std::vector<std::wstring> variables;
  wchar_t* const block = GetEnvironmentStringsW();
  if (block == nullptr) return variables;
  for (const wchar_t* at = block; *at != L'\0'; at += std::wcslen(at) + 1) {
    const std::wstring_view variable = at;
    // Those that begin so are the system's own.
    if (variable.front() == L'=' || variable.find(L'=') == std::wstring_view::npos) continue;
    if (std::ranges::any_of(variable, [](wchar_t c) { return c > 0x7F; })) {
      variables.emplace_back(variable);
    }
  }
  FreeEnvironmentStringsW(block);
  return variables;
}

// The run-time library keeps the environment in the code page of the system: here it is told all of
// it in UTF-8, while the programs that are started from here inherit what there was.
void use_utf8_environment() {
  const std::vector<std::wstring> variables = variables_beyond_ascii();
  for (const std::wstring& variable : variables) _putenv(utf8_of(variable).c_str());
  // Only now: that of Wine takes the process's own ones anew each time.
  for (const std::wstring& variable : variables) {
    const std::size_t equals = variable.find(L'=');
    SetEnvironmentVariableW(variable.substr(0, equals).c_str(),
                            variable.substr(equals + 1).c_str());
  }
}

// Never destroyed: the thread on which the console tells of an end may come at any time.
std::function<void()>& clean_up_at_end() {
  static auto* const step = new std::function<void()>;
  return *step;
}

// Ends the process as the system's own handler does: prompts and scripts know that exit code.
BOOL WINAPI on_end(DWORD) {
  clean_up_at_end()();
  TerminateProcess(GetCurrentProcess(), STATUS_CONTROL_C_EXIT);
  return TRUE;
}

}  // namespace

void set_up_process(std::function<void()> clean_up) {
  use_utf8_environment();
  use_console_streams();
  clean_up_at_end() = std::move(clean_up);
  SetConsoleCtrlHandler(on_end, TRUE);
}

std::vector<std::string> arguments(int, char**) {
  int count = 0;
  wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> result;
  for (int i = 1; i < count; ++i) result.push_back(utf8_of(words[i]));
  LocalFree(words);
  return result;
}

std::filesystem::path executable_file() { return executable_file_name(); }

std::optional<std::string> user_name() {
  std::array<wchar_t, UNLEN + 1> name{};
  auto size = static_cast<DWORD>(name.size());
  if (GetUserNameW(name.data(), &size) == 0) return std::nullopt;
  return utf8_of(name.data());
}

void end_in(std::chrono::milliseconds time) {
  std::thread([time] {
    std::this_thread::sleep_for(time);
    TerminateProcess(GetCurrentProcess(), EXIT_SUCCESS);
  }).detach();
}

std::filesystem::path make_unique_folder(const std::filesystem::path& beginning) {
  constexpr int kAttempts = 100;
  std::random_device random;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    std::filesystem::path folder = beginning;
    folder += std::to_wstring(random());
    // It inherits the rights of the folder that it is made in, which is the user's own.
    if (CreateDirectoryW(folder.c_str(), nullptr) != 0) return folder;
    if (GetLastError() != ERROR_ALREADY_EXISTS) break;
  }
  fail(GetLastError(), "cannot make a folder for temporary files");
}

bool is_in_use(const std::error_code& error) {
  return error == std::error_code(ERROR_SHARING_VIOLATION, std::system_category()) ||
         error == std::errc::permission_denied;
}

void reach_disk(const std::filesystem::path&, const std::vector<std::filesystem::path>& files) {
  for (const std::filesystem::path& name : files) {
    const HANDLE file = CreateFileW(name.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    const bool done = file != INVALID_HANDLE_VALUE && FlushFileBuffers(file) != 0;
    const DWORD error = GetLastError();
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
    if (!done) fail(error, "writing to the disk");
  }
}

}  // namespace tarnwick::platform
