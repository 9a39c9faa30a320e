#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "runtime/text.h"

namespace tarnwick::cli {

/// A moving bar on standard error, with what is being done and for how long already. Only on a
/// terminal, and only once it takes longer than a moment. Gone without a trace at its end.
class Progress final {
 public:
  /// `task`: "Loading the PCs". One Progress at a time.
  explicit Progress(std::string task);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

 private:
  void draw_until_done();

  std::string task_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool done_ = false;
  std::thread thread_;
};

/// A bar on standard error that fills as work is done. Only on a terminal; gone without a trace at
/// its end.
class ProgressBar final {
 public:
  ProgressBar();
  ~ProgressBar();
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// May be called for every piece of work: it draws now and then. `done` of `all`, and what.
  void show(TextView what, std::size_t done, std::size_t all);

 private:
  bool on_terminal_;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point next_;
};

}  // namespace tarnwick::cli
