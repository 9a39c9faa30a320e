#include <algorithm>
#include <optional>
#include <stdexcept>

#include "tests/apps/tarnwick/command_line_test.h"
#include "tests/apps/tarnwick/trace_lines.h"
#include "tests/stand_in/stand_in.h"

namespace tarnwick::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* kDone = "Copied 42 components, 64 registered PCs and 12 reports.\n";

/// The rows of a database file without what a copy leaves behind, in the order of their keys.
std::vector<test_support::PlainSqlite::Rows> rows_of(const std::filesystem::path& file) {
  test_support::PlainSqlite database(file);
  return {
      database.run("Select CompID, CompName, ParentID, Priority, ImageIndex, ForceDisplay, "
                   "MaintType, SecGrpID, RptCode, Server, MetaID, AuthorizedRole From "
                   "DW_SEC_COMP Order By CompID"),
      database.run("Select MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex, "
                   "LastUser, LastLogin, TotalLogins, ActivatedBy, ActivateDate, DeactivatedBy, "
                   "DeactivateDate, SoftwareVersion From DW_SEC_PC Order By MACNbr, ComputerID, "
                   "CompID"),
      database.run("Select ReportName, Title, Author, Created, Version, RptGrpID, ImageIndex, "
                   "SQLStmnt, ReportType, ReportDesc, MaintType, Definition, hex(TTX_Binary), "
                   "hex(Report_Binary) From DW_Reports Order By ReportName")};
}

/// From the sample data into an empty database beside it.
class Copy : public CommandLineTest {
 protected:
  void SetUp() override {
    CommandLineTest::SetUp();
    make_database("target");
  }

  [[nodiscard]] std::string folder(const std::string& name) const {
    return (folder_.path() / name).string();
  }
  [[nodiscard]] std::filesystem::path file(const std::string& name) const {
    return folder_.path() / name / "Velmar_Sec.db";
  }
  [[nodiscard]] std::string string_of(const std::string& name) const {
    return "Provider=Tarnwick.Embedded;Data Source=" + folder(name);
  }
  void make_database(const std::string& name) const {
    ASSERT_EQ(run_with({}, {"init", folder(name), "--role", "other_role", "--password-file",
                            password_file_})
                  .exit_code,
              0);
  }

  [[nodiscard]] Start copy_to(const std::string& target,
                              const std::vector<std::string>& more = {}) const {
    Start start{.arguments = {"copy", "--from", connect_string(), "--from-role", kRole, "--to",
                              target, "--to-role", "other_role", "--password-file", password_file_},
                .environment = environment()};
    start.arguments.insert(start.arguments.end(), more.begin(), more.end());
    return start;
  }
  [[nodiscard]] Ending copy(const std::vector<std::string>& more = {}) const {
    return test_support::run(copy_to(string_of("target"), more));
  }

  [[nodiscard]] std::string count(const std::string& table) const {
    return test_support::PlainSqlite(file("target"))
        .run("Select Count(*) From " + table)
        .at(0)
        .at(0);
  }
  void expect_empty() const {
    for (const char* table : {"DW_SEC_COMP", "DW_SEC_PC", "DW_Reports"}) {
      EXPECT_EQ(count(table), "0") << table;
    }
  }
  void run_in_target(const std::string& sql) const {
    test_support::PlainSqlite(file("target")).run(sql);
  }
};

TEST_F(Copy, CarriesEveryValueOverAndNoStamp) {
  sql("Update DW_Reports Set SoftLock = 'HOST - now', TTX_Binary = randomblob(3), "
      "Report_Binary = randomblob(3000000) Where ReportName = "
      "(Select Min(ReportName) From DW_Reports)");
  const Ending ending = copy();
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_EQ(ending.out, kDone);
  EXPECT_EQ(ending.err, "");
  EXPECT_TRUE(rows_of(file("target")) == rows_of(database_file()));
  EXPECT_EQ(test_support::PlainSqlite(file("target"))
                .run("Select Count(*) From DW_Reports Where SoftLock <> ''"),
            (test_support::PlainSqlite::Rows{{"0"}}));
}

TEST_F(Copy, TellsTheNumbersToMachines) {
  const Ending ending = copy({"--json"});
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_EQ(Json::parse(ending.out),
            (Json{{"DW_SEC_COMP", 42}, {"DW_SEC_PC", 64}, {"DW_Reports", 12}}));
}

TEST_F(Copy, RefusesATargetThatHoldsRows) {
  run_in_target("Insert Into DW_Reports (ReportName) Values ('Mine')");
  const auto before = rows_of(file("target"));
  const Ending ending = copy();
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.out, "");
  EXPECT_EQ(ending.err,
            "tarnwick: Nothing was copied.\nThe target is not empty: DW_Reports holds 1 rows.\n");
  EXPECT_TRUE(rows_of(file("target")) == before);
  EXPECT_EQ(copy().exit_code, 1);
}

