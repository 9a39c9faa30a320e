#include "apps/tarnwick/service/child_process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "platform/linux/process.h"

namespace tarnwick::cli {
namespace {

// A command as exec wants it.
std::vector<char*> pointers(std::vector<std::string>& words) {
  std::vector<char*> list;
  for (std::string& word : words) list.push_back(word.data());
  list.push_back(nullptr);
  return list;
}

}  // namespace

ChildProcess::ChildProcess(const Start& start) : ends_with_us_(start.ends_with_us) {
  std::vector<std::string> command = start.command;
  const std::vector<char*> arguments = pointers(command);
  const int output =
      open(start.output.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
  const int input = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const pid_t parent = getpid();
  process_ = fork();
  if (process_ == 0) {
    // Nothing but system calls from here on: other threads may have held locks.
    if (ends_with_us_) {
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      if (getppid() != parent) _exit(EXIT_FAILURE);
    } else {
      setsid();
    }
    platform::restore_signals();
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    execvp(arguments.front(), arguments.data());
    _exit(127);
  }
  const int error = errno;
  close(output);
  close(input);
  if (process_ < 0) {
    throw std::system_error(error, std::generic_category(), "cannot start " + command.front());
  }
}

ChildProcess::~ChildProcess() {
  if (!ends_with_us_ || !running()) return;
  kill(process_, SIGTERM);
  while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

bool ChildProcess::running() {
  if (process_ > 0 && waitpid(process_, nullptr, WNOHANG) != 0) process_ = -1;
  return process_ > 0;
}

}  // namespace tarnwick::cli
