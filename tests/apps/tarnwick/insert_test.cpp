#include "tests/apps/tarnwick/command_line_test.h"
#include "tests/apps/tarnwick/trace_lines.h"

namespace tarnwick::cli {
namespace {

using ::testing::HasSubstr;

/// A record that is added twice at the same moment.
class Inserts : public CommandLineTest {
 protected:
  struct Case {
    std::vector<std::string> command;
    std::string other;  // what somebody else writes meanwhile
  };

  /// The command looked and found no such record; somebody else adds it before the command does.
  Ending run_while_another_adds(const Case& test) const {
    const std::string number = std::to_string(++traces_);
    test_support::TraceLines trace(folder_.path() / ("trace" + number));
    // Nobody else writes, until this one has.
    test_support::PlainSqlite other(database_file());
    other.run("Begin Immediate");
    std::vector<std::string> command = test.command;
    command.insert(command.end(), {"--trace", trace.file()});
    Program program(start(command));
    trace.wait_for_beginning("Insert ");
    other.run(test.other + "; Commit");
    return program.end();
  }

 private:
  mutable int traces_ = 0;
};

TEST_F(Inserts, AreRefusedWhereTheRecordCameMeanwhile) {
  for (const Case& test :
       {Case{{"report", "add", "New", "--title", "Mine"},
             "Insert Into DW_Reports (ReportName, Title, MaintType) Values ('New', 'Theirs', 4)"},
        Case{{"pc", "register", "M", "C", "--component", "10", "--last-user", "Mine"},
             "Insert Into DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, "
             "ImageIndex, LastUser) Values ('M', 'C', 10, 5, 1, 10, 'Theirs')"},
        Case{{"component", "add", "103", "--name", "Mine"},
             "Insert Into DW_SEC_COMP (CompID, CompName, ParentID, Priority, ImageIndex, "
             "ForceDisplay, MaintType) Values (103, 'Theirs', 0, 1, 1, 0, 2)"}}) {
    SCOPED_TRACE(test.command[0]);
    const Ending ending = run_while_another_adds(test);
    EXPECT_EQ(ending.exit_code, 3);
    EXPECT_THAT(ending.out, HasSubstr("Theirs"));
    EXPECT_THAT(ending.out, HasSubstr("Mine"));
    EXPECT_THAT(ending.err,
                HasSubstr(" was added by someone else meanwhile; nothing was written.\n"));
  }
  EXPECT_EQ(value("Select Title From DW_Reports Where ReportName = 'New'"), "Theirs");
  EXPECT_EQ(value("Select LastUser From DW_SEC_PC Where MACNbr = 'M'"), "Theirs");
  EXPECT_EQ(value("Select CompName From DW_SEC_COMP Where CompID = 103"), "Theirs");
}

TEST_F(Inserts, OfARenamedReportAreRefusedToo) {
  const Ending ending = run_while_another_adds(
      {{"report", "rename", "Headcount", "New"},
       "Insert Into DW_Reports (ReportName, Title, MaintType) Values ('New', 'Theirs', 4)"});
  EXPECT_EQ(ending.exit_code, 3);
  EXPECT_THAT(ending.err, HasSubstr("Report 'New' was added by someone else meanwhile; nothing was "
                                    "written.\n"));
  EXPECT_EQ(value("Select Title From DW_Reports Where ReportName = 'New'"), "Theirs");
  EXPECT_EQ(value("Select Count(*) From DW_Reports Where ReportName = 'Headcount'"), "1");
}

}  // namespace
}  // namespace tarnwick::cli
