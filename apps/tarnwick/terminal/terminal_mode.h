#pragma once

#include <termios.h>

namespace tarnwick::cli {

/// The terminal at standard input with some of its local modes switched off; it is as before when
/// this ends, also where a signal ends the process (see set_up_process). What was typed ahead
/// stays. One at a time.
class TerminalMode final {
 public:
  explicit TerminalMode(tcflag_t switched_off);
  ~TerminalMode();
  TerminalMode(const TerminalMode&) = delete;
  TerminalMode& operator=(const TerminalMode&) = delete;

  /// Gives the terminal back. Whoever makes or ends one from then on waits for the end of the
  /// process.
  static void restore_for_good() noexcept;
};

}  // namespace tarnwick::cli
