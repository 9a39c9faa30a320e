#include "platform/linux/desktop_message_box.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <utility>

#include "runtime/descriptor_linux.h"

namespace tarnwick::platform {
namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
  Descriptor reading;
  Descriptor writing;
};

std::optional<Pipe> make_pipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
  return Pipe{Descriptor(ends[0]), Descriptor(ends[1])};
}

// The program that shows a window, from its start to its end.
class Child {
 public:
  Child() = default;
  ~Child() {
    if (process_ <= 0) return;
    kill(process_, SIGKILL);
    static_cast<void>(wait());
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  bool start(const char* program, char* const* arguments) {
    auto input = make_pipe();
    auto output = make_pipe();
    if (!input || !output) return false;
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    posix_spawn_file_actions_init(&actions);
    posix_spawnattr_init(&attributes);
    posix_spawn_file_actions_adddup2(&actions, input->reading.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output->writing.get(), STDOUT_FILENO);
    // The service blocks the signals that it waits for in its loop.
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    const bool started =
        posix_spawn(&process_, program, &actions, &attributes, arguments, environ) == 0;
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    if (!started) process_ = -1;
    input_ = std::move(input->writing);
    output_ = std::move(output->reading);
    return started;
  }

  // Reads what it prints until it prints no more. False when that takes longer.
  bool read_until(Clock::time_point deadline, std::string& printed) {
    for (;;) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
      if (left.count() <= 0) return false;
      pollfd waiting{output_.get(), POLLIN, 0};
      if (poll(&waiting, 1, static_cast<int>(left.count())) <= 0) continue;
      char buffer[64];
      const ssize_t count = read(output_.get(), buffer, sizeof buffer);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return true;
      printed.append(buffer, static_cast<std::size_t>(count));
    }
  }

  // Whether it ended in order.
  bool wait() {
    int status = 0;
    pid_t ended = 0;
    do {
      ended = waitpid(process_, &status, 0);
    } while (ended < 0 && errno == EINTR);
    process_ = -1;
    return ended > 0 && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
  }

 private:
  pid_t process_ = -1;
  Descriptor input_;  // its end tells the program that nobody waits any more
  Descriptor output_;
};

bool screen_is_there() {
  const char* display = std::getenv("DISPLAY");
  return display != nullptr && *display != '\0';
}

}  // namespace

DesktopMessageBox::DesktopMessageBox(std::filesystem::path program, std::chrono::seconds patience,
                                     MessageBox& otherwise, Log log)
    : program_(std::move(program)),
      patience_(patience),
      otherwise_(otherwise),
      log_(std::move(log)) {}

std::optional<DesktopMessageBox::Outcome> DesktopMessageBox::run(const char* command, TextView text,
                                                                 TextView title) {
  if (program_.empty() || !screen_is_there()) return std::nullopt;
  std::string name = program_.string();
  std::string command_text = command;
  std::string title_text = to_display_utf8(title);
  std::string text_text = to_display_utf8(text);
  char* const arguments[] = {name.data(), command_text.data(), title_text.data(), text_text.data(),
                             nullptr};
  Child child;
  if (!child.start(program_.c_str(), arguments)) return std::nullopt;
  Outcome outcome;
  outcome.in_time = child.read_until(Clock::now() + patience_, outcome.printed);
  if (outcome.in_time) outcome.shown = child.wait();
  return outcome;
}

Answer DesktopMessageBox::retry_or_cancel(TextView text, TextView title, std::uint32_t retried) {
  const auto outcome = run("retry-or-cancel", text, title);
  if (outcome && !outcome->in_time) {
    log_(join({title, u": ", text, u" Nobody answered on the desktop. Answered: Cancel."}));
    return Answer::kCancel;
  }
  if (!outcome || !outcome->shown) return otherwise_.retry_or_cancel(text, title, retried);
  return outcome->printed == "retry\n" ? Answer::kRetry : Answer::kCancel;
}

void DesktopMessageBox::inform(TextView text, TextView title) {
  const auto outcome = run("inform", text, title);
  if (!outcome || (outcome->in_time && !outcome->shown)) otherwise_.inform(text, title);
}

}  // namespace tarnwick::platform
