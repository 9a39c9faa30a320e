#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace tarnwick::test_support {

/// How the command line is started.
struct Start {
  std::vector<std::string> arguments;
  /// Set beside what the tests themselves were started with; an empty value: not set at all.
  std::map<std::string, std::string> environment = {};
  std::filesystem::path folder = {};  // where it stands; empty: where the tests stand
  /// On a terminal of its own: its input, its output and its complaints. Otherwise three pipes.
  bool on_terminal = false;
  /// Where its output goes instead of the pipe.
  std::filesystem::path output = {};
  /// Standard descriptors that are closed when it begins.
  std::vector<int> closed = {};
  /// The largest file that it may write, in bytes; 0: any.
  std::size_t largest_file = 0;
};

/// What a program left behind.
struct Ending {
  int exit_code = -1;  // -1: it was killed
  int signal = 0;      // that killed it
  std::string out;     // on a terminal: all that was shown there
  std::string err;
};

/// `tarnwick` in a process of its own; killed with the object.
class Program {
 public:
  explicit Program(const Start& start);
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// Waits until it has said `text` on its output (or its terminal), after what was waited for
  /// before. A failed test if it ends without it.
  void wait_for(const std::string& text);
  /// The same on its standard error.
  void wait_for_complaint(const std::string& text);

  void type(const std::string& text);

  /// Nobody reads its output any more.
  void close_output();

  /// Whether its terminal shows what is typed.
  [[nodiscard]] bool terminal_echoes() const;

  void send_signal(int number);

  /// Its terminal is there for a look when this returns.
  void wait_for_end();

  /// kill -9, and it is gone when this returns.
  void kill();

  /// Closes its input and waits for its end.
  Ending end();
  /// Waits for its end with its input open, so that it does not end by that.
  Ending end_with_open_input();
  /// Waits for its end, and for no other program that has its output as well. What it says must fit
  /// into a pipe.
  Ending end_alone();

 private:
  struct Stream {
    int file = -1;
    std::string said;
    std::size_t seen = 0;
  };
  /// Waits for so many milliseconds (-1: for as long as it takes) and reads what there is; false
  /// when there was nothing, or both streams are at their end.
  bool read_more(int patience = -1);
  Ending gather();
  void wait_in(Stream& stream, const std::string& text);

  pid_t process_ = -1;
  int input_ = -1;
  Stream out_;
  Stream err_;
};

/// Runs it to its end with nothing to read.
Ending run(const Start& start);

}  // namespace tarnwick::test_support
