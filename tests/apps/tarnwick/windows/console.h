#pragma once

#include <string>
#include <string_view>
#include <thread>

#include "platform/windows/api.h"
namespace tarnwick::test_support {

/// A console without a window, as terminal programs give it to what runs in them, with a companion
/// on it that tells what is to be seen there. One program at a time.
class Console {
 public:
  Console();
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// `command_line` begins with the quoted program.
  void start(const std::wstring& command_line);

  /// Presses keys: "\r" is Enter.
  void type(std::string_view text) const;
  /// As Ctrl+C does. (Wine's console takes the character for the end of the terminal.)
  void interrupt() const;

  /// Its lines from the top, without the blanks at their ends.
  [[nodiscard]] std::string screen() const { return ask('s'); }

  /// Waits until `text` stands on the screen. A failed test where the program ends without it.
  void wait_for(const std::string& text) const;

  /// Whether what is typed is shown.
  [[nodiscard]] bool echoes() const { return ask('e') == "yes"; }

  /// Waits for the end of the program.
  [[nodiscard]] DWORD exit_code() const;

  /// Whether the program runs.
  [[nodiscard]] bool runs() const;

 private:
  [[nodiscard]] std::string ask(char question) const;
  HANDLE start_process(std::wstring command_line, HANDLE input, HANDLE output) const;
  void end_program();

  HPCON console_ = nullptr;
  HANDLE keyboard_ = nullptr;
  std::thread shown_;  // takes what a terminal would draw
  HANDLE companion_ = nullptr;
  HANDLE questions_ = nullptr;
  HANDLE answers_ = nullptr;
  HANDLE program_ = nullptr;
};

}  // namespace tarnwick::test_support
