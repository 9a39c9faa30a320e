#include "apps/tarnwick-desktop/input.h"

#include <FL/Fl.H>
#include <unistd.h>

#include <utility>

namespace tarnwick::desktop {

InputWatch::InputWatch(std::function<void(const std::string&)> on_line,
                       std::function<void()> on_end)
    : on_line_(std::move(on_line)), on_end_(std::move(on_end)) {
  Fl::add_fd(STDIN_FILENO, FL_READ, &InputWatch::on_readable, this);
}

InputWatch::~InputWatch() { Fl::remove_fd(STDIN_FILENO); }

void InputWatch::on_readable(int file, void* userdata) {
  auto& watch = *static_cast<InputWatch*>(userdata);
  char buffer[256];
  const ssize_t count = read(file, buffer, sizeof buffer);
  if (count <= 0) {
    Fl::remove_fd(file);
    watch.on_end_();
    return;
  }
  watch.pending_.append(buffer, static_cast<std::size_t>(count));
  for (std::size_t end; (end = watch.pending_.find('\n')) != std::string::npos;) {
    const std::string line = watch.pending_.substr(0, end);
    watch.pending_.erase(0, end + 1);
    watch.on_line_(line);
  }
}

}  // namespace tarnwick::desktop
