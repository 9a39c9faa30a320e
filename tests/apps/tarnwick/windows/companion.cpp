// What stands on the console of a test beside the command line, or is started by it:
//
//     companion screen            tells on its output what its input asks of the console
//     companion run COMMAND-LINE  a program whose standard streams are the console; ends as it does
//     companion edit TITLE FILE   an editor that gives a record another title once Enter was
//     pressed companion page              a pager that shows the first line until Enter was pressed

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "platform/windows/api.h"
#include "platform/windows/wide.h"

namespace tarnwick::test_support {
namespace {

using platform::from_wide;

HANDLE open(const wchar_t* name) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return CreateFileW(name, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                     &inherited, OPEN_EXISTING, 0, nullptr);
}

std::string screen() {
  const HANDLE console = open(L"CONOUT$");
  CONSOLE_SCREEN_BUFFER_INFO info{};
  GetConsoleScreenBufferInfo(console, &info);
  std::string lines;
  for (SHORT y = 0; y < info.dwSize.Y; ++y) {
    std::wstring line(static_cast<std::size_t>(info.dwSize.X), L'\0');
    DWORD count = 0;
    ReadConsoleOutputCharacterW(console, line.data(), static_cast<DWORD>(line.size()), {0, y},
                                &count);
    line.resize(line.find_last_not_of(std::wstring_view(L" \0", 2)) + 1);
    lines += to_display_utf8(from_wide(line)) + '\n';
  }
  CloseHandle(console);
  return lines.substr(0, lines.find_last_not_of('\n') + 1);
}

bool echoes() {
  const HANDLE console = open(L"CONIN$");
  DWORD mode = 0;
  GetConsoleMode(console, &mode);
  CloseHandle(console);
  return (mode & ENABLE_ECHO_INPUT) != 0;
}

std::string answer_to(char question) {
  switch (question) {
    case 's':
      return screen();
    case 'e':
      return echoes() ? "yes" : "no";
    default:
      // For all on this console.
      return GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0) != 0 ? "yes" : "no";
  }
}

// The console stays as long as somebody is on it: no key ends this one.
BOOL WINAPI stay(DWORD) { return TRUE; }

int tell() {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  char question = 0;
  DWORD count = 0;
  while (ReadFile(input, &question, 1, &count, nullptr) != 0 && count == 1) {
    const std::string answer = answer_to(question);
    WriteFile(output, answer.c_str(), static_cast<DWORD>(answer.size() + 1), &count, nullptr);
  }
  return EXIT_SUCCESS;
}

// It ends with this process; not so the COM server, which it may start under Wine.
int run(std::wstring command_line) {
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags =
      JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE | JOB_OBJECT_LIMIT_SILENT_BREAKAWAY_OK;
  const HANDLE job = CreateJobObjectW(nullptr, nullptr);
  SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);

  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = open(L"CONIN$");
  startup.hStdOutput = startup.hStdError = open(L"CONOUT$");
  PROCESS_INFORMATION made{};
  if (CreateProcessW(nullptr, command_line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                     nullptr, nullptr, &startup, &made) == 0) {
    return EXIT_FAILURE;
  }
  AssignProcessToJobObject(job, made.hProcess);
  ResumeThread(made.hThread);
  WaitForSingleObject(made.hProcess, INFINITE);
  DWORD code = EXIT_FAILURE;
  GetExitCodeProcess(made.hProcess, &code);
  ExitProcess(code);
}

void wait_for_enter() {
  const HANDLE console = open(L"CONIN$");
  std::array<wchar_t, 64> line{};
  DWORD count = 0;
  ReadConsoleW(console, line.data(), static_cast<DWORD>(line.size()), &count, nullptr);
  CloseHandle(console);
}

// As every program that has no handler of its own; Wine's default one says 0.
BOOL WINAPI end_interrupted(DWORD) { ExitProcess(STATUS_CONTROL_C_EXIT); }

int edit(const std::wstring& title, const std::filesystem::path& file) {
  SetConsoleCtrlHandler(end_interrupted, TRUE);
  auto record = nlohmann::ordered_json::parse(std::ifstream(file));
  std::cout << "Editing " << record["Title"].get<std::string>() << std::endl;
  wait_for_enter();
  record["Title"] = to_utf8(from_wide(title));
  std::ofstream(file) << record.dump(2);
  return EXIT_SUCCESS;
}

int page() {
  std::string line;
  std::getline(std::cin, line);
  std::cout << "Showing " << line << std::endl;
  wait_for_enter();
  return EXIT_SUCCESS;
}

}  // namespace
}  // namespace tarnwick::test_support

int wmain(int count, wchar_t** arguments) {
  using namespace tarnwick::test_support;
  const std::vector<std::wstring> words(arguments + 1, arguments + count);
  const bool screen = words == std::vector<std::wstring>{L"screen"};
  constexpr std::wstring_view kRun = L" run ";
  if (screen || (words.size() > 1 && words[0] == L"run")) SetConsoleCtrlHandler(stay, TRUE);
  if (screen) return tell();
  if (words.size() > 1 && words[0] == L"run") {
    const std::wstring line = GetCommandLineW();
    return run(line.substr(line.find(kRun) + kRun.size()));
  }
  if (words == std::vector<std::wstring>{L"page"}) return page();
  if (words.size() == 3 && words[0] == L"edit") return edit(words[1], words[2]);
  return EXIT_FAILURE;
}
