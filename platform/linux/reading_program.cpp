#include "platform/reading_program.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "platform/linux/process.h"

namespace tarnwick::platform {
namespace {

constexpr const char* kUsual = "if command -v less >/dev/null; then exec less; fi; exec cat";
constexpr int kNotFound = 127;
constexpr int kNotExecutable = 126;

// How long a pager may take to end when it is told to.
constexpr int kPatience = 100;            // times
constexpr useconds_t kPollTime = 10'000;  // microseconds

// A signal is the whole process's; what it has to end is known here. Never destroyed: the thread
// that waits for signals lives as long as the process.
struct Running {
  std::mutex mutex;
  pid_t process = -1;
  termios terminal{};
};
Running& running() {
  static auto* const one = new Running;
  return *one;
}

// What is no more than a program with its switches takes the shell's place, so that the one process
// that is to end is the pager.
std::string for_shell(const std::string& command) {
  const bool plain = command.find_first_of("|&;<>()$`\\\"'*?[#~=%\n") == std::string::npos;
  return plain ? "exec " + command : command;
}

std::vector<char*> environment_of_pager(std::string& less) {
  std::vector<char*> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) variables.push_back(*variable);
  if (std::getenv("LESS") == nullptr) variables.push_back(less.data());
  variables.push_back(nullptr);
  return variables;
}

// Starts it with the read end of a pipe as its input; returns the write end, or -1.
int start(std::string command) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return -1;
  char shell[] = "/bin/sh";
  char flag[] = "-c";
  char* const arguments[] = {shell, flag, command.data(), nullptr};
  std::string less = "LESS=FRX";
  const std::vector<char*> variables = environment_of_pager(less);
  const pid_t parent = getpid();
  Running& pager = running();
  const std::lock_guard lock(pager.mutex);
  tcgetattr(STDOUT_FILENO, &pager.terminal);
  pager.process = fork();
  if (pager.process == 0) {
    // Nothing but system calls from here on: other threads may have held locks.
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != parent) _exit(EXIT_FAILURE);
    restore_signals();
    dup2(ends[0], STDIN_FILENO);
    execve(shell, arguments, variables.data());
    _exit(kNotFound);
  }
  close(ends[0]);
  if (pager.process < 0) close(ends[1]);
  return pager.process < 0 ? -1 : ends[1];
}

// As much as the reader wants of it: who leaves early has seen enough.
void write_all(int pipe, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(pipe, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

// Whether it has run at all.
bool wait_for_end() {
  Running& pager = running();
  siginfo_t ignored{};
  // It stays there until its number is forgotten, so that no signal goes to another process.
  while (waitid(P_PID, static_cast<id_t>(pager.process), &ignored, WEXITED | WNOWAIT) < 0 &&
         errno == EINTR) {
  }
  const std::lock_guard lock(pager.mutex);
  int status = 0;
  waitpid(pager.process, &status, 0);
  pager.process = -1;
  return !WIFEXITED(status) ||
         (WEXITSTATUS(status) != kNotFound && WEXITSTATUS(status) != kNotExecutable);
}

}  // namespace

bool show_in_program(const std::optional<std::string>& command, std::string_view text) {
  const int pipe = start(command ? for_shell(*command) : kUsual);
  if (pipe < 0) return false;
  write_all(pipe, text);
  close(pipe);
  return wait_for_end();
}

void end_showing_for_good() {
  Running& pager = running();
  pager.mutex.lock();
  if (pager.process <= 0) return;
  kill(pager.process, SIGTERM);
  int waited = 0;
  while (waitpid(pager.process, nullptr, WNOHANG) == 0 && ++waited < kPatience) usleep(kPollTime);
  if (waited == kPatience) {
    kill(pager.process, SIGKILL);
    waitpid(pager.process, nullptr, 0);
  }
  tcsetattr(STDOUT_FILENO, TCSADRAIN, &pager.terminal);
}

std::string usual_editor() { return "vi"; }

bool run_editor(const std::string& command, const std::filesystem::path& file) {
  // It may be a command with switches, so the shell takes it apart; the file is its argument.
  std::string script = command + " \"$1\"";
  std::string path = file.string();
  char shell[] = "sh";
  char flag[] = "-c";
  char* const arguments[] = {shell, flag, script.data(), shell, path.data(), nullptr};
  const pid_t child = fork();
  if (child == 0) {
    restore_signals();
    execvp(shell, arguments);
    _exit(kNotFound);
  }
  int status = 0;
  const bool ran = child > 0 && waitpid(child, &status, 0) == child;
  return ran && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace tarnwick::platform
