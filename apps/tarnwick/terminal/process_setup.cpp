#include "apps/tarnwick/terminal/process_setup.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <thread>

#include "apps/tarnwick/service/scratch_folder.h"
#include "apps/tarnwick/terminal/pager.h"
#include "apps/tarnwick/terminal/terminal_mode.h"

namespace tarnwick::cli {
namespace {

constexpr std::array kEndings{SIGHUP, SIGINT, SIGTERM};
constexpr std::array kFailedWrites{SIGPIPE, SIGXFSZ};

void take_up(int descriptor, int mode) {
  if (fcntl(descriptor, F_GETFD) >= 0 || errno != EBADF) return;
  // The lowest number that is free: this one, since those below are taken.
  static_cast<void>(open("/dev/null", mode));
}

bool is_ignored(int number) {
  struct sigaction present = {};
  return sigaction(number, nullptr, &present) == 0 && present.sa_handler == SIG_IGN;
}

// Who starts a program with a signal ignored (nohup) means it to go on.
sigset_t endings() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : kEndings) {
    if (!is_ignored(number)) sigaddset(&set, number);
  }
  return set;
}

// The end by a signal, with its own default action, so that whoever waits sees what it was.
[[noreturn]] void end_by(int number) {
  signal(number, SIG_DFL);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, number);
  kill(getpid(), number);
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
  _exit(128 + number);
}

// Held while a step runs that is to come to its end.
std::mutex& ending() {
  static std::mutex mutex;
  return mutex;
}

// A thread of its own may do what no signal handler may.
void watch(sigset_t set) {
  std::thread([set] {
    int number = 0;
    while (sigwait(&set, &number) != 0) {
    }
    ending().lock();
    TerminalMode::restore_for_good();
    end_pager_for_good();
    ScratchFolder::remove_all_for_good();
    end_by(number);
  }).detach();
}

}  // namespace

void set_up_process() {
  take_up(STDIN_FILENO, O_WRONLY);
  take_up(STDOUT_FILENO, O_RDONLY);
  take_up(STDERR_FILENO, O_WRONLY);
  for (const int number : kFailedWrites) signal(number, SIG_IGN);
  const sigset_t set = endings();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  watch(set);
}

void finish_first(const std::function<void()>& step) {
  const std::scoped_lock lock(ending());
  step();
}

void restore_signals() noexcept {
  for (const int number : kFailedWrites) signal(number, SIG_DFL);
  sigset_t set;
  sigemptyset(&set);
  for (const int number : kEndings) sigaddset(&set, number);
  sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

void tell_error(const std::string& line) noexcept {
  std::fputs(line.c_str(), stderr);
  std::fputc('\n', stderr);
}

}  // namespace tarnwick::cli
