#include "tests/apps/tarnwick/command_line_test.h"
#include "tests/stand_in/stand_in.h"

namespace tarnwick::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// The command line on SQL Server's stand-in, which holds the sample data.
class LostConnections : public CommandLineTest {
 protected:
  void SetUp() override {
    CommandLineTest::SetUp();
    server_.make_database();
    role_file_ =
        folder_.write("role_password", to_utf8(test_support::StandIn::kRolePassword) + "\n")
            .string();
    const Ending copied =
        run({"copy", "--from", connect_string(), "--to", to_utf8(server_.connection_string()),
             "--to-role", to_utf8(test_support::StandIn::kRole), "--to-password-file", role_file_});
    ASSERT_EQ(copied.exit_code, 0) << copied.err;
  }

  /// How a command on the server is started.
  [[nodiscard]] Start start_there(std::vector<std::string> arguments) const {
    Start start = this->start(std::move(arguments));
    start.environment["TARNWICK_CONNECT"] = to_utf8(server_.connection_string());
    start.environment["TARNWICK_ROLE"] = to_utf8(test_support::StandIn::kRole);
    start.environment["TARNWICK_PASSWORD_FILE"] = role_file_;
    return start;
  }
  /// Runs a command on the server.
  [[nodiscard]] Ending run_there(std::vector<std::string> arguments) const {
    return test_support::run(start_there(std::move(arguments)));
  }

  test_support::StandIn server_;
  std::string role_file_;
};

TEST_F(LostConnections, AtTheCommitLeaveTheOutcomeUnknown) {
  server_.order(u"DROP 'transaction commit'");
  const Ending ending = run_there({"report", "set", "Headcount", "--title", "New"});
  EXPECT_EQ(ending.exit_code, 6);
  EXPECT_EQ(ending.out, "");
  EXPECT_THAT(ending.err, StartsWith("tarnwick: The connection was lost while Report 'Headcount' "
                                     "was written: nobody knows whether it was."));
}

TEST_F(LostConnections, BeforeTheCommitLeaveNothingWritten) {
  server_.order(u"DROP 'UPDATE DW_Reports'");
  const Ending ending = run_there({"report", "set", "Headcount", "--title", "New"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(run_there({"report", "show", "Headcount", "--field", "Title"}).out,
            "Headcount by Department\n");
}

TEST_F(LostConnections, BetweenTheTwoStepsOfARenameAreToldAsTheyLeftIt) {
  server_.order(u"DROP 'Delete from DW_Report Where'");
  Ending ending = run_there({"report", "rename", "Headcount", "Heads"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err,
              StartsWith("tarnwick: Report 'Headcount' was not renamed in order. Report "
                         "'Headcount' stands under both names now: as 'Heads' too.\n"));

  server_.order(u"DROP 'transaction commit'");
  ending = run_there({"report", "rename", "Open Orders", "Orders"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err,
              StartsWith("tarnwick: Report 'Open Orders' was not renamed in order. Only "
                         "Report 'Open Orders' is there now.\n"));
}

TEST_F(LostConnections, InADeletionLeaveTheOutcomeUnknown) {
  server_.order(u"DROP 'Delete from dbo.DW_Reports'");
  const Ending ending = run_there({"report", "delete", "Headcount"});
  EXPECT_EQ(ending.exit_code, 6);
  EXPECT_THAT(ending.err, HasSubstr("nobody knows whether it was"));
}

class HeldOnAServer : public LostConnections {};

TEST_F(HeldOnAServer, IsNotShownWithoutRowVersionsButWhoHoldsItIsSaid) {
  Program holder(start_there({"lock", "hold", "report", "Headcount"}));
  holder.wait_for(" locked. Press Enter to release it.\n");
  const Ending ending = run_there({"report", "show", "Headcount"});
  EXPECT_EQ(ending.exit_code, 4);
  EXPECT_EQ(ending.out, "");
  EXPECT_THAT(ending.err, ::testing::MatchesRegex(
                              "tarnwick: Report 'Headcount' is being maintained by [^ ]+ "
                              "since [0-9/]+ [0-9:]+ [AP]M; the database does not show what "
                              "was committed before\\.\n"));
  EXPECT_EQ(run_there({"report", "show", "Open Orders"}).exit_code, 0);
}

}  // namespace
}  // namespace tarnwick::cli
