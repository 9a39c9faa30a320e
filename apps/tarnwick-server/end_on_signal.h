#pragma once

#include <chrono>
#include <thread>

namespace tarnwick::server_app {

/// Ends the process on SIGTERM and SIGINT, whatever it is doing. The first asks for an end in
/// order; when that takes longer than `grace`, and at the second, the process dies of the signal.
/// Make it before any thread is made, and keep it until there is nothing left to wait for.
class EndOnSignal {
 public:
  explicit EndOnSignal(std::chrono::seconds grace);
  ~EndOnSignal();
  EndOnSignal(const EndOnSignal&) = delete;
  EndOnSignal& operator=(const EndOnSignal&) = delete;

  /// A file that is readable from the first signal on.
  [[nodiscard]] int asked() const { return asked_; }

 private:
  void watch() const;

  std::chrono::seconds grace_;
  int signals_ = -1;
  int asked_ = -1;
  int over_ = -1;
  std::thread watcher_;
};

}  // namespace tarnwick::server_app
