#include <algorithm>
#include <cstdlib>

#include "tests/apps/tarnwick/files/folder_test.h"

// The command line of Windows, which TARNWICK_WINDOWS_PROGRAM names, in consoles of its own and
// beside that of Linux.

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

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

  static std::string prefix() {
    const char* folder = std::getenv("WINEPREFIX");
    return folder == nullptr ? std::string() : folder;
  }
  /// What commands keep while they run.
  static std::vector<std::string> temporary_folders() {
    std::vector<std::string> found;
    for (const auto& user : std::filesystem::directory_iterator(prefix() + "/drive_c/users")) {
      for (const char* place : {"AppData/Local/Temp", "Temp"}) {
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator(user.path() / place, none)) {
          const std::string name = entry.path().filename().string();
          if (name.starts_with("tarnwick-")) found.push_back(name);
        }
      }
    }
    return found;
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

TEST_F(TwoSystems, ReadFoldersVariablesAndFilesWithAnyCharacterInTheirNames) {
  const auto folder = folder_.path() / "Größe 日本";
  const auto password = folder_.write("Schlüssel 鍵", "open sesame\n");
  const Ending made = run_with({}, {"init", folder.string(), "--role", "Rolle_ß", "--password-file",
                                    password.string(), "--sample"});
  ASSERT_EQ(made.exit_code, 0) << made.err;
  Start check = start({"check"});
  check.environment["TARNWICK_CONNECT"] =
      "Provider=Tarnwick.Embedded;Data Source=" + folder.string();
  check.environment["TARNWICK_ROLE"] = "Rolle_ß";
  check.environment["TARNWICK_PASSWORD_FILE"] = password.string();
  EXPECT_EQ(test_support::run(check).out, test_support::run(on_linux(check)).out);
}

TEST_F(TwoSystems, ShowEveryCharacterOnAConsole) {
  say({"report", "set", "Headcount", "--title", kTitle});
  const Ending shown =
      test_support::run(on_console({"report", "show", "Headcount", "--field", "Title"}));
  EXPECT_EQ(shown.exit_code, 0) << shown.out;
  EXPECT_THAT(shown.out, HasSubstr("Größe £ 日本 –"));
}

TEST_F(TwoSystems, ShowNoPasswordOnTheConsole) {
  Start check = on_console({"check"});
  check.environment["TARNWICK_PASSWORD_FILE"] = "";
  Program program(check);
  program.wait_for("Password of the application role:");
  program.type("open sesame\r");
  program.wait_for("Connected; loaded 42 components");
  const Ending ending = program.end();
  EXPECT_EQ(ending.exit_code, 0) << ending.out;
  EXPECT_THAT(ending.out, Not(HasSubstr("sesame")));
}

TEST_F(TwoSystems, LeaveNothingBehindWhenAKeyInterruptsThem) {
  const std::size_t before = temporary_folders().size();
  Program holder(on_console({"lock", "hold", "report", "Headcount"}));
  holder.wait_for("locked.");
  EXPECT_EQ(json({"lock", "list"}).size(), 1u);
  holder.type("\x03");
  EXPECT_NE(holder.end().exit_code, 0);
  EXPECT_EQ(temporary_folders().size(), before);
  EXPECT_EQ(json({"lock", "list"}), Json::array());
  say({"report", "set", "Headcount", "--title", "Free"});
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

TEST_F(TwoConsoles, AskRetryOrCancelWhereTheCommandWasTyped) {
  expect_question_and_retry(on_windows(hold()), on_windows(set()));
}

TEST_F(TwoConsoles, AskAboutARowThatTheOtherSystemHolds) {
  expect_question_and_retry(on_linux(hold()), on_windows(set()));
}

TEST_F(TwoConsoles, AreAskedOnLinuxAboutARowThatWindowsHolds) {
  expect_question_and_retry(on_windows(hold()), on_linux(set()));
}

TEST_F(TwoConsoles, GiveUpWhereCancelIsTyped) {
  Program holder(on_windows(hold()));
  holder.wait_for("locked.");
  Program other(on_windows(set()));
  other.wait_for(kQuestion);
  other.type("c\r");
  const Ending ending = other.end();
  EXPECT_EQ(ending.exit_code, 4);
  EXPECT_THAT(ending.out, HasSubstr("is being maintained by another process."));
}

TEST_F(TwoConsoles, GiveUpWhereNobodyAnswers) {
  Program holder(on_windows(hold()));
  holder.wait_for("locked.");
  Start patient = on_windows(set());
  patient.arguments.insert(patient.arguments.begin(), {"--question-timeout", "1"});
  EXPECT_EQ(Program(patient).end_with_open_input().exit_code, 4);
}

TEST_F(TwoConsoles, SeeColumnByColumnWhyAChangeWasRefused) {
  const auto editor = folder_.write("editor",
                                    "#!/bin/sh\nset -e\n"
                                    "file=$(printf '%s' \"$1\" | tr '\\\\' /)\n"
                                    "drive=$(printf '%s' \"${file%%:*}\" | tr A-Z a-z)\n"
                                    "sed -i 's/\"Title\": \".*\"/\"Title\": \"Mine\"/' "
                                    "\"$WINEPREFIX/dosdevices/$drive:${file#*:}\"\n"
                                    "TARNWICK_IN_PROCESS=1 '" TARNWICK
                                    "' report set Headcount --title Theirs >&2\n");
  std::filesystem::permissions(editor, std::filesystem::perms::owner_all);
  Start edited = on_windows(start({"report", "edit", "Headcount"}));
  edited.environment["EDITOR"] = editor.string();
  const Ending ending = test_support::run(edited);
  EXPECT_EQ(ending.exit_code, 3) << ending.err;
  EXPECT_THAT(ending.out + ending.err, HasSubstr("was changed by someone else"));
  EXPECT_THAT(ending.out + ending.err, HasSubstr("Theirs"));
  EXPECT_EQ(title(), "Theirs");
}

}  // namespace
}  // namespace tarnwick::cli
