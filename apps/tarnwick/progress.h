#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

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

}  // namespace tarnwick::cli
