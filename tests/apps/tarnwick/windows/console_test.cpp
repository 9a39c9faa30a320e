#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/windows/wide.h"
#include "tests/apps/tarnwick/windows/console.h"
#include "tests/apps/windows/process.h"
#include "tests/support/embedded_database.h"

// The command line where people type it: on consoles, with keys.

namespace tarnwick::cli {
namespace {

using test_support::Console;
using test_support::Process;
using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr DWORD kInterrupted = 0xC000013A;  // STATUS_CONTROL_C_EXIT
constexpr const char* kQuestion =
    "Record Lock Encountered: Record is currently being updated by another process!\n"
    "Retry or cancel? [r/c]";

/// A variable of this process, which what it starts inherits.
class Variable {
 public:
  Variable(const wchar_t* name, const std::wstring& value) : name_(name) {
    std::array<wchar_t, 1024> room{};
    if (GetEnvironmentVariableW(name_, room.data(), static_cast<DWORD>(room.size())) != 0) {
      before_ = room.data();
    }
    SetEnvironmentVariableW(name_, value.c_str());
  }
  ~Variable() { SetEnvironmentVariableW(name_, before_ ? before_->c_str() : nullptr); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const wchar_t* name_;
  std::optional<std::wstring> before_;
};

/// The command line in its own process, over a database with one report.
class Consoles : public ::testing::Test {
 protected:
  Consoles() {
    database_.run("Insert Into DW_Reports (ReportName, Title) Values ('Headcount', 'Before')");
  }

  static std::wstring command(const std::wstring& arguments) {
    return L"\"" TARNWICK L"\" " + arguments;
  }
  static std::wstring set(const std::wstring& title) {
    return command(L"report set Headcount --title " + title);
  }
  static std::wstring edit() { return command(L"report edit Headcount"); }
  static std::wstring hold() { return command(L"lock hold report Headcount"); }

  /// Runs a command away from any console; all that it says.
  static std::string say(const std::wstring& arguments) {
    Process process(command(arguments));
    std::string said = process.output();
    EXPECT_EQ(process.exit_code(), 0u) << said;
    return said;
  }

  [[nodiscard]] std::string title() const {
    return database_.value("Select Title From DW_Reports Where ReportName = 'Headcount'");
  }

  /// Folders of commands that run, or have left them behind.
  [[nodiscard]] std::size_t scratch_folders() const {
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(temporary_.path()), {}));
  }

  test_support::EmbeddedDatabase database_;
  test_support::TemporaryFolder files_;
  test_support::TemporaryFolder temporary_;

