#include "tests/apps/tarnwick/program.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>

namespace tarnwick::test_support {
namespace {

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) fail("pipe2");
    read_end = ends[0];
    write_end = ends[1];
  }
  int read_end = -1;
  int write_end = -1;
};

// Between fork and exec of a program with one thread.
[[noreturn]] void become(const Start& start) {
  std::vector<char*> arguments;
  for (const auto& [name, value] : start.environment) {
    if (value.empty()) {
      unsetenv(name.c_str());
    } else {
      setenv(name.c_str(), value.c_str(), 1);
    }
  }
  // What the environment names is the program of Windows.
  char* const windows = std::getenv("TARNWICK_WINDOWS_PROGRAM");
  char* const wine = std::getenv("TARNWICK_WINE");
  if (windows != nullptr && wine != nullptr) {
    arguments = {wine, windows};
  } else {
    arguments = {const_cast<char*>(TARNWICK)};
  }
  for (const std::string& argument : start.arguments) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  for (const int number : {SIGHUP, SIGINT, SIGTERM, SIGPIPE, SIGXFSZ}) signal(number, SIG_DFL);
  if (!start.output.empty()) {
    dup2(open(start.output.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR),
         STDOUT_FILENO);
  }
  for (const int descriptor : start.closed) close(descriptor);
  if (start.largest_file != 0) {
    const rlimit limit{start.largest_file, start.largest_file};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  if (!start.folder.empty() && chdir(start.folder.c_str()) != 0) _exit(126);
  execv(arguments.front(), arguments.data());
  _exit(127);
}

}  // namespace

Program::Program(const Start& start) {
  signal(SIGPIPE, SIG_IGN);
  if (start.on_terminal) {
    int terminal = -1;
    winsize size{.ws_row = 40, .ws_col = 100, .ws_xpixel = 0, .ws_ypixel = 0};
    process_ = forkpty(&terminal, nullptr, nullptr, &size);
    if (process_ < 0) fail("forkpty");
    if (process_ == 0) become(start);
    out_.file = terminal;
    input_ = terminal;
    return;
  }
  const Pipe input;
  const Pipe output;
  const Pipe errors;
  process_ = fork();
  if (process_ < 0) fail("fork");
  if (process_ == 0) {
    dup2(input.read_end, STDIN_FILENO);
    dup2(output.write_end, STDOUT_FILENO);
    dup2(errors.write_end, STDERR_FILENO);
    become(start);
  }
  close(input.read_end);
  close(output.write_end);
  close(errors.write_end);
  input_ = input.write_end;
  out_.file = output.read_end;
  err_.file = errors.read_end;
}

Program::~Program() {
  kill();
  if (input_ >= 0 && input_ != out_.file) close(input_);
  if (out_.file >= 0) close(out_.file);
  if (err_.file >= 0) close(err_.file);
}

bool Program::read_more(int patience) {
  std::array<Stream*, 2> streams{&out_, &err_};
  std::array<pollfd, 2> waiting{};
  for (std::size_t i = 0; i < streams.size(); ++i) waiting[i] = {streams[i]->file, POLLIN, 0};
  if (out_.file < 0 && err_.file < 0) return false;
  const int ready = poll(waiting.data(), waiting.size(), patience);
  if (ready < 0) fail("poll");
  for (std::size_t i = 0; i < streams.size(); ++i) {
    if (waiting[i].revents == 0) continue;
    std::array<char, 65536> bytes{};
    const ssize_t count = read(streams[i]->file, bytes.data(), bytes.size());
    if (count > 0) {
      streams[i]->said.append(bytes.data(), static_cast<std::size_t>(count));
      continue;
    }
    // A terminal reports its end as an error.
    if (input_ == streams[i]->file) input_ = -1;
    close(streams[i]->file);
    streams[i]->file = -1;
  }
  return ready > 0;
}

void Program::wait_in(Stream& stream, const std::string& text) {
  for (;;) {
    const std::size_t at = stream.said.find(text, stream.seen);
    if (at != std::string::npos) {
      stream.seen = at + text.size();
      return;
    }
    if (!read_more()) {
      ADD_FAILURE() << "it ended without saying '" << text << "'; it had said: " << out_.said
                    << err_.said;
      return;
    }
  }
}

void Program::wait_for(const std::string& text) { wait_in(out_, text); }

void Program::wait_for_complaint(const std::string& text) { wait_in(err_, text); }

void Program::type(const std::string& text) {
  ASSERT_EQ(write(input_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

void Program::close_output() {
  close(out_.file);
  out_.file = -1;
}

bool Program::terminal_echoes() const {
  termios mode{};
  if (tcgetattr(input_, &mode) != 0) fail("tcgetattr");
  return (mode.c_lflag & ECHO) != 0;
}

void Program::wait_for_end() {
  siginfo_t ending{};
  if (waitid(P_PID, static_cast<id_t>(process_), &ending, WEXITED | WNOWAIT) != 0) fail("waitid");
}

void Program::send_signal(int number) { ASSERT_EQ(::kill(process_, number), 0); }

void Program::kill() {
  if (process_ == -1) return;
  ::kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  process_ = -1;
}

Ending Program::end() {
  if (input_ >= 0 && input_ != out_.file) {
    close(input_);
    input_ = -1;
  }
  return end_with_open_input();
}

Ending Program::end_with_open_input() {
  while (read_more()) {
  }
  return gather();
}

Ending Program::end_alone() {
  wait_for_end();
  while (read_more(0)) {
  }
  return gather();
}

Ending Program::gather() {
  int status = 0;
  if (waitpid(process_, &status, 0) != process_) fail("waitpid");
  process_ = -1;
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, WIFSIGNALED(status) ? WTERMSIG(status) : 0,
          out_.said, err_.said};
}

Ending run(const Start& start) { return Program(start).end(); }

}  // namespace tarnwick::test_support
