#include "platform/terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <optional>

namespace tarnwick::platform {
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

int descriptor_of(Standard stream) {
  return stream == Standard::kInput    ? STDIN_FILENO
         : stream == Standard::kOutput ? STDOUT_FILENO
                                       : STDERR_FILENO;
}

bool input_comes_within(std::chrono::milliseconds time) {
  pollfd input{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0};
  return poll(&input, 1, static_cast<int>(time.count())) > 0;
}

}  // namespace

bool is_terminal(Standard stream) { return isatty(descriptor_of(stream)) != 0; }

TerminalSize terminal_size() {
  constexpr std::size_t kUsual = 80;
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    return {size.ws_col, size.ws_row};
  }
  const char* columns = std::getenv("COLUMNS");
  const std::size_t told = columns == nullptr ? 0 : std::strtoul(columns, nullptr, 10);
  return {told > 0 ? told : kUsual, size.ws_row};
}

TerminalMode::TerminalMode(Without without) {
  const std::lock_guard lock(changed().mutex);
  termios mode{};
  if (tcgetattr(STDIN_FILENO, &mode) != 0) return;
  changed().before = mode;
  mode.c_lflag &= ~static_cast<tcflag_t>(without == Without::kEcho ? ECHO : ECHO | ICANON | ISIG);
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

bool line_comes_until(std::chrono::steady_clock::time_point until) {
  using std::chrono::milliseconds;
  for (;;) {
    const auto left = std::chrono::ceil<milliseconds>(until - std::chrono::steady_clock::now());
    if (left <= milliseconds::zero()) return false;
    if (input_comes_within(left)) return true;
  }
}

bool key_comes_within(std::chrono::milliseconds time) {
  if (!input_comes_within(time)) return false;
  std::array<char, 256> typed{};
  [[maybe_unused]] const ssize_t taken = read(STDIN_FILENO, typed.data(), typed.size());
  return true;
}

void erase_line() { std::cerr << "\r\x1b[K" << std::flush; }

void clear_screen() { std::cout << "\x1b[2J"; }

void begin_screen() { std::cout << "\x1b[H\x1b[J"; }

bool reader_has_gone() {
  pollfd output{.fd = STDOUT_FILENO, .events = 0, .revents = 0};
  return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

}  // namespace tarnwick::platform
