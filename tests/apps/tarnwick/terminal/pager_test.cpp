#include <csignal>

#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class Paging : public CommandLineTest {
 protected:
  /// A program that is called as a pager is.
  [[nodiscard]] std::string pager(const std::string& script) const {
    const auto file = folder_.write("pager", "#!/bin/sh\n" + script + "\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    return file.string();
  }

  /// A command on a terminal with a pager of its own.
  [[nodiscard]] Start on_terminal(std::vector<std::string> arguments,
                                  const std::map<std::string, std::string>& variables) const {
    Start start = this->start(std::move(arguments));
    start.on_terminal = true;
    start.environment["TERM"] = "xterm";
    start.environment["TARNWICK_PAGER"] = "";
    for (const auto& [name, value] : variables) start.environment[name] = value;
    return start;
  }

  /// What a terminal shows, without what moves its cursor to the line's begin.
  static std::string shown(const std::string& said) {
    std::string text;
    for (const char c : said) {
      if (c != '\r') text += c;
    }
    return text;
  }

  [[nodiscard]] std::string seen() const { return content_of(folder_.path() / "seen"); }
  [[nodiscard]] std::string see() const {
    return "cat > '" + (folder_.path() / "seen").string() + "'";
  }
};

TEST_F(Paging, ShowsATableThroughThePagerAsTheTerminalWouldShowIt) {
  const Ending plain = test_support::run(
      on_terminal({"--no-pager", "pc", "list"}, {{"TARNWICK_PAGER", pager("echo never")}}));
  EXPECT_EQ(plain.exit_code, 0);
  const Ending paged =
      test_support::run(on_terminal({"pc", "list"}, {{"TARNWICK_PAGER", pager(see())}}));
  EXPECT_EQ(paged.exit_code, 0);
  EXPECT_EQ(paged.out, "");
  EXPECT_EQ(seen(), shown(plain.out));
  EXPECT_EQ(lines_of(seen()).size(), 65u);
}

TEST_F(Paging, IsForListingsAndRecordsInWhateverForm) {
  const auto paged = [&](const std::vector<std::string>& arguments) {
    test_support::run(on_terminal(arguments, {{"TARNWICK_PAGER", pager(see())}}));
    return seen();
  };
  EXPECT_EQ(paged({"component", "tree", "--json"}), say({"component", "tree", "--json"}));
  EXPECT_EQ(paged({"component", "list", "--csv"}), say({"component", "list", "--csv"}));
  EXPECT_EQ(paged({"report", "show", "Headcount"}), say({"report", "show", "Headcount"}));
}

TEST_F(Paging, TakesThePagerThatIsNamedFirst) {
  EXPECT_THAT(
      test_support::run(on_terminal({"component", "list"}, {{"TARNWICK_PAGER", pager("echo ours")},
                                                            {"PAGER", "echo theirs"}}))
          .out,
      "ours\r\n");
  EXPECT_THAT(
      test_support::run(on_terminal({"component", "list"}, {{"PAGER", "echo theirs | cat"}})).out,
      "theirs\r\n");
}

TEST_F(Paging, IsDoneByLessWithItsUsualSwitches) {
  const auto file = folder_.write("bin/less", "#!/bin/sh\necho \"less with $LESS\"\n");
  std::filesystem::permissions(file, std::filesystem::perms::owner_all);
  const std::string path = (folder_.path() / "bin").string() + ":" + std::getenv("PATH");
  EXPECT_EQ(test_support::run(
                on_terminal({"component", "list"}, {{"PATH", path}, {"PAGER", ""}, {"LESS", ""}}))
                .out,
            "less with FRX\r\n");
  EXPECT_EQ(test_support::run(
                on_terminal({"component", "list"}, {{"PATH", path}, {"PAGER", ""}, {"LESS", "S"}}))
                .out,
            "less with S\r\n");
}

