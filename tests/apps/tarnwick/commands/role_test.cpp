#include <csignal>

#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class RoleCommands : public CommandLineTest {
 protected:
  RoleCommands() { new_password_file_ = folder_.write("new", "mellon\n").string(); }

  [[nodiscard]] test_support::PlainSqlite::Rows stored() const {
    return sql("SELECT * FROM DW_APP_ROLE ORDER BY RoleName");
  }
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const Json& role : json({"role", "list"})) names.push_back(role["Name"]);
    return names;
  }

  /// `check` in a role.
  [[nodiscard]] int check(const std::string& role, const std::string& password_file) const {
    Start start = this->start({"check"});
    start.environment["TARNWICK_ROLE"] = role;
    start.environment["TARNWICK_PASSWORD_FILE"] = password_file;
    return test_support::run(start).exit_code;
  }
  [[nodiscard]] Start on_terminal(std::vector<std::string> arguments) const {
    Start start = this->start(std::move(arguments));
    start.on_terminal = true;
    return start;
  }

  /// Refuses, and has changed nothing.
  void expect_refused(const Start& start, int code, const std::string& complaint) const {
    const auto before = stored();
    const Ending ending = test_support::run(start);
    EXPECT_EQ(ending.exit_code, code) << testing::PrintToString(start.arguments);
    EXPECT_EQ(ending.err, "tarnwick: " + complaint + "\n");
    EXPECT_EQ(ending.out, "");
    EXPECT_EQ(stored(), before);
  }

  std::string new_password_file_;
};

TEST_F(RoleCommands, ListTheRoles) {
  EXPECT_EQ(say({"role", "list"}), "Name\ndw_admin\n");
  EXPECT_EQ(json({"role", "list"}), (Json::array({{{"Name", "dw_admin"}}})));
}

TEST_F(RoleCommands, AddARoleThatMayEnter) {
  EXPECT_EQ(say({"role", "add", "Büro", "--new-password-file", new_password_file_}),
            "Role 'Büro' added.\n");
  EXPECT_EQ(names(), (std::vector<std::string>{"Büro", "dw_admin"}));
  EXPECT_EQ(check("Büro", new_password_file_), 0);
  EXPECT_EQ(check("Büro", password_file_), 1);
  EXPECT_EQ(check(kRole, password_file_), 0);
}

TEST_F(RoleCommands, ChangeAPasswordForTheNextConnection) {
  EXPECT_EQ(say({"role", "password", kRole, "--new-password-file", new_password_file_}),
            "Role 'dw_admin' has a new password. Who is connected stays so; the next connection "
            "needs it.\n");
  EXPECT_EQ(check(kRole, password_file_), 1);
  EXPECT_EQ(check(kRole, new_password_file_), 0);
}

TEST_F(RoleCommands, LeaveARunningProgramItsConnection) {
  Program holder(start({"lock", "hold", "report", "Headcount"}));
  holder.wait_for("Report 'Headcount' locked.");
  say({"role", "password", kRole, "--new-password-file", new_password_file_});
  holder.type("\n");
  const Ending ending = holder.end();
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_THAT(ending.out, HasSubstr("Report 'Headcount' released.\n"));
  EXPECT_EQ(check(kRole, password_file_), 1);
}

TEST_F(RoleCommands, RemoveARoleButNotTheLastOne) {
  expect_refused(start({"role", "remove", kRole}), 1,
                 "'dw_admin' is the last role: without one nobody could enter the database. Add "
                 "another one first.");
  say({"role", "add", "other", "--new-password-file", new_password_file_});
  EXPECT_EQ(say({"role", "remove", kRole}),
            "Role 'dw_admin' removed. Who is connected in it stays so.\n");
  EXPECT_EQ(check(kRole, password_file_), 1);
  EXPECT_EQ(check("other", new_password_file_), 0);
}

TEST_F(RoleCommands, AskTwiceForThePasswordOnATerminal) {
  Program program(on_terminal({"role", "add", "other"}));
  program.wait_for("New password of the role 'other': ");
  program.type("mellon\n");
  program.wait_for("Once more: ");
  program.type("mellon\n");
  const Ending ending = program.end();
  EXPECT_EQ(ending.exit_code, 0) << ending.out;
  EXPECT_THAT(ending.out, HasSubstr("Role 'other' added."));
  EXPECT_THAT(ending.out, Not(HasSubstr("mellon")));
  EXPECT_EQ(check("other", new_password_file_), 0);
}

TEST_F(RoleCommands, AskForThePasswordToEnterFirst) {
  Start start = on_terminal({"role", "password", kRole});
  start.environment["TARNWICK_PASSWORD_FILE"] = "";
  Program program(start);
  program.wait_for("Password of the application role: ");
  program.type("open sesame\n");
  program.wait_for("New password of the role 'dw_admin': ");
  program.type("mellon\n");
  program.wait_for("Once more: ");
  program.type("mellon\n");
  EXPECT_EQ(program.end().exit_code, 0);
  EXPECT_EQ(check(kRole, new_password_file_), 0);
}

TEST_F(RoleCommands, ChangeNothingWhereTheTwoPasswordsDiffer) {
  const auto before = stored();
  Program program(on_terminal({"role", "password", kRole}));
  program.wait_for("New password of the role 'dw_admin': ");
  program.type("mellon\n");
  program.wait_for("Once more: ");
  program.type("melon\n");
  const Ending ending = program.end();
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_THAT(ending.out, HasSubstr("tarnwick: The two passwords differ."));
  EXPECT_EQ(stored(), before);
}

TEST_F(RoleCommands, AskForNoPasswordThatCannotBeHad) {
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"role", "add", "DW_ADMIN"}, {"role", "password", "other"}}) {
    const Ending ending = test_support::run(on_terminal(command));
    EXPECT_EQ(ending.exit_code, command[1] == "add" ? 1 : 5);
    EXPECT_THAT(ending.out, Not(HasSubstr("New password")));
  }
}