TEST_F(Copy, LeavesTheTargetEmptyWhereARowIsRefused) {
  run_in_target(
      "Create Trigger Refuse Before Insert On DW_Reports When (Select Count(*) From DW_Reports) = "
      "5 "
      "Begin Select Raise(Abort, 'five are enough'); End");
  const Ending ending = copy();
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.out, "");
  EXPECT_THAT(ending.err, StartsWith("tarnwick: Nothing was copied.\n"));
  EXPECT_THAT(ending.err, HasSubstr("five are enough"));
  expect_empty();
  run_in_target("Drop Trigger Refuse");
  EXPECT_EQ(copy().out, kDone);
}

/// A copy that stands still before it reads `table` of the source, where a row is being maintained;
/// all that comes before it is written.
class StoppedCopy {
 public:
  StoppedCopy(Start copy, const Start& hold, const std::filesystem::path& trace,
              const std::string& table)
      : holder_(hold), trace_(trace) {
    holder_.wait_for(" locked. Press Enter to release it.\n");
    copy.arguments.insert(copy.arguments.end(), {"--trace", trace_.file()});
    copy_.emplace(copy);
    trace_.wait_for_end(": Select * From " + table);
  }

  void kill() { copy_->kill(); }
  Ending go_on() {
    holder_.type("\n");
    return copy_->end();
  }

 private:
  Program holder_;
  test_support::TraceLines trace_;
  std::optional<Program> copy_;
};

TEST_F(Copy, LeavesNothingBehindWhereItIsKilled) {
  struct Point {
    std::vector<std::string> hold;
    std::string table;
  };
  for (const Point& point :
       {Point{{"lock", "hold", "component", "10"}, "DW_SEC_COMP"},
        Point{{"lock", "hold", "pc", "VEL-SAL-012", "--component", "10"}, "DW_SEC_PC"},
        Point{{"lock", "hold", "report", "Headcount"}, "DW_Reports"}}) {
    SCOPED_TRACE(point.table);
    StoppedCopy copy(copy_to(string_of("target")), start(point.hold), folder(point.table),
                     point.table);
    copy.kill();
    expect_empty();
  }
  EXPECT_EQ(copy().out, kDone);
}

TEST_F(Copy, LosesNoRowThatSomebodyElseCommitsMeanwhile) {
  run_in_target(
      "Create Trigger Refuse Before Insert On DW_Reports Begin Select Raise(Abort, 'none'); End");
  StoppedCopy stopped(copy_to(string_of("target")), start({"lock", "hold", "report", "Headcount"}),
                      folder("trace"), "DW_Reports");
  const std::string insert =
      "Insert Into DW_SEC_COMP (CompID, ForceDisplay, MaintType) Values (9999, 0, 1)";
  bool committed = true;
  try {
    test_support::PlainSqlite other(file("target"));
    other.run("Pragma Busy_Timeout = 0");
    other.run(insert);
  } catch (const std::runtime_error&) {
    committed = false;  // it has to wait until the copy is over
  }
  const Ending ending = stopped.go_on();
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, StartsWith("tarnwick: Nothing was copied.\n"));
  EXPECT_EQ(count("DW_SEC_COMP"), committed ? "1" : "0");
  EXPECT_EQ(count("DW_SEC_PC"), "0");
  if (!committed) run_in_target(insert);
  EXPECT_EQ(copy().exit_code, 1);
  EXPECT_EQ(count("DW_SEC_COMP"), "1");
}

TEST_F(Copy, DeletesNothingWhereARowIsRefused) {
  run_in_target(
      "Create Trigger Refuse Before Insert On DW_Reports Begin Select Raise(Abort, 'none'); End; "
      "Create Trigger Keep Before Delete On DW_SEC_PC Begin Select Raise(Abort, 'kept'); End");
  const Ending ending = copy();
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: Nothing was copied.\nnone\n");
  expect_empty();
}

TEST_F(Copy, RefusesATargetWithoutOneOfTheColumns) {
  run_in_target("Alter Table DW_SEC_PC Drop Column SoftwareVersion");
  const Ending ending = copy();
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, HasSubstr("The target's table DW_SEC_PC has no column SoftwareVersion."));
  expect_empty();
}

TEST_F(Copy, NamesTheEndThatCannotBeReached) {
  Ending ending = test_support::run(copy_to(string_of("nowhere")));
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: The target cannot be connected to.\nThe folder '" +
                            folder("nowhere") + "' does not exist.\n");
  ending = copy({"--from-role", "nobody"});
  EXPECT_EQ(ending.exit_code, 2);  // given twice
  const Start start{.arguments = {"copy", "--from", connect_string(), "--from-role", "nobody",
                                  "--to", string_of("target"), "--to-role", "other_role",
                                  "--password-file", password_file_},
                    .environment = environment()};
  ending = test_support::run(start);
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, StartsWith("tarnwick: The source cannot be connected to.\n"));
  EXPECT_THAT(ending.err, Not(HasSubstr("sesame")));
  expect_empty();
}

