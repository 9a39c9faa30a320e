#pragma once

#include <chrono>
#include <cstddef>

namespace tarnwick::platform {

enum class Standard { kInput, kOutput, kError };

/// Whether the standard stream leads to a terminal: on Windows, to a console.
[[nodiscard]] bool is_terminal(Standard stream);

struct TerminalSize {
  std::size_t columns = 0;
  std::size_t rows = 0;
};

/// That of the terminal at standard output; 80 columns and no row where it does not tell.
[[nodiscard]] TerminalSize terminal_size();

/// The terminal at standard input without some of what it does by itself; as before when this ends,
/// also where the process is made to end (see set_up_process). What was typed ahead stays. One at a
/// time.
class TerminalMode final {
 public:
  enum class Without {
    kEcho,  // what is typed is not shown
    kAll,   // nor does it take a whole line, and no key interrupts the process
  };
  explicit TerminalMode(Without without);
  ~TerminalMode();
  TerminalMode(const TerminalMode&) = delete;
  TerminalMode& operator=(const TerminalMode&) = delete;

  /// Gives the terminal back. Whoever makes or ends one from then on waits for the end of the
  /// process.
  static void restore_for_good() noexcept;
};

/// Waits until a line was typed at the terminal, or its end; false when the time is over first.
[[nodiscard]] bool line_comes_until(std::chrono::steady_clock::time_point until);

/// Waits for a key where the terminal takes no whole lines, and takes it. Also true where there is
/// no terminal any more; false when the time is over first.
[[nodiscard]] bool key_comes_within(std::chrono::milliseconds time);

/// Erases the line at standard error; the cursor stands at its begin.
void erase_line();

/// Empties the screen at standard output.
void clear_screen();
/// Puts the cursor at the begin of its first line, and empties it from there.
void begin_screen();

/// Whether whoever read the standard output has gone, as `head` does once it has enough.
[[nodiscard]] bool reader_has_gone();

}  // namespace tarnwick::platform
