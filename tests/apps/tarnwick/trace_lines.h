#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace tarnwick::test_support {

/// The trace of a program while it runs: a named pipe to be given to it as its --trace.
class TraceLines final {
 public:
  explicit TraceLines(const std::filesystem::path& file) : file_(file) {
    EXPECT_EQ(mkfifo(file.c_str(), S_IRUSR | S_IWUSR), 0);
    // Open for writing too: no writer's end is the end.
    pipe_ = open(file.c_str(), O_RDWR | O_CLOEXEC);
    EXPECT_GE(pipe_, 0);
  }
  ~TraceLines() { close(pipe_); }
  TraceLines(const TraceLines&) = delete;
  TraceLines& operator=(const TraceLines&) = delete;

  [[nodiscard]] std::string file() const { return file_.string(); }

  /// Returns once the program has written a line that begins so, or ends so.
  void wait_for_beginning(const std::string& text) {
    while (!next().starts_with(text)) {
    }
  }
  void wait_for_end(const std::string& text) {
    while (!next().ends_with(text)) {
    }
  }

 private:
  std::string next() {
    std::string line;
    for (char c = 0; read(pipe_, &c, 1) == 1 && c != '\n';) line += c;
    return line;
  }

  std::filesystem::path file_;
  int pipe_ = -1;
};

}  // namespace tarnwick::test_support
