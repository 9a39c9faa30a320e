#include "platform/windows/console.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <future>
#include <iostream>
#include <mutex>
#include <streambuf>
#include <thread>
#include <utility>

#include "platform/windows/wide.h"
#include "runtime/text.h"

namespace tarnwick::platform {
namespace {

/// What is typed at the console, line by line. A line that nobody has come for yet stays.
class TypedLines final {
 public:
  /// The next line with its end; empty at the end of the input.
  std::string take() {
    begin();
    return line_.get();
  }

  /// False when there is none until then.
  bool wait(std::chrono::steady_clock::time_point until) {
    begin();
    return line_.wait_until(until) == std::future_status::ready;
  }

 private:
  // A read of the console knows no time: a thread of its own waits for its end.
  void begin() {
    if (line_.valid()) return;
    std::packaged_task<std::string()> reading(read);
    line_ = reading.get_future();
    std::thread(std::move(reading)).detach();
  }

  static std::string read() {
    std::wstring typed;
    std::array<wchar_t, 512> room{};
    do {
      DWORD count = 0;
      SetLastError(ERROR_SUCCESS);
      const BOOL done = ReadConsoleW(handle_of(Standard::kInput), room.data(),
                                     static_cast<DWORD>(room.size()), &count, nullptr);
      // A key has interrupted it, which ends the process.
      if (GetLastError() == ERROR_OPERATION_ABORTED) Sleep(INFINITE);
      if (done == 0 || count == 0) break;
      typed.append(room.data(), count);
    } while (typed.back() != L'\n');
    std::erase(typed, L'\r');
    // As a line of its own: Ctrl+Z.
    const bool at_end = !typed.empty() && typed.front() == L'\x1a';
    return at_end ? std::string() : to_display_utf8(from_wide(typed));
  }

  std::future<std::string> line_;
};

TypedLines& typed_lines() {
  // Never destroyed: its thread may still wait when the process ends.
  static auto* const lines = new TypedLines;
  return *lines;
}

class InputBuffer final : public std::streambuf {
 private:
  int_type underflow() override {
    line_ = typed_lines().take();
    if (line_.empty()) return traits_type::eof();
    setg(line_.data(), line_.data(), line_.data() + line_.size());
    return traits_type::to_int_type(line_.front());
  }

  std::string line_;
};

class OutputBuffer final : public std::streambuf {
 public:
  explicit OutputBuffer(Standard stream) : stream_(stream) {}

 private:
  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    const char one = traits_type::to_char_type(c);
    return xsputn(&one, 1) == 1 ? c : traits_type::eof();
  }

  std::streamsize xsputn(const char* text, std::streamsize count) override {
    const std::lock_guard lock(mutex_);
    waiting_.append(text, static_cast<std::size_t>(count));
    // A long output is seen as it comes, line by line.
    const std::size_t whole = waiting_.rfind('\n') + 1;
    return whole == 0 || write(whole) ? count : 0;
  }

  int sync() override {
    const std::lock_guard lock(mutex_);
    return write(waiting_.size()) ? 0 : -1;
  }

  // So many bytes of what waits, which end where a character ends.
  bool write(std::size_t count) {
    constexpr std::size_t kMost = 8'192;  // what any console takes at once
    const std::wstring text = to_wide(from_stored_utf8(waiting_.substr(0, count)));
    waiting_.erase(0, count);
    for (std::size_t at = 0; at < text.size();) {
      std::size_t piece = std::min(kMost, text.size() - at);
      const bool cuts_pair = at + piece < text.size() && IS_HIGH_SURROGATE(text[at + piece - 1]);
      if (cuts_pair) --piece;
      DWORD written = 0;
      if (WriteConsoleW(handle_of(stream_), text.data() + at, static_cast<DWORD>(piece), &written,
                        nullptr) == 0) {
        return false;
      }
      at += piece;
    }
    return true;
  }

  Standard stream_;
  std::mutex mutex_;
  std::string waiting_;
};

// Never destroyed: the streams are used to the very end.
void use_console(std::ios& stream, Standard standard, std::FILE* file) {
  if (!is_terminal(standard)) {
    _setmode(_fileno(file), _O_BINARY);
  } else if (standard == Standard::kInput) {
    stream.rdbuf(new InputBuffer);
  } else {
    stream.rdbuf(new OutputBuffer(standard));
  }
}

}  // namespace

HANDLE handle_of(Standard stream) {
  return GetStdHandle(stream == Standard::kInput    ? STD_INPUT_HANDLE
                      : stream == Standard::kOutput ? STD_OUTPUT_HANDLE
                                                    : STD_ERROR_HANDLE);
}

void use_console_streams() {
  use_console(std::cin, Standard::kInput, stdin);
  use_console(std::cout, Standard::kOutput, stdout);
  use_console(std::cerr, Standard::kError, stderr);
}

bool line_comes_until(std::chrono::steady_clock::time_point until) {
  return typed_lines().wait(until);
}

}  // namespace tarnwick::platform
