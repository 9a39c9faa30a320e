#include "apps/tarnwick/terminal/terminal_input.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>

namespace tarnwick::cli {

bool TerminalInput::wait(platform::TerminalMessageBox::Time until) const {
  using std::chrono::milliseconds;
  for (;;) {
    if (meanwhile_.look && !meanwhile_.look()) return false;
    const auto left =
        std::chrono::ceil<milliseconds>(until - std::chrono::steady_clock::now()).count();
    if (left <= 0) return false;
    std::array<pollfd, 2> files{pollfd{STDIN_FILENO, POLLIN, 0},
                                pollfd{meanwhile_.file, POLLIN, 0}};
    poll(files.data(), files.size(), static_cast<int>(left));
    if (files[0].revents != 0) return true;
  }
}

}  // namespace tarnwick::cli
