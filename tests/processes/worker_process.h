#pragma once

#include <sys/types.h>

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/object_model.h"

namespace tarnwick::test_support {

/// How to start a worker.
struct WorkerProgram {
  /// The program, behind the one that runs it if there is one.
  std::vector<std::string> command;
  /// What the worker calls this system's root folder, without the slash.
  std::string root;
};

/// The worker of this system.
[[nodiscard]] WorkerProgram native_worker();

/// A worker in a process of its own; killed with the object. See worker.cpp for its commands.
class WorkerProcess {
 public:
  /// On the database in `folder`, as the computer `name`.
  WorkerProcess(const std::filesystem::path& folder, const std::string& name,
                const WorkerProgram& program = native_worker());
  ~WorkerProcess();
  WorkerProcess(const WorkerProcess&) = delete;
  WorkerProcess& operator=(const WorkerProcess&) = delete;

  /// Sends one line: the words with tab stops between them.
  void say(std::span<const std::string_view> words);
  void say(std::initializer_list<std::string_view> words) { say(std::span(words)); }
  /// Waits for the next line and returns it.
  [[nodiscard]] std::string hear();
  /// Both.
  std::string ask(std::span<const std::string_view> words);
  std::string ask(std::initializer_list<std::string_view> words) { return ask(std::span(words)); }

  /// Connects and loads the reports; from then on it waits for no lock.
  void connect_and_load_reports();

  [[nodiscard]] pid_t process() const { return process_; }

  /// kill -9, and the process is gone when this returns.
  void kill();

 private:
  TemporaryFolder payload_folder_;
  pid_t process_ = -1;
  int to_worker_ = -1;
  int from_worker_ = -1;
  std::string heard_;
};

/// What a worker says that meets a locked row.
inline constexpr std::string_view kQuestion =
    "? Record Lock Encountered: Record is currently being updated by another process!";

}  // namespace tarnwick::test_support
