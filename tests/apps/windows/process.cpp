#include "tests/apps/windows/process.h"

#include <gtest/gtest.h>

namespace tarnwick::test_support {

Process::Process(std::wstring command_line, std::wstring desktop) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  HANDLE write_end = nullptr;
  EXPECT_NE(CreatePipe(&read_end_, &write_end, &inherited, 0), 0);
  SetHandleInformation(read_end_, HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdOutput = write_end;
  startup.hStdError = write_end;
  if (!desktop.empty()) startup.lpDesktop = desktop.data();
  EXPECT_NE(CreateProcessW(nullptr, command_line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                           nullptr, &startup, &process_),
            0)
      << GetLastError();
  CloseHandle(write_end);
}

Process::~Process() {
  TerminateProcess(process_.hProcess, 99);
  CloseHandle(process_.hThread);
  CloseHandle(process_.hProcess);
  CloseHandle(read_end_);
}

DWORD Process::exit_code() {
  WaitForSingleObject(process_.hProcess, INFINITE);
  DWORD code = 0;
  EXPECT_NE(GetExitCodeProcess(process_.hProcess, &code), 0);
  return code;
}

std::string Process::output() {
  std::string all;
  char buffer[4096];
  DWORD count = 0;
  while (ReadFile(read_end_, buffer, sizeof buffer, &count, nullptr) != 0 && count > 0) {
    all.append(buffer, count);
  }
  return all;
}

std::vector<PROCESSENTRY32W> processes(const std::wstring& program) {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  std::vector<PROCESSENTRY32W> found;
  for (BOOL more = Process32FirstW(snapshot, &entry); more != FALSE;
       more = Process32NextW(snapshot, &entry)) {
    if (program == entry.szExeFile) found.push_back(entry);
  }
  CloseHandle(snapshot);
  return found;
}

int running(const std::wstring& program) { return static_cast<int>(processes(program).size()); }

}  // namespace tarnwick::test_support
