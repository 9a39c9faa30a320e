#include <cstdlib>

#include "tests/apps/tarnwick/files/folder_test.h"

// The command line of Windows, which TARNWICK_WINDOWS_PROGRAM names, in consoles of its own and
// beside that of Linux.

namespace tarnwick::cli {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;

/// Both over one database.
class TwoSystems : public FolderTest {
 protected:
  /// The same on Linux.
  static Start on_linux(Start start) {
    start.environment["TARNWICK_WINDOWS_PROGRAM"] = "";
    start.environment["TARNWICK_IN_PROCESS"] = "1";
    return start;
  }
  [[nodiscard]] std::string say_on_linux(std::vector<std::string> arguments) const {
    const Ending ending = test_support::run(on_linux(start(std::move(arguments))));
    EXPECT_EQ(ending.exit_code, 0) << ending.err;
    return ending.out;
  }
  [[nodiscard]] Start on_console(std::vector<std::string> arguments) const {
    Start start = this->start(std::move(arguments));
    start.on_terminal = true;
    start.environment["TERM"] = "xterm";
    return start;
  }

  [[nodiscard]] std::string title() const {
    return value("Select Title From DW_Reports Where ReportName = 'Headcount'");
  }

  static constexpr const char* kQuestion = "Retry or cancel? [r/c]";
};

/// Those who speak and understand Unicode.
constexpr const char* kTitle = "Größe £ 日本 – 😀";

TEST_F(TwoSystems, ShowTheSameTablesAndTreesToTheByte) {
  say({"report", "set", "Headcount", "--title", kTitle});
  EXPECT_EQ(title(), kTitle);
  for (const std::vector<std::string>& command : {std::vector<std::string>{"component", "tree"},
                                                  {"component", "list", "--json"},
                                                  {"pc", "list", "--csv"},
                                                  {"report", "list"},
                                                  {"report", "show", "Headcount"}}) {
    EXPECT_EQ(say(command), say_on_linux(command)) << command.front();
  }
}

TEST_F(TwoSystems, ExportTheSameFiles) {
  say({"report", "set", "Headcount", "--title", kTitle});
  export_catalog();
  const auto linux_catalog = folder_.path() / "linux";
  static_cast<void>(say_on_linux({"export", linux_catalog.string()}));
  EXPECT_EQ(files_in(catalog()), files_in(linux_catalog));
}

TEST_F(TwoSystems, FindNoDifferenceInWhatTheOtherOneExported) {
  const auto linux_catalog = folder_.path() / "linux";
  static_cast<void>(say_on_linux({"export", linux_catalog.string()}));
  const std::string none = say_on_linux({"diff", linux_catalog.string()});
  EXPECT_EQ(say({"diff", linux_catalog.string()}), none);
  export_catalog();
  EXPECT_EQ(say_on_linux({"diff", catalog().string()}), none);
}

TEST_F(TwoSystems, ApplyWhatTheOtherOneWrote) {
  static_cast<void>(say_on_linux({"export", catalog().string()}));
  edit("reports.json",
       [](Json& records) { record(records, "ReportName", "Headcount")["Title"] = kTitle; });
  say({"apply", catalog().string()});
  EXPECT_EQ(title(), kTitle);
  EXPECT_EQ(say_on_linux({"diff", catalog().string()}), say({"diff", catalog().string()}));
}

/// A name that no code page of Windows holds.
constexpr const char* kName = "Größe Ωμέγα 日本 😀";

TEST_F(TwoSystems, TakeAnyNameOfADatabaseARoleAndAPasswordFile) {
  const auto folder = folder_.path() / kName;
  const auto password = folder_.write(std::string("password ") + kName, "open sesame\n");
  const Ending made = run_with({}, {"init", folder.string(), "--role", kName, "--password-file",
                                    password.string(), "--sample"});
  ASSERT_EQ(made.exit_code, 0) << made.err;
  EXPECT_THAT(made.out, HasSubstr(std::string(kName) + "\\Velmar_Sec.db with 42 components"));

  Start check = start({"check"});
  check.environment["TARNWICK_CONNECT"] =
      "Provider=Tarnwick.Embedded;Data Source=" + folder.string();
  check.environment["TARNWICK_ROLE"] = kName;
  check.environment["TARNWICK_PASSWORD_FILE"] = password.string();
  const Ending checked = test_support::run(check);
  EXPECT_EQ(checked.exit_code, 0) << checked.err;
  EXPECT_EQ(checked.out, test_support::run(on_linux(check)).out);
  check.folder = folder_.path();
  check.environment["TARNWICK_CONNECT"] =
      std::string("Provider=Tarnwick.Embedded;Data Source=") + kName;
  EXPECT_EQ(test_support::run(check).out, checked.out);
}

TEST_F(TwoSystems, ExchangeFoldersOfAnyName) {
  const auto folder = folder_.path() / kName;
  const Ending exported = run({"export", folder.string()});
  EXPECT_THAT(exported.out,
              AllOf(HasSubstr("12 reports to "), EndsWith(std::string(kName) + ".\n")));
  EXPECT_EQ(say_on_linux({"diff", folder.string()}), "Nothing to do.\n");

  say({"report", "set", "Headcount", "--title", "Another"});
  static_cast<void>(say_on_linux({"apply", folder.string()}));
  EXPECT_NE(title(), "Another");

  say({"report", "set", "Headcount", "--title", kTitle});
  static_cast<void>(say_on_linux({"export", folder.string()}));
  say({"report", "set", "Headcount", "--title", "Another"});
  say({"apply", folder.string()});
  EXPECT_EQ(title(), kTitle);
}

TEST_F(TwoSystems, TakeAnyNameOfTheFilesThatAFolderNames) {
  const auto folder = folder_.path() / kName;
  static_cast<void>(say_on_linux({"export", folder.string()}));
  const std::string name = std::string(kName) + ".rpt";
  Json reports = Json::parse(content_of(folder / "reports.json"));
  Json& headcount = record(reports, "ReportName", "Headcount");
  std::filesystem::rename(folder / "reports" / headcount["Report_Binary"].get<std::string>(),
                          folder / "reports" / name);
  headcount["Report_Binary"] = name;
  folder_.write(std::string(kName) + "/reports.json", reports.dump(1));
  EXPECT_EQ(say({"diff", folder.string()}), "Nothing to do.\n");

  // A new export takes away what the one before it has brought.
  say({"export", folder.string()});
  EXPECT_FALSE(std::filesystem::exists(folder / "reports" / name));

  headcount["Report_Binary"] = "none " + name;
  folder_.write(std::string(kName) + "/reports.json", reports.dump(1));
  const Ending refused = run({"diff", folder.string()});
  EXPECT_EQ(refused.exit_code, 1);
  EXPECT_THAT(refused.err, HasSubstr("none " + name + "', and there is no such file"));
}

TEST_F(TwoSystems, TakeAnyNameOfAReportsFiles) {
  const auto report = folder_.path() / (std::string(kName) + ".rpt");
  EXPECT_THAT(say({"report", "extract", "Headcount", report.string()}),
              EndsWith(std::string(kName) + ".rpt.\n"));
  EXPECT_EQ(content_of(report),
            content_of(std::filesystem::path(SAMPLES) / "reports/headcount.rpt"));
  folder_.write(report.filename(), "another file");
  say({"report", "store", "Headcount", report.string()});
  std::filesystem::remove(report);
  static_cast<void>(say_on_linux({"report", "extract", "Headcount", report.string()}));
  EXPECT_EQ(content_of(report), "another file");

  const auto fields = folder_.path() / (std::string(kName) + ".ttx");
  const auto trace = folder_.path() / (std::string(kName) + ".trace");
  EXPECT_THAT(say({"--trace", trace.string(), "report", "extract-ttx", "Headcount",
                   (folder_.path() / kName).string()}),
              EndsWith(std::string(kName) + ".ttx.\n"));
  EXPECT_EQ(content_of(fields),
            content_of(std::filesystem::path(SAMPLES) / "reports/headcount.ttx"));
  EXPECT_THAT(content_of(trace), HasSubstr("Connect Provider=Tarnwick.Embedded"));

  const auto sql_file = folder_.write(std::string(kName) + ".sql", "Select 1");
  say({"report", "set", "Headcount", "--sql-file", sql_file.string()});
  EXPECT_EQ(value("Select SQLStmnt From DW_Reports Where ReportName = 'Headcount'"), "Select 1");
  const Ending missing = run({"report", "set", "Headcount", "--sql-file", kName});
  EXPECT_EQ(missing.exit_code, 2);
  EXPECT_THAT(missing.err, HasSubstr(std::string("The file '") + kName + "' cannot be read."));
}

TEST_F(TwoSystems, ShowEveryCharacterOnAConsole) {
  say({"report", "set", "Headcount", "--title", kTitle});
  const Ending shown =
      test_support::run(on_console({"report", "show", "Headcount", "--field", "Title"}));
  EXPECT_EQ(shown.exit_code, 0) << shown.out;
  EXPECT_THAT(shown.out, HasSubstr("Größe £ 日本 –"));
}

/// Windows by way of the COM server that is registered.
class OverCom : public TwoSystems {
 protected:
  [[nodiscard]] Ending run_over_com(std::vector<std::string> arguments) const {
    Start start = this->start(std::move(arguments));
    start.environment["TARNWICK_IN_PROCESS"] = "";
    // The server stands in another folder, and on another drive of Wine's.
    start.environment["TARNWICK_CONNECT"] =
        "Provider=Tarnwick.Embedded;Data Source=Z:" + database_folder_;
    // The server, which Wine lets the first command start, outlives it.
    return test_support::Program(start).end_alone();
  }
  std::string say_over_com(std::vector<std::string> arguments) const {
    const Ending ending = run_over_com(std::move(arguments));
    EXPECT_EQ(ending.exit_code, 0) << ending.err;
    EXPECT_EQ(ending.err, "");
    return ending.out;
  }
};

TEST_F(OverCom, CommandsSayWhatTheySayOnLinux) {
  for (const std::vector<std::string>& command : {std::vector<std::string>{"component", "tree"},
                                                  {"pc", "list", "--component", "10"},
                                                  {"report", "list", "--csv"},
                                                  {"report", "show", "Headcount", "--json"},
                                                  {"lock", "list"},
                                                  {"role", "list"},
                                                  {"check"}}) {
    EXPECT_EQ(say_over_com(command), say_on_linux(command)) << command.front();
  }
}

TEST_F(OverCom, RecordsAreAddedChangedAndDeleted) {
  EXPECT_EQ(say_over_com({"component", "add", "901", "--name", "Extra", "--maintenance-type",
                          "ComponentWithPCs"}),
            "Component 901 written.\n");
  EXPECT_EQ(run_over_com({"component", "add", "901", "--name", "Another"}).err,
            "tarnwick: Component 901 exists already.\n");
  EXPECT_EQ(say_over_com({"component", "set", "901", "--name", "Größe"}),
            "Component 901 written.\n  Name: 'Extra' -> 'Größe'\n");
  EXPECT_EQ(value("Select CompName From DW_SEC_COMP Where CompID = 901"), "Größe");
  EXPECT_EQ(say_over_com({"component", "delete", "901"}), "Component 901 deleted.\n");
  const Ending gone = run_over_com({"component", "show", "901"});
  EXPECT_EQ(gone.exit_code, 5);
  EXPECT_EQ(gone.err, "tarnwick: Component 901 does not exist.\n");
}

/// Those of this process alone: the one server of Windows has one connection, and nobody to ask.
class TwoConsoles : public TwoSystems {
 protected:
  void SetUp() override {
    setenv("TARNWICK_IN_PROCESS", "1", 1);
    TwoSystems::SetUp();
  }
  void TearDown() override { unsetenv("TARNWICK_IN_PROCESS"); }

