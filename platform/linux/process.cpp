#include "platform/linux/process.h"

#include <fcntl.h>
#include <langinfo.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <thread>
#include <utility>

namespace tarnwick::platform {
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

// A thread of its own may do what no signal handler may.
void watch(sigset_t set, std::function<void()> clean_up) {
  std::thread([set, clean_up = std::move(clean_up)] {
    int number = 0;
    while (sigwait(&set, &number) != 0) {
    }
    clean_up();
    end_by(number);
  }).detach();
}

void use_utf8() {
  std::setlocale(LC_ALL, "");
  // Texts are UTF-8 wherever they are printed.
  if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) std::setlocale(LC_CTYPE, "C.UTF-8");
}

}  // namespace

void set_up_process(std::function<void()> clean_up) {
  take_up(STDIN_FILENO, O_WRONLY);
  take_up(STDOUT_FILENO, O_RDONLY);
  take_up(STDERR_FILENO, O_WRONLY);
  for (const int number : kFailedWrites) signal(number, SIG_IGN);
  const sigset_t set = endings();
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  watch(set, std::move(clean_up));
  use_utf8();
}

void restore_signals() noexcept {
  for (const int number : kFailedWrites) signal(number, SIG_DFL);
  sigset_t set;
  sigemptyset(&set);
  for (const int number : kEndings) sigaddset(&set, number);
  sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

std::vector<std::string> arguments(int count, char** words) {
  return {words + (count > 0 ? 1 : 0), words + count};
}

std::filesystem::path executable_file() { return std::filesystem::read_symlink("/proc/self/exe"); }

std::optional<std::string> user_name() {
  const passwd* own = getpwuid(geteuid());
  return own == nullptr ? std::optional<std::string>() : own->pw_name;
}

void end_in(std::chrono::milliseconds time) {
  std::signal(SIGALRM, [](int) { _exit(EXIT_SUCCESS); });
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
  const auto rest = std::chrono::duration_cast<std::chrono::microseconds>(time - seconds);
  const itimerval timer{.it_interval = {},
                        .it_value = {.tv_sec = seconds.count(), .tv_usec = rest.count()}};
  setitimer(ITIMER_REAL, &timer, nullptr);
}

std::filesystem::path make_unique_folder(const std::filesystem::path& beginning) {
  std::string name = beginning.string() + "XXXXXX";
  if (mkdtemp(name.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(),
                            "cannot make a folder for temporary files");
  }
  return name;
}

bool is_in_use(const std::error_code&) { return false; }

void reach_disk(const std::filesystem::path& folder, const std::vector<std::filesystem::path>&) {
  const int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const bool done = descriptor >= 0 && syncfs(descriptor) == 0;
  const int error = errno;
  if (descriptor >= 0) close(descriptor);
  if (!done) throw std::system_error(error, std::generic_category(), folder.string());
}

}  // namespace tarnwick::platform
