#include <unistd.h>

#include <csignal>

#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

/// How a command ends that cannot go on, and what is left of it.
class Endings : public CommandLineTest {
 protected:
  void SetUp() override {
    CommandLineTest::SetUp();
    std::filesystem::create_directory(temporary());
  }

  /// Where the system's temporary files go.
  [[nodiscard]] std::filesystem::path temporary() const { return folder_.path() / "tmp"; }

  [[nodiscard]] Start start(std::vector<std::string> arguments) const {
    Start start = CommandLineTest::start(std::move(arguments));
    start.environment["TMPDIR"] = temporary().string();
    return start;
  }

  void expect_nothing_left() const { EXPECT_TRUE(std::filesystem::is_empty(temporary())); }
};

TEST_F(Endings, BySignalsLeaveNoFiles) {
  for (const int number : {SIGHUP, SIGINT, SIGTERM}) {
    SCOPED_TRACE(number);
    Program program(start({"lock", "hold", "report", "Headcount"}));
    program.wait_for(" locked.");
    EXPECT_FALSE(std::filesystem::is_empty(temporary()));
    program.send_signal(number);
    EXPECT_EQ(program.end_with_open_input().signal, number);
    expect_nothing_left();
  }
}

TEST_F(Endings, BySignalsLeaveNothingOfWhatWasBeingEdited) {
  const auto editor = folder_.path() / "editor";
  std::ofstream(editor) << "#!/bin/sh\necho edited > \"$1.swp\"\necho ready >&2\nread -r line\n";
  std::filesystem::permissions(editor, std::filesystem::perms::owner_all);
  Start edit = start({"report", "edit", "Headcount"});
  edit.environment["EDITOR"] = editor.string();
  Program program(edit);
  program.wait_for_complaint("ready");
  program.send_signal(SIGTERM);
  program.wait_for_end();  // the editor would end with its input, and be what the program tells of
  EXPECT_EQ(program.end().signal, SIGTERM);
  expect_nothing_left();
}

TEST_F(Endings, OfTheReaderAreAnErrorWithoutAWord) {
  Program program(start({"report", "list"}));
  program.close_output();
  const Ending ending = program.end();
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "");
  expect_nothing_left();
}

TEST_F(Endings, OfTheSpaceForTheOutputAreAnError) {
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"report", "list"}, {"report", "list", "--json"}, {"--help"}}) {
    Start full = start(command);
    full.output = "/dev/full";
    Ending ending = test_support::run(full);
    EXPECT_EQ(ending.exit_code, 1);
    EXPECT_EQ(ending.err, "tarnwick: The output cannot be written.\n");

    Start limited = start(command);
    limited.output = folder_.path() / "limited";
    limited.largest_file = 100;
    limited.environment["TARNWICK_IN_PROCESS"] = "1";
    ending = test_support::run(limited);
    EXPECT_EQ(ending.signal, 0);
    EXPECT_EQ(ending.exit_code, 1);
  }
  expect_nothing_left();
}

TEST_F(Endings, AreToldByTheExitCodeWhereNobodyListens) {
  Start silent = start({"report", "show", "None"});
  silent.closed = {STDERR_FILENO};
  EXPECT_EQ(test_support::run(silent).exit_code, 5);
  silent.closed = {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO};
  EXPECT_EQ(test_support::run(silent).exit_code, 5);
}

TEST_F(Endings, OfTheOutputBeforeTheBeginningPutItNowhere) {
  const auto trace = folder_.path() / "trace";
  Start closed = start({"--trace", trace.string(), "report", "list"});
  closed.closed = {STDOUT_FILENO};
  const Ending ending = test_support::run(closed);
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: The output cannot be written.\n");
  EXPECT_THAT(content_of(trace), HasSubstr("From  DW_Reports"));
  EXPECT_THAT(content_of(trace), Not(HasSubstr("Headcount")));
}

}  // namespace
}  // namespace tarnwick::cli