  /// One that asks about the row, which the other one gives back before it is answered.
  void expect_question_and_retry(const Start& first, const Start& second) const {
    Program holder(first);
    holder.wait_for("locked.");
    Program other(second);
    other.wait_for("Record is currently being updated by another process!");
    other.wait_for(kQuestion);
    holder.type(first.on_terminal ? "\r" : "\n");
    holder.wait_for("released.");
    other.type(second.environment.at("TARNWICK_WINDOWS_PROGRAM").empty() ? "r\n" : "r\r");
    const Ending ending = other.end();
    EXPECT_EQ(ending.exit_code, 0) << ending.out;
    EXPECT_EQ(title(), "Mine");
  }
  [[nodiscard]] Start on_windows(Start start) const {
    start.environment["TARNWICK_WINDOWS_PROGRAM"] = std::getenv("TARNWICK_WINDOWS_PROGRAM");
    return start;
  }
  [[nodiscard]] Start hold() const { return start({"lock", "hold", "report", "Headcount"}); }
  [[nodiscard]] Start set() const {
    return on_console({"report", "set", "Headcount", "--title", "Mine"});
  }
};

TEST_F(TwoConsoles, AreAskedOnLinuxAboutARowThatWindowsHolds) {
  expect_question_and_retry(on_windows(hold()), on_linux(set()));
}

TEST_F(TwoConsoles, GiveUpWhereNobodyAnswers) {
  Program holder(on_windows(hold()));
  holder.wait_for("locked.");
  Start patient = on_windows(set());
  patient.arguments.insert(patient.arguments.begin(), {"--question-timeout", "1"});
  EXPECT_EQ(Program(patient).end_with_open_input().exit_code, 4);
}

}  // namespace
}  // namespace tarnwick::cli