 private:
  Variable connect_{L"TARNWICK_CONNECT", platform::to_wide(database_.connection_string())};
  Variable role_{L"TARNWICK_ROLE", platform::to_wide(test_support::EmbeddedDatabase::kRole)};
  Variable password_{L"TARNWICK_PASSWORD_FILE", files_.write("password", "sesame\n").wstring()};
  Variable in_process_{L"TARNWICK_IN_PROCESS", L"1"};
  Variable editor_{L"EDITOR", L"\"" COMPANION L"\" edit Mine"};
  Variable no_pager_{L"TARNWICK_PAGER", L""};
  Variable scratch_{L"TMP", temporary_.path().wstring()};
};

TEST_F(Consoles, GiveUpTheRowOfACommandThatAKeyInterrupts) {
  Console console;
  console.start(hold());
  console.wait_for("Report 'Headcount' locked. Press Enter to release it.");
  EXPECT_THAT(say(L"lock list"), HasSubstr("Headcount"));
  console.interrupt();
  EXPECT_EQ(console.exit_code(), kInterrupted);
  EXPECT_EQ(say(L"lock list"), "None.\n");
  EXPECT_EQ(scratch_folders(), 0u);
}

TEST_F(Consoles, GiveUpTheRowAtTheServerToo) {
  const Variable over_com(L"TARNWICK_IN_PROCESS", L"");
  Console console;
  console.start(hold());
  console.wait_for("Report 'Headcount' locked.");
  console.interrupt();
  EXPECT_EQ(console.exit_code(), kInterrupted);
  say(L"--in-process --when-locked cancel report set Headcount --title Free");
  EXPECT_EQ(title(), "Free");
  // The server serves on, whoever it was that had started it.
  EXPECT_THAT(say(L"report list --csv"), HasSubstr("Headcount,Free,"));
}

TEST_F(Consoles, LeaveNothingOfWhatWasBeingEdited) {
  Console console;
  console.start(edit());
  console.wait_for("Editing Before");
  EXPECT_GT(scratch_folders(), 0u);
  console.interrupt();
  EXPECT_EQ(console.exit_code(), kInterrupted);
  EXPECT_EQ(scratch_folders(), 0u);
  EXPECT_EQ(title(), "Before");
  say(L"--when-locked cancel report set Headcount --title Free");
}

TEST_F(Consoles, AreAsFoundBehindAPasswordThatIsNotGiven) {
  const Variable asked(L"TARNWICK_PASSWORD_FILE", L"");
  Console console;
  console.start(command(L"check"));
  console.wait_for("Password of the application role:");
  EXPECT_FALSE(console.echoes());
  console.interrupt();
  EXPECT_EQ(console.exit_code(), kInterrupted);
  EXPECT_TRUE(console.echoes());
}

TEST_F(Consoles, AskAboutARowThatIsHeld) {
  Console holder;
  holder.start(hold());
  holder.wait_for("Report 'Headcount' locked.");
  Console console;
  console.start(set(L"Mine"));
  console.wait_for(kQuestion);
  EXPECT_EQ(title(), "Before");
  holder.type("\r");
  holder.wait_for("Report 'Headcount' released.");
  console.type("r\r");
  EXPECT_EQ(console.exit_code(), 0u) << console.screen();
  EXPECT_EQ(title(), "Mine");
}

TEST_F(Consoles, AskWhereTheCommandWasTypedThatTheServerCarriesOut) {
  Console holder;
  holder.start(hold());
  holder.wait_for("Report 'Headcount' locked.");
  const Variable over_com(L"TARNWICK_IN_PROCESS", L"");
  Console console;
  console.start(set(L"Mine"));
  console.wait_for(kQuestion);
  console.type("r\r");
  console.wait_for(std::string("[r/c] r\n") + kQuestion);
  console.type("c\r");
  EXPECT_EQ(console.exit_code(), 4u);
  EXPECT_THAT(console.screen(),
              HasSubstr("tarnwick: Report 'Headcount' is being maintained by another process."));
  EXPECT_EQ(title(), "Before");
}

TEST_F(Consoles, AreToldOfVariablesAsTheirShellsSetThem) {
  const std::string said =
      say(L"init \"" + (files_.path() / "it's new").wstring() + L"\" --role Keeper");
  const std::string begin = "Provider=Tarnwick.Embedded;Data Source=\"" + files_.path().string();
  EXPECT_THAT(said, HasSubstr("To connect, at a command prompt:\n"
                              "  set \"TARNWICK_CONNECT=" +
                              begin + "\\it's new\"\"\n  set \"TARNWICK_ROLE=Keeper\"\n"));
  EXPECT_THAT(said, HasSubstr("To connect, in PowerShell:\n"
                              "  $env:TARNWICK_CONNECT = '" +
                              begin + "\\it''s new\"'\n  $env:TARNWICK_ROLE = 'Keeper'\n"));
  EXPECT_THAT(say(L"report show --help"), HasSubstr("\n  tarnwick report show \"Open Orders\""));
  EXPECT_THAT(say(L"report edit --help"), HasSubstr("\n  tarnwick report edit \"Open Orders\""));
  EXPECT_THAT(say(L"--help"), HasSubstr("\n  set TARNWICK_ROLE=dw_admin\n"));
}

TEST_F(Consoles, LetAnEditorHaveTheKeys) {
  Console console;
  console.start(edit());
  console.wait_for("Editing Before");
  console.type("\r");
  EXPECT_EQ(console.exit_code(), 0u);
  EXPECT_THAT(console.screen(), HasSubstr("Title: 'Before' -> 'Mine'"));
  EXPECT_EQ(title(), "Mine");
}

TEST_F(Consoles, ShowColumnByColumnWhyAChangeWasRefused) {
  Console console;
  console.start(edit());
  console.wait_for("Editing Before");
  say(L"report set Headcount --title Theirs");
  console.type("\r");
  EXPECT_EQ(console.exit_code(), 3u);
  EXPECT_THAT(console.screen(),
              AllOf(HasSubstr("Report 'Headcount' was changed by someone else since it was read; "
                              "nothing was written."),
                    ContainsRegex("Title +Before +Theirs +Mine")));
  EXPECT_EQ(title(), "Theirs");
}

TEST_F(Consoles, LetAPagerShowWhatIsLong) {
  const Variable pager(L"TARNWICK_PAGER", L"\"" COMPANION L"\" page");
  Console console;
  console.start(command(L"report list --csv"));
  console.wait_for("Showing Name,Title,");
  console.type("\r");
  EXPECT_EQ(console.exit_code(), 0u);
  EXPECT_THAT(console.screen(), Not(HasSubstr("Headcount")));

  console.start(command(L"--no-pager report list --csv"));
  console.wait_for("Headcount,Before,");
  EXPECT_THAT(say(L"report list --csv"), HasSubstr("Headcount,Before,"));
}

TEST_F(Consoles, ShowAProgressThatIsGoneAtTheEnd) {
  const std::wstring arguments = L"export \"" + files_.path().wstring() + L"\"";
  const std::string all =
      "Exported 0 components, 0 PCs and 1 reports to " + files_.path().string() + ".";
  Console console;
  console.start(command(arguments));
  EXPECT_EQ(console.exit_code(), 0u);
  EXPECT_EQ(console.screen(), all);
  EXPECT_EQ(say(arguments), all + "\n");
}

TEST_F(Consoles, KeepAListOnTheScreenUntilAKeyIsPressed) {
  Console console;
  console.start(command(L"lock list --watch"));
  console.wait_for("None.");
  Console holder;
  holder.start(hold());
  console.wait_for("DW_Reports Headcount");
  holder.interrupt();
  console.wait_for("None.");
  console.type("q");
  EXPECT_EQ(console.exit_code(), 0u);
  EXPECT_TRUE(console.echoes());
}

TEST_F(Consoles, TakeAPasswordThatNobodySees) {
  const Variable asked(L"TARNWICK_PASSWORD_FILE", L"");
  Console console;
  EXPECT_TRUE(console.echoes());
  console.start(command(L"check"));
  console.wait_for("Password of the application role:");
  EXPECT_FALSE(console.echoes());
  console.type("sesame\r");
  console.wait_for("Connected; loaded 0 components, 0 registered PCs and 1 reports.");
  EXPECT_EQ(console.exit_code(), 0u);
  EXPECT_THAT(console.screen(), Not(HasSubstr("sesame")));
  EXPECT_TRUE(console.echoes());
}

}  // namespace
}  // namespace tarnwick::cli
