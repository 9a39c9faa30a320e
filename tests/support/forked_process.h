#pragma once

#include <sys/types.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace tarnwick::test_support {

/// A line-wise conversation between two processes; both ends block.
class Conversation {
 public:
  Conversation(int from, int to) : from_(from), to_(to) {}
  ~Conversation();
  Conversation(const Conversation&) = delete;
  Conversation& operator=(const Conversation&) = delete;

  void say(std::string_view line);
  /// Empty also when the other side has gone.
  [[nodiscard]] std::string hear();

 private:
  int from_;
  int to_;
};

/// Code of the test that runs in a process of its own, forked: it must open whatever it needs by
/// itself. The process ends with `body` and is killed with the object.
class ForkedProcess {
 public:
  explicit ForkedProcess(const std::function<void(Conversation&)>& body);
  ~ForkedProcess() { kill(); }
  ForkedProcess(const ForkedProcess&) = delete;
  ForkedProcess& operator=(const ForkedProcess&) = delete;

  void say(std::string_view line) { conversation_->say(line); }
  [[nodiscard]] std::string hear() { return conversation_->hear(); }
  [[nodiscard]] pid_t id() const { return process_; }

  /// kill -9, and the process is gone when this returns.
  void kill();
  /// Waits for its end; true when `body` returned without an exception.
  [[nodiscard]] bool ended_well();

 private:
  pid_t process_ = -1;
  std::unique_ptr<Conversation> conversation_;
};

}  // namespace tarnwick::test_support
