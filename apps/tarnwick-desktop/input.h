#pragma once

#include <functional>
#include <string>

namespace tarnwick::desktop {

/// While it lives, the event loop reads standard input: calls `on_line` for every line, and
/// `on_end` once at its end.
class InputWatch {
 public:
  InputWatch(std::function<void(const std::string&)> on_line, std::function<void()> on_end);
  ~InputWatch();
  InputWatch(const InputWatch&) = delete;
  InputWatch& operator=(const InputWatch&) = delete;

 private:
  static void on_readable(int file, void* userdata);

  std::function<void(const std::string&)> on_line_;
  std::function<void()> on_end_;
  std::string pending_;
};

}  // namespace tarnwick::desktop
