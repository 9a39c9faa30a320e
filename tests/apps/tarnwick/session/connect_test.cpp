#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class Connect : public CommandLineTest {
 protected:
  /// `check` with one part of the connection changed.
  [[nodiscard]] Ending check_with(const std::string& name, const std::string& value) const {
    Start start = this->start({"check"});
    start.environment[name] = value;
    return test_support::run(start);
  }
};

TEST_F(Connect, LoadsEverything) {
  EXPECT_EQ(say({"check"}), "Connected; loaded 42 components, 64 registered PCs and 12 reports.\n");
  EXPECT_EQ(json({"check"}), (Json{{"Components", 42}, {"RegisteredPCs", 64}, {"Reports", 12}}));
}

TEST_F(Connect, TakesSwitchesInsteadOfTheEnvironmentBeforeAndBehindTheCommand) {
  const Ending before = run_with({}, {"--connect", connect_string(), "--role", kRole,
                                      "--password-file", password_file_, "check"});
  const Ending behind = run_with({}, {"check", "--connect", connect_string(), "--role", kRole,
                                      "--password-file", password_file_});
  EXPECT_EQ(before.exit_code, 0) << before.err;
  EXPECT_EQ(behind.exit_code, 0) << behind.err;
}

TEST_F(Connect, NeedsADatabaseAndARole) {
  Ending ending = check_with("TARNWICK_CONNECT", "");
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err,
            "tarnwick: Which database? Name it by --connect or TARNWICK_CONNECT, for example\n"
            "  --connect 'Provider=Tarnwick.Embedded;Data Source=./var'\n");
  ending = check_with("TARNWICK_ROLE", "");
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: Which application role? Name it by --role or TARNWICK_ROLE.\n");
}

TEST_F(Connect, AsksForThePasswordOnATerminal) {
  Start start = this->start({"check"});
  start.environment["TARNWICK_PASSWORD_FILE"] = "";
  start.on_terminal = true;
  Program program(start);
  program.wait_for("Password of the application role: ");
  program.type("open sesame\n");
  const Ending ending = program.end();
  EXPECT_EQ(ending.exit_code, 0) << ending.out;
  EXPECT_THAT(ending.out, HasSubstr("Connected; loaded 42 components"));
  EXPECT_THAT(ending.out, Not(HasSubstr("sesame")));
}

TEST_F(Connect, RefusesAWrongPasswordAndAWrongRole) {
  const auto wrong = folder_.write("wrong", "open sesam\n");
  Ending ending = check_with("TARNWICK_PASSWORD_FILE", wrong.string());
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, StartsWith("tarnwick: The database cannot be connected to.\n"
                                     "Error in Component: 'Server', Proceedure: 'SetConnection'.\n"
                                     "Error #:    \t-2147217843\n"));
  EXPECT_THAT(ending.err, Not(HasSubstr("sesam")));
  ending = check_with("TARNWICK_ROLE", "nobody");
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, HasSubstr("\nError #:    \t-2147217843\n"));
}

TEST_F(Connect, TellsOfAPasswordWithAQuoteWithoutShowingIt) {
  const auto quoted = folder_.write("quoted", "it's a secret\n");
  const Ending ending = check_with("TARNWICK_PASSWORD_FILE", quoted.string());
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, StartsWith("tarnwick: The database cannot be connected to.\n"
                                     "Error in Component: 'Server', Proceedure: "
                                     "'SetConnection'.\n"));
  EXPECT_THAT(ending.err, Not(HasSubstr("secret")));
}

TEST_F(Connect, RefusesAPasswordWithANulCharacter) {
  const auto nul = folder_.write("nul", std::string("open\0sesame\n", 12));
  const Ending ending = check_with("TARNWICK_PASSWORD_FILE", nul.string());
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: The password holds a NUL character.\n");
}

TEST_F(Connect, TakesAPasswordFileWithTheLineEndsOfWindows) {
  const auto file = folder_.write("windows", "open sesame\r\nmore\r\n");
  EXPECT_EQ(check_with("TARNWICK_PASSWORD_FILE", file.string()).exit_code, 0);
}