TEST_F(RoleCommands, SayThatThereIsNoSuchRoleOrOneAlready) {
  const std::vector<std::string> file{"--new-password-file", new_password_file_};
  expect_refused(start({"role", "add", "DW_ADMIN", file[0], file[1]}), 1,
                 "There is a role 'DW_ADMIN' already.");
  expect_refused(start({"role", "password", "other", file[0], file[1]}), 5,
                 "There is no role 'other'.");
  expect_refused(start({"role", "remove", "other"}), 5, "There is no role 'other'.");
}

TEST_F(RoleCommands, RefuseWhatCanBeNoNameAndNoPasswordBeforeAnythingIsConnected) {
  const std::string quote = folder_.write("quote", "it's\n").string();
  const std::string empty = folder_.write("empty", "\n").string();
  const std::vector<std::pair<std::vector<std::string>, std::string>> refused{
      {{"role", "add", "it's"}, "The name of the role must not hold a quote (')."},
      {{"role", "password", "it's"}, "The name of the role must not hold a quote (')."},
      {{"role", "remove", "it's"}, "The name of the role must not hold a quote (')."},
      {{"role", "add", ""}, "The name of the role is empty."},
      {{"role", "add", "\xff"}, "An argument is not UTF-8."},
      {{"role", "add", "x", "--new-password-file", quote},
       "The new password must not hold a quote (')."},
      {{"role", "password", kRole, "--new-password-file", empty}, "The password is empty."},
      {{"role", "password", kRole, "--new-password-file", "/nowhere"},
       "The password file '/nowhere' cannot be read."}};
  for (const auto& [command, complaint] : refused) {
    Start start = this->start(command);
    // Who connects here is told something else.
    start.environment["TARNWICK_CONNECT"] =
        "Provider=Tarnwick.Embedded;Data Source=" + (folder_.path() / "nowhere").string();
    expect_refused(start, 2, complaint);
  }
}

TEST_F(RoleCommands, NeedAFileForTheNewPasswordWithoutATerminal) {
  expect_refused(start({"role", "password", kRole}), 2,
                 "The new password is needed: name a file that holds it by --new-password-file.");
}

TEST_F(RoleCommands, TakeNoPasswordAsAnArgument) {
  for (const char* name : {"--password", "--new-password"}) {
    const auto before = stored();
    EXPECT_EQ(run({"role", "password", kRole, name, "mellon"}).exit_code, 2);
    EXPECT_EQ(stored(), before);
  }
}

TEST_F(RoleCommands, AreOpenToWhoeverMayEnterARole) {
  for (const auto& [name, value] :
       {std::pair<std::string, std::string>{"TARNWICK_PASSWORD_FILE", new_password_file_},
        {"TARNWICK_ROLE", "other"}}) {
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"role", "list"},
          {"role", "remove", kRole},
          {"role", "password", kRole, "--new-password-file", new_password_file_}}) {
      Start start = this->start(command);
      start.environment[name] = value;
      expect_refused(start, 1,
                     "The database cannot be connected to.\nThe application role does not exist, "
                     "or the password is not its password.");
    }
  }
}

TEST_F(RoleCommands, LeaveAllAsItWasWhereTheFileCannotGrow) {
  Start limited = start({"role", "password", kRole, "--new-password-file", new_password_file_});
  limited.largest_file = 1000;
  const auto before = stored();
  const Ending ending = test_support::run(limited);
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, HasSubstr("cannot be maintained: disk I/O error (File too large)"));
  EXPECT_EQ(stored(), before);
  EXPECT_EQ(check(kRole, password_file_), 0);
}

TEST_F(RoleCommands, SayWhatTheAdministratorOfAnSqlServerDoesInstead) {
  const std::string sentence =
      "Only embedded databases keep their roles themselves. Those of an SQL Server are its "
      "administrator's, in the database Velmar_Sec:\n  ";
  const std::vector<std::pair<std::vector<std::string>, std::string>> told{
      {{"role", "list"}, "SELECT name FROM sys.database_principals WHERE type = 'A'"},
      {{"role", "add", "a]b", "--new-password-file", new_password_file_},
       "CREATE APPLICATION ROLE [a]]b] WITH PASSWORD = '...', DEFAULT_SCHEMA = dbo\nwith the "
       "rights that schema/sqlserver.sql grants."},
      {{"role", "password", "app", "--new-password-file", new_password_file_},
       "ALTER APPLICATION ROLE [app] WITH PASSWORD = '...'"},
      {{"role", "remove", "app"}, "DROP APPLICATION ROLE [app]"}};
  for (const auto& [command, statement] : told) {
    Start start = this->start(command);
    start.environment["TARNWICK_CONNECT"] = "Provider=MSOLEDBSQL;Data Source=db.example.org";
    expect_refused(start, 2, sentence + statement);
  }
}

TEST_F(RoleCommands, OfADatabaseOfAnOlderVersionAdviseToUpgradeIt) {
  sql("PRAGMA user_version = 0");
  const Ending ending = run({"role", "list"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, HasSubstr("its tables are of version 0, which is older than this "
                                    "program; run 'tarnwick upgrade'"));
}

TEST_F(RoleCommands, GiveTheTerminalBackWhereASignalEndsThem) {
  Program program(on_terminal({"role", "add", "other"}));
  program.wait_for("New password of the role 'other': ");
  EXPECT_FALSE(program.terminal_echoes());
  program.send_signal(SIGTERM);
  program.wait_for_end();
  EXPECT_TRUE(program.terminal_echoes());
}

}  // namespace
}  // namespace tarnwick::cli