TEST_F(Copy, NeedsBothEnds) {
  const Ending ending = run_with({}, {"copy", "--from", connect_string()});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_THAT(ending.err, HasSubstr("--to"));
}

TEST_F(Copy, ShowsItsProgressOnATerminalAlone) {
  EXPECT_EQ(copy().err, "");
  make_database("second");
  Start start = copy_to(string_of("second"));
  start.on_terminal = true;
  Program program(start);
  program.wait_for("DW_SEC_COMP [");
  const Ending ending = program.end();
  EXPECT_EQ(ending.exit_code, 0) << ending.out;
  EXPECT_THAT(ending.out, HasSubstr(" of 42"));
  EXPECT_THAT(ending.out, HasSubstr("Copied 42 components, 64 registered PCs and 12 reports."));
}

TEST_F(Copy, WritesATraceWithoutPasswords) {
  const std::string trace = folder("trace");
  EXPECT_EQ(copy({"--trace", trace}).exit_code, 0);
  const std::string lines = content_of(trace);
  EXPECT_THAT(lines, HasSubstr("Execute EXEC sp_setapprole 'dw_admin','***'\n"));
  EXPECT_THAT(lines, HasSubstr("Execute EXEC sp_setapprole 'other_role','***'\n"));
  EXPECT_THAT(lines, Not(HasSubstr("sesame")));
}

/// Through FreeTDS, to a stand-in for SQL Server.
class CopyToSqlServer : public Copy {
 protected:
  void SetUp() override {
    Copy::SetUp();
    server_.make_database();
    role_file_ =
        folder_.write("role_password", to_utf8(test_support::StandIn::kRolePassword) + "\n")
            .string();
  }

  [[nodiscard]] Start start() const {
    return {.arguments = {"copy", "--from", connect_string(), "--from-role", kRole,
                          "--from-password-file", password_file_, "--to",
                          to_utf8(server_.connection_string()), "--to-role",
                          to_utf8(test_support::StandIn::kRole), "--to-password-file", role_file_},
            .environment = environment()};
  }

  test_support::StandIn server_;
  std::string role_file_;
};

TEST_F(CopyToSqlServer, ArrivesInOneTransactionAndComesBackAsItWas) {
  sql("Update DW_Reports Set TTX_Binary = randomblob(3), Report_Binary = randomblob(3000000) Where "
      "ReportName = (Select Min(ReportName) From DW_Reports)");
  Ending ending = test_support::run(start());
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_EQ(ending.out, kDone);
  std::size_t commits = 0;
  for (const std::string& line : server_.take_log()) {
    if (line.starts_with("transaction commit")) ++commits;
  }
  EXPECT_EQ(commits, 1u);

  ending = test_support::run(start());
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, HasSubstr("The target is not empty: DW_SEC_COMP holds 42 rows."));

  ending = test_support::run(
      {.arguments = {"copy", "--to", string_of("target"), "--to-role", "other_role",
                     "--to-password-file", password_file_, "--from",
                     to_utf8(server_.connection_string()), "--from-role",
                     to_utf8(test_support::StandIn::kRole), "--from-password-file", role_file_},
       .environment = environment()});
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_EQ(ending.out, kDone);
  EXPECT_TRUE(rows_of(file("target")) == rows_of(database_file()));
}

TEST_F(CopyToSqlServer, SendsItsRowsInBlocks) {
  sql("Delete From DW_Reports");
  const Ending ending = test_support::run(start());
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  const auto lines = server_.take_log();
  EXPECT_EQ(
      std::count_if(lines.begin(), lines.end(),
                    [](const std::string& line) { return line.starts_with("rpc INSERT INTO"); }),
      2);
}

TEST_F(CopyToSqlServer, LeavesNothingBehindWhereTheConnectionIsCutOrARowIsRefused) {
  for (const TextView fault :
       {u"DROP 'INSERT INTO DW_Reports'",
        u"FAIL 'INSERT INTO DW_Reports' 2628 'String or binary data would be truncated.'"}) {
    SCOPED_TRACE(to_utf8(fault));
    server_.order(fault);
    const Ending ending = test_support::run(start());
    EXPECT_EQ(ending.exit_code, 1);
    EXPECT_THAT(ending.err, StartsWith("tarnwick: Nothing was copied.\n"));
    EXPECT_THAT(ending.out, IsEmpty());
  }
  // At the commit nobody can tell.
  server_.order(u"DROP 'transaction commit'");
  const Ending ending = test_support::run(start());
  EXPECT_EQ(ending.exit_code, 6);
  EXPECT_THAT(ending.err, StartsWith("tarnwick: The connection was lost at the commit: nobody "
                                     "knows whether the rows were copied."));
  // The server holds no row: a further copy is not refused.
  EXPECT_EQ(test_support::run(start()).out, kDone);
}

}  // namespace
}  // namespace tarnwick::cli
