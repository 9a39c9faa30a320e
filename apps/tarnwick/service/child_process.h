#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace tarnwick::cli {

/// A program that runs beside this one.
class ChildProcess final {
 public:
  struct Start {
    /// The program, looked for as a shell does, and its arguments.
    std::vector<std::string> command;
    /// Where its output goes, standard error too; it is made anew.
    std::filesystem::path output = "/dev/null";
    /// Ends with this process, however that ends; otherwise it is left alone.
    bool ends_with_us = true;
  };

  /// Throws std::system_error.
  explicit ChildProcess(const Start& start);
  /// Tells it to end and waits for that, if it was to end with this process.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  [[nodiscard]] bool running();

 private:
  pid_t process_ = -1;
  bool ends_with_us_ = true;
};

}  // namespace tarnwick::cli
