#include <pwd.h>
#include <unistd.h>

#include <csignal>
#include <optional>

#include "tests/apps/tarnwick/command_line_test.h"
#include "tests/stand_in/stand_in.h"

namespace tarnwick::cli {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

/// `lock list` beside a process that holds a row.
class LockLists : public CommandLineTest {
 protected:
  class Holder {
   public:
    explicit Holder(const Start& start) : program_(start) { program_.wait_for(" locked."); }
    void let_go() {
      program_.type("\n");
      program_.wait_for(" released.");
    }

   private:
    Program program_;
  };

  [[nodiscard]] Start hold(const std::string& report = "Headcount") const {
    return start({"lock", "hold", "report", report});
  }
  [[nodiscard]] Start watch() const {
    Start start = this->start({"lock", "list", "--watch"});
    start.on_terminal = true;
    return start;
  }
  static bool in_process() { return std::getenv("TARNWICK_IN_PROCESS") != nullptr; }
};

TEST_F(LockLists, TellComputerTimeProcessAndUser) {
  const Holder holder(hold());
  const Json list = json({"lock", "list"});
  ASSERT_EQ(list.size(), 1u);
  const Json& row = list[0];
  EXPECT_EQ(row["Table"], "DW_Reports");
  EXPECT_EQ(row["Row"], "Headcount");
  EXPECT_NE(row["HeldBy"], "");
  EXPECT_THAT(row["Since"].get<std::string>(), ContainsRegex("^[0-9]+/[0-9]+/[0-9]+"));
  EXPECT_GE(row["Seconds"].get<int>(), 0);
  EXPECT_EQ(row["Program"], in_process() ? "tarnwick" : "tarnwick-server");
  EXPECT_EQ(row["User"], getpwuid(geteuid())->pw_name);
  const std::filesystem::path process =
      "/proc/" + std::to_string(row["Process"].get<std::int64_t>()) + "/exe";
  EXPECT_EQ(std::filesystem::read_symlink(process).filename().string(), row["Program"]);
}

TEST_F(LockLists, AreATableForPeople) {
  const Holder holder(hold());
  const auto lines = lines_of(say({"lock", "list"}));
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_THAT(lines[0], ContainsRegex("^Table +Row +HeldBy +Since +For +Process +Program +User$"));
  EXPECT_THAT(lines[1],
              ContainsRegex("^DW_Reports +Headcount +.* [0-9]+ (s|min) +[0-9]+ +tarnwick"));
}

TEST_F(LockLists, AreKeptOnTheScreenUntilAKeyIsPressed) {
  Holder holder(hold());
  Program program(watch());
  program.wait_for("Any key ends this.");
  program.wait_for("Headcount");
  EXPECT_FALSE(program.terminal_echoes());
  holder.let_go();
  program.wait_for("Any key ends this.");
  program.wait_for("None.");
  const Holder next(hold("Open Orders"));
  program.wait_for("Open Orders");
  program.type("x");
  const Ending ending = program.end();
  EXPECT_EQ(ending.exit_code, 0) << ending.out;
  EXPECT_THAT(ending.out, Not(HasSubstr("x\r\n")));
}

TEST_F(LockLists, EndWithAnyKeyAlsoOneThatInterrupts) {
  for (const char* key : {"\x03", "\n", " ", "\x1b[A"}) {
    Program program(watch());
    program.wait_for("None.");
    program.type(key);
    program.wait_for_end();
    EXPECT_TRUE(program.terminal_echoes());
    const Ending ending = program.end();
    EXPECT_EQ(ending.exit_code, 0) << ending.out;
  }
}

TEST_F(LockLists, GiveTheTerminalBackWhereASignalEndsThem) {
  Program program(watch());
  program.wait_for("None.");
  program.send_signal(SIGTERM);
  program.wait_for_end();
  EXPECT_TRUE(program.terminal_echoes());
  EXPECT_EQ(program.end().signal, SIGTERM);
}

TEST_F(LockLists, AreKeptOnNothingButATerminal) {
  const Ending ending = run({"lock", "list", "--watch"});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.out, "");
  EXPECT_EQ(ending.err,
            "tarnwick: --watch needs a terminal: one to show the rows on, and one to end it "
            "from.\n");
  Start for_machines = watch();
  for_machines.arguments.push_back("--json");
  const Ending json = test_support::run(for_machines);
  EXPECT_EQ(json.exit_code, 2);
  EXPECT_THAT(json.out, HasSubstr("tarnwick: --watch is for people: leave out --json."));
}

