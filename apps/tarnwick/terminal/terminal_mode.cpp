#include "apps/tarnwick/terminal/terminal_mode.h"

#include <unistd.h>

#include <mutex>
#include <optional>

namespace tarnwick::cli {
namespace {

// The terminal is the whole process's. Never destroyed: the thread that waits for signals lives as
// long as the process.
struct Changed {
  std::mutex mutex;
  std::optional<termios> before;
};
Changed& changed() {
  static auto* const one = new Changed;
  return *one;
}

}  // namespace

TerminalMode::TerminalMode(tcflag_t switched_off) {
  const std::lock_guard lock(changed().mutex);
  termios mode{};
  if (tcgetattr(STDIN_FILENO, &mode) != 0) return;
  changed().before = mode;
  mode.c_lflag &= ~switched_off;
  tcsetattr(STDIN_FILENO, TCSADRAIN, &mode);
}

TerminalMode::~TerminalMode() {
  const std::lock_guard lock(changed().mutex);
  if (changed().before) tcsetattr(STDIN_FILENO, TCSADRAIN, &*changed().before);
  changed().before.reset();
}

void TerminalMode::restore_for_good() noexcept {
  changed().mutex.lock();
  // In the background the terminal is somebody else's.
  if (changed().before && tcgetpgrp(STDIN_FILENO) == getpgrp()) {
    tcsetattr(STDIN_FILENO, TCSADRAIN, &*changed().before);
  }
}

}  // namespace tarnwick::cli