TEST_F(Paging, ByTheRealLessEndsByItselfWhereTheScreenIsLargeEnough) {
  const Ending ending = test_support::run(on_terminal(
      {"component", "show", "10", "--field", "Name"}, {{"PAGER", "less"}, {"LESS", ""}}));
  EXPECT_EQ(ending.exit_code, 0);
  EXPECT_THAT(ending.out, HasSubstr("Order Analysis"));
}

TEST_F(Paging, ByTheRealLessGoesOnWithTheReader) {
  Program program(on_terminal({"pc", "list"}, {{"PAGER", "less"}, {"LESS", ""}}));
  program.wait_for("VEL-FIN-005");
  program.type("G");
  program.wait_for("(END)");
  program.type("q");
  const Ending ending = program.end();
  EXPECT_EQ(ending.exit_code, 0);
  EXPECT_THAT(ending.out, Not(HasSubstr("tarnwick:")));
}

TEST_F(Paging, IsOverQuietlyWhenTheReaderHasSeenEnough) {
  for (int id = 1000; id < 9000; id += 1000) {
    sql("Insert Into DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex) "
        "Select MACNbr, ComputerID, CompID + " +
        std::to_string(id) +
        ", MaintType, ActiveStatus, ImageIndex From DW_SEC_PC Where CompID < 1000");
  }
  const Ending ending = test_support::run(on_terminal(
      {"pc", "list", "--json"}, {{"TARNWICK_PAGER", pager("head -n 1; exec <&-; exit 3")}}));
  EXPECT_EQ(ending.exit_code, 0);
  EXPECT_EQ(ending.out, "[\r\n");
}

TEST_F(Paging, LeavesTheExitCodeAndTheComplaintsOfTheCommand) {
  sql("Update DW_SEC_COMP Set Priority = 'high' Where CompID = 10");
  const Ending ending =
      test_support::run(on_terminal({"component", "list"}, {{"TARNWICK_PAGER", pager(see())}}));
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.out, HasSubstr("tarnwick: Cannot load some of the rows"));
  EXPECT_EQ(lines_of(seen()).size(), 42u);
  const Ending missing = test_support::run(
      on_terminal({"component", "show", "999"}, {{"TARNWICK_PAGER", pager("echo never")}}));
  EXPECT_EQ(missing.exit_code, 5);
  EXPECT_EQ(missing.out, "tarnwick: Component 999 does not exist.\r\n");
}

TEST_F(Paging, FallsBackToTheTerminalWhereThereIsNoSuchPager) {
  const Ending ending =
      test_support::run(on_terminal({"report", "show", "Headcount", "--field", "Title"},
                                    {{"TARNWICK_PAGER", (folder_.path() / "none").string()}}));
  EXPECT_EQ(ending.exit_code, 0);
  EXPECT_THAT(ending.out, HasSubstr("Headcount by Department\r\n"));
}

TEST_F(Paging, IsNotForPipes) {
  Start piped = start({"component", "list"});
  piped.environment["TARNWICK_PAGER"] = pager("echo never");
  EXPECT_EQ(test_support::run(piped).out, say({"component", "list"}));
}

TEST_F(Paging, LeavesNothingBehindWhenTheTerminalInterruptsIt) {
  const std::string number = (folder_.path() / "number").string();
  Program program(
      on_terminal({"pc", "list"}, {{"TARNWICK_PAGER", pager("trap '' INT; echo $$ > '" + number +
                                                            "'; echo ready; exec sleep 600")}}));
  program.wait_for("ready");
  program.type("\x03");
  EXPECT_EQ(program.end().signal, SIGINT);
  EXPECT_EQ(kill(static_cast<pid_t>(std::stol(content_of(number))), 0), -1);
}

TEST_F(Paging, ByTheRealLessLeavesNothingBehindEither) {
  Program program(on_terminal({"pc", "list"}, {{"PAGER", "less"}, {"LESS", ""}}));
  program.wait_for("VEL-FIN-005");
  program.type("\x03");
  EXPECT_EQ(program.end().signal, SIGINT);
}

}  // namespace
}  // namespace tarnwick::cli