/// `lock list` on SQL Server, through FreeTDS on a stand-in.
class LockListsOfSqlServer : public LockLists {
 protected:
  void SetUp() override {
    server_.make_database();
    server_.run(u"CREATE LOGIN anna WITH PASSWORD = N'Anna-1'");
    role_file_ =
        folder_.write("role_password", to_utf8(test_support::StandIn::kRolePassword) + "\n")
            .string();
    ASSERT_EQ(test_support::run(as_anna({"report", "add", "Sales"})).exit_code, 0);
    holder_.emplace(as_anna({"lock", "hold", "report", "Sales"}));
    holder_->wait_for("Report 'Sales' locked.");
  }

  [[nodiscard]] Start as_anna(std::vector<std::string> arguments) const {
    Start start = this->start(std::move(arguments));
    start.environment["TARNWICK_CONNECT"] =
        "Provider=MSOLEDBSQL;Data Source=" + to_utf8(server_.data_source()) +
        ";User ID=anna;Password=Anna-1;Application Name=Desk";
    start.environment["TARNWICK_ROLE"] = to_utf8(test_support::StandIn::kRole);
    start.environment["TARNWICK_PASSWORD_FILE"] = role_file_;
    return start;
  }

  test_support::StandIn server_;
  std::string role_file_;
  std::optional<Program> holder_;
};

TEST_F(LockListsOfSqlServer, NameTheSessionToALoginThatMaySeeIt) {
  server_.run(u"GRANT VIEW SERVER STATE TO anna");
  const Ending ending = test_support::run(as_anna({"lock", "list", "--json"}));
  EXPECT_EQ(ending.exit_code, 0);
  EXPECT_EQ(ending.err, "");
  const Json list = Json::parse(ending.out);
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0]["Row"], "Sales");
  EXPECT_GT(list[0]["Session"].get<int>(), 50);
  EXPECT_EQ(list[0]["Program"], "Desk");
  EXPECT_EQ(list[0]["User"], "anna");
  EXPECT_TRUE(list[0]["Process"].is_number());
  EXPECT_THAT(test_support::run(as_anna({"lock", "list"})).out,
              ContainsRegex("User +Session\n.* Desk +anna +[0-9]+\n"));

  // The session that is named is the one that holds the row.
  server_.run(join({u"KILL ", decimal(list[0]["Session"].get<int>())}));
  EXPECT_EQ(test_support::run(as_anna({"lock", "list"})).out, "None.\n");
}

TEST_F(LockListsOfSqlServer, SayThatOthersMayNotSeeIt) {
  const Ending ending = test_support::run(as_anna({"lock", "list", "--json"}));
  EXPECT_EQ(ending.exit_code, 0);
  EXPECT_THAT(ending.err, HasSubstr("The sessions of the server are not shown: "));
  EXPECT_THAT(ending.err, HasSubstr("VIEW SERVER STATE permission was denied"));
  const Json list = Json::parse(ending.out);
  ASSERT_EQ(list.size(), 1u);
  EXPECT_NE(list[0]["HeldBy"], "");
  EXPECT_GE(list[0]["Seconds"].get<int>(), 0);
  for (const char* member : {"Process", "Program", "User", "Session"}) {
    EXPECT_TRUE(list[0][member].is_null()) << member;
  }
}

TEST_F(LockListsOfSqlServer, SayItOnTheScreenToo) {
  Start watch = as_anna({"lock", "list", "--watch"});
  watch.on_terminal = true;
  Program program(watch);
  program.wait_for("Sales");
  program.wait_for("The sessions of the server are not shown: ");
  program.type("q");
  EXPECT_EQ(program.end().exit_code, 0);
}

}  // namespace
}  // namespace tarnwick::cli
