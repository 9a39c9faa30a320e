#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;

constexpr const char* kQuestion =
    "Record Lock Encountered: Record is currently being updated by another process!";

class Locks : public CommandLineTest {
 protected:
  /// A process that holds the report "Headcount" until it is told to let go.
  class Holder {
   public:
    explicit Holder(const Start& start) : program(start) {
      program.wait_for("Report 'Headcount' locked. Press Enter to release it.\n");
    }
    void let_go() {
      program.type("\n");
      program.wait_for("Report 'Headcount' released.\n");
    }
    Program program;
  };

  [[nodiscard]] Start hold() const { return start({"lock", "hold", "report", "Headcount"}); }
  [[nodiscard]] std::string title() const {
    return value("Select Title From DW_Reports Where ReportName = 'Headcount'");
  }
};

TEST_F(Locks, AreListedWithTheirHolders) {
  EXPECT_EQ(say({"lock", "list"}), "None.\n");
  EXPECT_EQ(json({"lock", "list"}), Json::array());
  Holder holder(hold());
  Program pc(start({"lock", "hold", "pc", "VEL-SAL-012", "--component", "10"}));
  pc.wait_for("PC VEL-SAL-012 (02-5A-CD-1D-C9-76) of component 10 locked.");
  Program component(start({"lock", "hold", "component", "10"}));
  component.wait_for("Component 10 locked.");

  const Json list = json({"lock", "list"});
  ASSERT_EQ(list.size(), 3u);
  std::map<std::string, Json> by_table;
  for (const Json& lock : list) by_table[lock["Table"].get<std::string>()] = lock;
  EXPECT_EQ(by_table["DW_Reports"]["Row"], "Headcount");
  EXPECT_THAT(by_table["DW_SEC_PC"]["Row"].get<std::string>(), HasSubstr("VEL-SAL-012"));
  EXPECT_EQ(by_table["DW_SEC_COMP"]["Row"], "10");
  EXPECT_NE(by_table["DW_Reports"]["HeldBy"], "");
  EXPECT_THAT(by_table["DW_Reports"]["Since"].get<std::string>(),
              ContainsRegex("^[0-9]+/[0-9]+/[0-9]+"));
  EXPECT_TRUE(by_table["DW_Reports"]["Process"].is_number());
  EXPECT_THAT(say({"lock", "list"}), HasSubstr("DW_Reports  Headcount"));

  holder.let_go();
  EXPECT_EQ(json({"lock", "list"}).size(), 2u);
}

TEST_F(Locks, KeepOthersOutUntilTheyGiveUp) {
  Holder holder(hold());
  const Ending ending =
      run({"--when-locked", "cancel", "report", "set", "Headcount", "--title", "Mine"});
  EXPECT_EQ(ending.exit_code, 4);
  EXPECT_EQ(ending.out, "");
  EXPECT_EQ(ending.err, std::string(kQuestion) +
                            " Answered: Cancel.\n"
                            "tarnwick: Report 'Headcount' is being maintained by another "
                            "process.\n");
  EXPECT_EQ(title(), "Headcount by Department");
}

TEST_F(Locks, AreGivenUpAtOnceWhereThereIsNobodyToAsk) {
  Holder holder(hold());
  const Ending ending = run({"report", "delete", "Headcount"});
  EXPECT_EQ(ending.exit_code, 4);
  EXPECT_THAT(ending.err, HasSubstr(" Answered: Cancel.\n"));
  EXPECT_EQ(title(), "Headcount by Department");
}

TEST_F(Locks, AreHadByWhoRetriesAfterTheyWereReleased) {
  Holder holder(hold());
  Program other(
      start({"--when-locked", "retry:1000", "report", "set", "Headcount", "--title", "Mine"}));
  other.wait_for_complaint(std::string(kQuestion) + " Answered: Retry (1 of 1000).\n");
  holder.let_go();
  const Ending ending = other.end();
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_EQ(title(), "Mine");
}

TEST_F(Locks, AskOnATerminal) {
  Holder holder(hold());
  Start asked = start({"report", "set", "Headcount", "--title", "Mine"});
  asked.on_terminal = true;
  Program other(asked);
  other.wait_for(kQuestion);
  other.wait_for("Retry or cancel? [r/c] ");
  holder.let_go();
  other.type("r\n");
  const Ending ending = other.end();
  EXPECT_EQ(ending.exit_code, 0) << ending.out;
  EXPECT_EQ(title(), "Mine");
}

TEST_F(Locks, AreGivenUpOnATerminalToo) {
  Holder holder(hold());
  Start asked = start({"report", "set", "Headcount", "--title", "Mine"});
  asked.on_terminal = true;
  Program other(asked);
  other.wait_for("Retry or cancel? [r/c] ");
  other.type("c\n");
  const Ending ending = other.end();
  EXPECT_EQ(ending.exit_code, 4);
  EXPECT_THAT(ending.out,
              HasSubstr("tarnwick: Report 'Headcount' is being maintained by another process."));
}

TEST_F(Locks, AreGivenUpOnATerminalWhereNobodyAnswers) {
  Holder holder(hold());
  Start asked = start({"--question-timeout", "1", "report", "set", "Headcount", "--title", "Mine"});
  asked.on_terminal = true;
  Program other(asked);
  other.wait_for("Retry or cancel? [r/c] ");
  other.wait_for("Nobody answered. Answered: Cancel.");
  const Ending ending = other.end();
  EXPECT_EQ(ending.exit_code, 4);
  EXPECT_EQ(title(), "Headcount by Department");
}

TEST_F(Locks, EndWithTheProcessThatHeldThem) {
  Holder holder(hold());
  holder.program.kill();
  // A service of the holder's own learns of its end a moment later.
  EXPECT_EQ(run({"--when-locked", "retry:1000", "report", "set", "Headcount", "--title", "Mine"})
                .exit_code,
            0);
  EXPECT_EQ(title(), "Mine");
  EXPECT_EQ(json({"lock", "list"}), Json::array());
}

TEST_F(Locks, DoNotKeepOthersFromOtherRows) {
  Holder holder(hold());
  EXPECT_EQ(say({"report", "set", "Open Orders", "--title", "Mine"}),
            "Report 'Open Orders' written.\n"
            "  Title: 'Open Orders per Customer' -> 'Mine'\n");
  EXPECT_EQ(say({"report", "show", "Open Orders", "--field", "Title"}), "Mine\n");
  say({"report", "add", "Another"});
  say({"report", "delete", "Another"});
}

TEST_F(Locks, KeepAListingFromBeingRead) {
  Holder holder(hold());
  const Ending ending = run({"report", "list"});
  EXPECT_EQ(ending.exit_code, 4);
  EXPECT_EQ(ending.err,
            "tarnwick: Cannot load the reports.\n"
            "Error in Component: 'General', Proceedure: 'GetRecordset'.\n"
            "Error #:    \t-2147467259\n"
            "Description:\tLock request time out period exceeded.\n");
}

TEST_F(Locks, CannotBeHadOnARowThatIsNotThere) {
  const Ending ending = run({"lock", "hold", "report", "None"});
  EXPECT_EQ(ending.exit_code, 5);
  EXPECT_EQ(ending.err, "tarnwick: Report 'None' does not exist.\n");
}

}  // namespace
}  // namespace tarnwick::cli
