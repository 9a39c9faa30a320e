#include "platform/terminal.h"

#include <iostream>
#include <mutex>
#include <optional>

#include "platform/windows/console.h"

namespace tarnwick::platform {
namespace {

// The console is the whole process's. Never destroyed: the end of the process may ask for it.
struct Changed {
  std::mutex mutex;
  std::optional<DWORD> before;
};
Changed& changed() {
  static auto* const one = new Changed;
  return *one;
}

std::optional<CONSOLE_SCREEN_BUFFER_INFO> screen_of(Standard stream) {
  CONSOLE_SCREEN_BUFFER_INFO screen{};
  if (GetConsoleScreenBufferInfo(handle_of(stream), &screen) == 0) return std::nullopt;
  return screen;
}

void erase(Standard stream, COORD from, DWORD count) {
  const HANDLE console = handle_of(stream);
  DWORD done = 0;
  FillConsoleOutputCharacterW(console, L' ', count, from, &done);
  SetConsoleCursorPosition(console, from);
}

}  // namespace

bool is_terminal(Standard stream) {
  DWORD mode = 0;
  return GetConsoleMode(handle_of(stream), &mode) != 0;
}

TerminalSize terminal_size() {
  const auto screen = screen_of(Standard::kOutput);
  if (!screen) return {80, 0};
  const SMALL_RECT& shown = screen->srWindow;
  return {static_cast<std::size_t>(shown.Right - shown.Left + 1),
          static_cast<std::size_t>(shown.Bottom - shown.Top + 1)};
}

TerminalMode::TerminalMode(Without without) {
  const std::lock_guard lock(changed().mutex);
  DWORD mode = 0;
  if (GetConsoleMode(handle_of(Standard::kInput), &mode) == 0) return;
  changed().before = mode;
  const DWORD off = without == Without::kEcho
                        ? ENABLE_ECHO_INPUT
                        : ENABLE_ECHO_INPUT | ENABLE_LINE_INPUT | ENABLE_PROCESSED_INPUT;
  SetConsoleMode(handle_of(Standard::kInput), mode & ~off);
}

TerminalMode::~TerminalMode() {
  const std::lock_guard lock(changed().mutex);
  if (changed().before) SetConsoleMode(handle_of(Standard::kInput), *changed().before);
  changed().before.reset();
}

void TerminalMode::restore_for_good() noexcept {
  changed().mutex.lock();
  if (changed().before) SetConsoleMode(handle_of(Standard::kInput), *changed().before);
}

bool key_comes_within(std::chrono::milliseconds time) {
  const HANDLE console = handle_of(Standard::kInput);
  const auto until = std::chrono::steady_clock::now() + time;
  for (;;) {
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(until - std::chrono::steady_clock::now());
    if (left.count() <= 0 ||
        WaitForSingleObject(console, static_cast<DWORD>(left.count())) == WAIT_TIMEOUT) {
      return false;
    }
    INPUT_RECORD event{};
    DWORD count = 0;
    if (ReadConsoleInputW(console, &event, 1, &count) == 0 || count == 0) return true;
    // Keys that go up, the mouse and the window are events too.
    if (event.EventType != KEY_EVENT || event.Event.KeyEvent.bKeyDown == 0) continue;
    FlushConsoleInputBuffer(console);
    return true;
  }
}

void erase_line() {
  std::cerr << std::flush;
  const auto screen = screen_of(Standard::kError);
  if (!screen) return;
  erase(Standard::kError, {0, screen->dwCursorPosition.Y}, static_cast<DWORD>(screen->dwSize.X));
}

void clear_screen() { begin_screen(); }

void begin_screen() {
  std::cout << std::flush;
  const auto screen = screen_of(Standard::kOutput);
  if (!screen) return;
  const SMALL_RECT& shown = screen->srWindow;
  erase(Standard::kOutput, {0, shown.Top},
        static_cast<DWORD>(screen->dwSize.X) * static_cast<DWORD>(shown.Bottom - shown.Top + 1));
}

// A pipe refuses what is written to it once nobody reads there.
bool reader_has_gone() { return GetFileType(handle_of(Standard::kOutput)) == FILE_TYPE_PIPE; }

}  // namespace tarnwick::platform