TEST_F(Connect, RefusesPasswordFilesThatCannotBeRead) {
  for (const std::filesystem::path& file : {folder_.path() / "none", folder_.path()}) {
    const Ending ending = check_with("TARNWICK_PASSWORD_FILE", file.string());
    EXPECT_EQ(ending.exit_code, 2);
    EXPECT_EQ(ending.err, "tarnwick: The password file '" + file.string() + "' cannot be read.\n");
  }
}

TEST_F(Connect, RefusesAnEmptyPassword) {
  for (const char* content : {"", "\n", "\r\n"}) {
    const auto file = folder_.write("empty", content);
    const Ending ending = check_with("TARNWICK_PASSWORD_FILE", file.string());
    EXPECT_EQ(ending.exit_code, 2);
    EXPECT_EQ(ending.err, "tarnwick: The password is empty.\n");
  }
}

TEST_F(Connect, EndsWhereNoPasswordIsGivenOnATerminal) {
  Start start = this->start({"check"});
  start.environment["TARNWICK_PASSWORD_FILE"] = "";
  start.on_terminal = true;
  Program program(start);
  program.wait_for("Password of the application role: ");
  program.type("\x04");  // the end of the input
  const Ending ending = program.end();
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_THAT(ending.out, HasSubstr("tarnwick: No password was given.\r\n"));
}

TEST_F(Connect, RefusesStringsThatNameNoDatabase) {
  Ending ending = check_with("TARNWICK_CONNECT", "Data Source=/tmp");
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, HasSubstr("\nError #:    \t3706\n"));
  ending = check_with("TARNWICK_CONNECT", "Provider=Nonsense;Data Source=/tmp");
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, HasSubstr("\nError #:    \t3706\n"));
  ending = check_with("TARNWICK_CONNECT", "nonsense");
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_THAT(ending.err, StartsWith("tarnwick: The connection string cannot be read: "));
  ending = check_with("TARNWICK_CONNECT",
                      "Provider=Tarnwick.Embedded;Data Source=" + folder_.path().string());
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, StartsWith("tarnwick: The database cannot be connected to.\n"));
  ending = check_with("TARNWICK_CONNECT", connect_string() + ";Colour=red");
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, HasSubstr("Colour"));
}

TEST_F(Connect, TellsOnceOfATableThatIsMissing) {
  sql("Drop Table DW_SEC_PC");
  for (const std::string command : {"pc", "component"}) {
    const Ending ending = run({command, "list"});
    EXPECT_EQ(ending.exit_code, 1);
    EXPECT_EQ(ending.out, "");
    EXPECT_EQ(ending.err,
              "tarnwick: The database cannot be connected to.\n"
              "Error in Component: 'Server', Proceedure: 'SetConnection'.\n"
              "Error #:    \t-2147217900\n"
              "Description:\tThe table DW_SEC_PC is missing.\n");
  }
}

TEST_F(Connect, TakesARelativeFolderFromWhereItIsTyped) {
  Start start = this->start({"check"});
  start.environment["TARNWICK_CONNECT"] = "Data Source=./db;Provider=tarnwick.embedded";
  start.folder = folder_.path();
  const Ending ending = test_support::run(start);
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
}

TEST_F(Connect, FindsFoldersWithBlanksQuotesAndSemicolonsInTheirNames) {
  const auto odd = folder_.path() / "a \"b\"; c=d";
  Ending ending =
      run_with({}, {"init", odd.string(), "--role", kRole, "--password-file", password_file_});
  ASSERT_EQ(ending.exit_code, 0) << ending.err;
  const std::string line = lines_of(ending.out).at(2);
  const std::string prefix = "  export TARNWICK_CONNECT='";
  ASSERT_THAT(line, StartsWith(prefix));
  const std::string connect = line.substr(prefix.size(), line.size() - prefix.size() - 1);
  ending = check_with("TARNWICK_CONNECT", connect);
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
}

