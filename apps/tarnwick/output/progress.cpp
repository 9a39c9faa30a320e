#include "apps/tarnwick/output/progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <iostream>
#include <utility>

#include "platform/terminal.h"

namespace tarnwick::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kWidth = 24;
constexpr int kMark = 5;

// The mark runs to and fro.
std::string bar(int step) {
  const int way = kWidth - kMark;
  const int at = step % (2 * way);
  const int left = at <= way ? at : 2 * way - at;
  return fmt::format("[{:{}}{:=<{}}{:{}}]", "", left, "", kMark, "", way - left);
}

}  // namespace

Progress::Progress(std::string task) : task_(std::move(task)) {
  if (platform::is_terminal(platform::Standard::kError))
    thread_ = std::thread([this] { draw_until_done(); });
}

Progress::~Progress() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    done_ = true;
  }
  wake_.notify_one();
  thread_.join();
}

void Progress::draw_until_done() {
  const auto start = Clock::now();
  std::unique_lock lock(mutex_);
  if (wake_.wait_for(lock, std::chrono::milliseconds(500), [this] { return done_; })) return;
  int step = 0;
  do {
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start).count();
    std::cerr << fmt::format("\r{} {} {} s", task_, bar(step++), seconds) << std::flush;
  } while (!wake_.wait_for(lock, std::chrono::milliseconds(80), [this] { return done_; }));
  platform::erase_line();
}

ProgressBar::ProgressBar() : on_terminal_(platform::is_terminal(platform::Standard::kError)) {}

ProgressBar::~ProgressBar() {
  if (drawn_) platform::erase_line();
}

void ProgressBar::show(TextView what, std::size_t done, std::size_t all) {
  if (!on_terminal_ || all == 0) return;
  const auto now = Clock::now();
  if (now < next_) return;
  next_ = now + std::chrono::milliseconds(80);
  const std::size_t filled = std::min<std::size_t>(kWidth * done / all, kWidth);
  platform::erase_line();
  std::cerr << fmt::format("{} [{:=<{}}{:{}}] {} of {}", to_display_utf8(what), "", filled, "",
                           kWidth - filled, done, all)
            << std::flush;
  drawn_ = true;
}

}  // namespace tarnwick::cli
