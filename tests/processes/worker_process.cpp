#include "tests/processes/worker_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace tarnwick::test_support {
namespace {

struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
      throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    read_end = ends[0];
    write_end = ends[1];
  }
  int read_end = -1;
  int write_end = -1;
};

}  // namespace

WorkerProgram native_worker() { return {{WORKER}, {}}; }

WorkerProcess::WorkerProcess(const std::filesystem::path& folder, const std::string& name,
                             const WorkerProgram& program) {
  // A worker that is killed leaves a pipe without a reader: writing fails then, instead of ending
  // the test program.
  signal(SIGPIPE, SIG_IGN);
  const Pipe input;
  const Pipe output;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input.read_end, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output.write_end, STDOUT_FILENO);
  std::vector<std::string> words = program.command;
  words.push_back(program.root + folder.string());
  words.push_back(program.root + payload_folder_.path().string());
  words.push_back(name);
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const int error =
      posix_spawn(&process_, words[0].c_str(), &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(input.read_end);
  close(output.write_end);
  to_worker_ = input.write_end;
  from_worker_ = output.read_end;
  if (error != 0) throw std::system_error(error, std::generic_category(), "posix_spawn");
}

WorkerProcess::~WorkerProcess() {
  kill();
  close(to_worker_);
  close(from_worker_);
}

void WorkerProcess::say(std::span<const std::string_view> words) {
  std::string line;
  for (const std::string_view word : words) {
    if (!line.empty()) line += '\t';
    line += word;
  }
  line += '\n';
  ASSERT_EQ(write(to_worker_, line.data(), line.size()), static_cast<ssize_t>(line.size()));
}

std::string WorkerProcess::hear() {
  for (;;) {
    if (const std::size_t end = heard_.find('\n'); end != std::string::npos) {
      std::string line = heard_.substr(0, end);
      heard_.erase(0, end + 1);
      if (line.ends_with('\r')) line.pop_back();  // lines of Windows
      return line;
    }
    std::array<char, 4096> bytes{};
    const ssize_t count = read(from_worker_, bytes.data(), bytes.size());
    if (count <= 0) {
      ADD_FAILURE() << "the worker is gone; it had said: " << heard_;
      return "gone";
    }
    heard_.append(bytes.data(), static_cast<std::size_t>(count));
  }
}

std::string WorkerProcess::ask(std::span<const std::string_view> words) {
  say(words);
  return hear();
}

void WorkerProcess::connect_and_load_reports() {
  ASSERT_EQ(ask({"connect", "0"}), "True");
  ASSERT_EQ(ask({"load reports"}), "True");
  ASSERT_EQ(ask({"lock timeout", "0"}), "0");
}

void WorkerProcess::kill() {
  if (process_ == -1) return;
  ::kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  process_ = -1;
}

}  // namespace tarnwick::test_support