TEST_F(Connect, TracesEveryStatementWithoutThePassword) {
  const std::string trace = (folder_.path() / "trace").string();
  say({"--trace", trace, "report", "set", "Headcount", "--title", "a\r\nb"});
  const auto lines = lines_of(content_of(trace));
  EXPECT_THAT(
      lines,
      ElementsAre(StartsWith("Connect Provider=Tarnwick.Embedded;OLE DB Services=-2;Data Source="),
                  "DefaultDatabase Velmar_Sec", "Execute EXEC sp_setapprole 'dw_admin','***'",
                  "Execute SET LOCK_TIMEOUT 5000", "Begin",
                  "Open server dynamic pessimistic: Select * From DW_Reports Where ReportName = "
                  "'Headcount'",
                  "Update SoftLock", "Rollback", "Begin",
                  "Open server dynamic pessimistic: Select * From DW_Reports Where ReportName = "
                  "'Headcount'",
                  "Update SoftLock", StartsWith("Update ReportName, Title, "), "Commit",
                  "Disconnect"));
}

TEST_F(Connect, MarksTheLineEndsInsideATracedStatement) {
  const std::string trace = (folder_.path() / "trace").string();
  EXPECT_EQ(run({"--trace", trace, "report", "show", "a\r\nb\\n"}).exit_code, 5);
  EXPECT_THAT(content_of(trace), HasSubstr("Where ReportName = 'a␍␊b\\n'\n"));
}

TEST_F(Connect, SaysThatATraceCannotBeWritten) {
  const Ending ending = run({"--trace", folder_.path().string(), "check"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, StartsWith("tarnwick: cannot write the trace to '"));
}

class Usage : public CommandLineTest {
 protected:
  void SetUp() override {}
};

TEST_F(Usage, IsExplainedByEveryCommand) {
  for (const std::vector<std::string>& command : {std::vector<std::string>{},
                                                  {"init"},
                                                  {"check"},
                                                  {"component"},
                                                  {"component", "add"},
                                                  {"pc"},
                                                  {"pc", "login"},
                                                  {"report"},
                                                  {"report", "import-ttx"},
                                                  {"lock"},
                                                  {"lock", "hold"}}) {
    std::vector<std::string> arguments = command;
    arguments.push_back("--help");
    const Ending ending = run_with({}, arguments);
    EXPECT_EQ(ending.exit_code, 0);
    EXPECT_THAT(ending.out, HasSubstr("Usage: "));
    EXPECT_EQ(ending.err, "");
  }
}

TEST_F(Usage, TeachesByExamplesAndTellsOfTheServiceAndTheExitCodes) {
  const std::string help = run_with({}, {"--help"}).out;
  EXPECT_THAT(help, HasSubstr("tarnwick init ./var --role dw_admin --password-file"));
  EXPECT_THAT(help, HasSubstr("Commands talk to the D-Bus service of the session"));
  EXPECT_THAT(help, HasSubstr("Exit codes: 0 done; 1 failed"));
  for (const std::string& line : lines_of(help)) EXPECT_LE(line.size(), 100u) << line;
}

TEST_F(Usage, ThatIsWrongIsAnsweredByExitCodeTwo) {
  const auto complaint = [](const std::vector<std::string>& arguments) {
    const Ending ending = run_with({}, arguments);
    EXPECT_EQ(ending.exit_code, 2);
    EXPECT_EQ(ending.out, "");
    return ending.err;
  };
  EXPECT_EQ(complaint({}), "tarnwick: Which command?\nSee tarnwick --help.\n");
  EXPECT_EQ(complaint({"report"}), "tarnwick: Which command?\nSee tarnwick report --help.\n");
  EXPECT_EQ(complaint({"bogus"}),
            "tarnwick: The following argument was not expected: bogus\nSee tarnwick --help.\n");
  EXPECT_EQ(complaint({"component", "show"}),
            "tarnwick: ID is required\nSee tarnwick component show --help.\n");
  EXPECT_THAT(complaint({"component", "show", "-1"}), StartsWith("tarnwick: "));
  EXPECT_THAT(complaint({"component", "show", "32768"}), StartsWith("tarnwick: ID: "));
  EXPECT_EQ(complaint({"--when-locked", "retry:0", "check"}),
            "tarnwick: --when-locked: must be ask, cancel or retry:N with N from 1 to 1000000\n"
            "See tarnwick check --help.\n");
}

TEST_F(Usage, NeverTakesAPasswordAsAnArgument) {
  EXPECT_EQ(run_with({}, {"--password", "x", "check"}).exit_code, 2);
}

}  // namespace
}  // namespace tarnwick::cli
