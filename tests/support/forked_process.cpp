#include "tests/support/forked_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <utility>

namespace tarnwick::test_support {

Conversation::~Conversation() {
  ::close(from_);
  ::close(to_);
}

void Conversation::say(std::string_view line) {
  const std::string text = std::string(line) + '\n';
  if (::write(to_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("the other process has gone");
  }
}

std::string Conversation::hear() {
  std::string line;
  for (char c = 0; ::read(from_, &c, 1) == 1 && c != '\n';) line += c;
  return line;
}

ForkedProcess::ForkedProcess(const std::function<void(Conversation&)>& body) {
  std::array<int, 2> there{};
  std::array<int, 2> back{};
  if (::pipe(there.data()) != 0 || ::pipe(back.data()) != 0) throw std::runtime_error("pipe");
  process_ = ::fork();
  if (process_ < 0) throw std::runtime_error("fork");
  if (process_ == 0) {
    ::close(there[1]);
    ::close(back[0]);
    Conversation conversation(there[0], back[1]);
    try {
      body(conversation);
    } catch (const std::exception& error) {
      std::fprintf(stderr, "forked process: %s\n", error.what());
      std::_Exit(EXIT_FAILURE);
    }
    std::_Exit(EXIT_SUCCESS);
  }
  ::close(there[0]);
  ::close(back[1]);
  conversation_ = std::make_unique<Conversation>(back[0], there[1]);
}

void ForkedProcess::kill() {
  if (process_ < 0) return;
  ::kill(process_, SIGKILL);
  static_cast<void>(ended_well());
}

bool ForkedProcess::ended_well() {
  int status = -1;
  ::waitpid(std::exchange(process_, -1), &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

}  // namespace tarnwick::test_support
