#include "apps/tarnwick-server/end_on_signal.h"

#include <poll.h>
#include <spdlog/pattern_formatter.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

namespace tarnwick::server_app {
namespace {

using Clock = std::chrono::steady_clock;

sigset_t ending_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  return signals;
}

int require(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

void raise_flag(int event) {
  constexpr std::uint64_t kOne = 1;
  [[maybe_unused]] const ssize_t written = ::write(event, &kOne, sizeof kOne);
}

// Not through the log itself: the thread that is to be ended may hold it, waiting for a reader.
void log_without_waiting(std::string_view text) {
  spdlog::pattern_formatter formatter;
  spdlog::memory_buf_t line;
  formatter.format({"tarnwick-server", spdlog::level::warn, {text.data(), text.size()}}, line);
  pollfd standard_error{STDERR_FILENO, POLLOUT, 0};
  if (poll(&standard_error, 1, 0) > 0 && (standard_error.revents & POLLOUT) != 0) {
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
  }
}

// As if nobody had waited for the signal: who started the process sees what ended it.
[[noreturn]] void die_of(int signal, std::string_view reason) {
  log_without_waiting(reason);
  std::signal(signal, SIG_DFL);
  const sigset_t signals = ending_signals();
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  std::raise(signal);
  _exit(128 + signal);
}

}  // namespace

EndOnSignal::EndOnSignal(std::chrono::seconds grace) : grace_(grace) {
  const sigset_t signals = ending_signals();
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  signals_ = require(signalfd(-1, &signals, SFD_CLOEXEC), "watching signals");
  asked_ = require(eventfd(0, EFD_CLOEXEC), "watching signals");
  over_ = require(eventfd(0, EFD_CLOEXEC), "watching signals");
  watcher_ = std::thread([this] { watch(); });
}

EndOnSignal::~EndOnSignal() {
  raise_flag(over_);
  watcher_.join();
  for (const int file : {signals_, asked_, over_}) ::close(file);
}

void EndOnSignal::watch() const {
  std::optional<Clock::time_point> deadline;
  int first = 0;
  for (;;) {
    int patience = -1;
    if (deadline) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
      if (left.count() <= 0) die_of(first, "Ended in the midst of a call, which took too long");
      patience = static_cast<int>(left.count());
    }
    pollfd watched[] = {{over_, POLLIN, 0}, {signals_, POLLIN, 0}};
    if (poll(watched, std::size(watched), patience) <= 0) continue;
    if (watched[0].revents != 0) return;
    signalfd_siginfo signal{};
    if (::read(signals_, &signal, sizeof signal) != sizeof signal) continue;
    const int number = static_cast<int>(signal.ssi_signo);
    if (deadline) die_of(number, "Ended in the midst of a call, since a second signal came");
    first = number;
    deadline = Clock::now() + grace_;
    raise_flag(asked_);
  }
}

}  // namespace tarnwick::server_app
