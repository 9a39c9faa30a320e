#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/windows/api.h"

#include <tlhelp32.h>  // behind windows.h

namespace tarnwick::test_support {

/// A program that was started; ends with this object at the latest.
class Process {
 public:
  /// `command_line` begins with the quoted program. Its standard streams go where output() reads.
  /// Without a name of a `desktop` it is started on this process's.
  explicit Process(std::wstring command_line, std::wstring desktop = {});
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// Waits for its end.
  [[nodiscard]] DWORD exit_code();
  /// All that it has written until its end, UTF-8.
  [[nodiscard]] std::string output();

 private:
  PROCESS_INFORMATION process_{};
  HANDLE read_end_ = nullptr;
};

/// The processes that run the program with this file name (without folder).
[[nodiscard]] std::vector<PROCESSENTRY32W> processes(const std::wstring& program);

/// How many there are.
[[nodiscard]] int running(const std::wstring& program);

}  // namespace tarnwick::test_support
