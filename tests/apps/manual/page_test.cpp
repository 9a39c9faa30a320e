#include "apps/manual/page.h"

#include <gmock/gmock.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>

namespace tarnwick::manual {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

const About kNothing{.version = "1.2"};

CLI::Option* flag(CLI::App& program, const char* name, const char* description) {
  return program.add_flag_function(
      name, [](std::int64_t) {}, description);
}

TEST(ManualPages, ShowWhatIsPhrasesInTheHelpAsSentencesAndTheOtherWayRound) {
  CLI::App program("Tells SQL Server apart.", "tell");
  flag(program, "--all", "each of them");
  flag(program, "--done", "Every sentence as it is.");
  flag(program, "--sql", "SQL as it stands");
  flag(program, "--number", "5 of them");
  flag(program, "--mute", "");
  const std::string page = page_of(program, kNothing);
  EXPECT_THAT(page, HasSubstr("tell \\- tells SQL Server apart\n"));
  EXPECT_THAT(page, HasSubstr("Each of them.\n"));
  EXPECT_THAT(page, HasSubstr("Every sentence as it is.\n"));
  EXPECT_THAT(page, HasSubstr("SQL as it stands.\n"));
  EXPECT_THAT(page, HasSubstr("5 of them.\n"));
}

TEST(ManualPages, LeaveNamesAtTheBeginningAsTheyAre) {
  for (const char* description : {"SQL without a server", "5 of them", "X", "it"}) {
    CLI::App program(description, "tell");
    EXPECT_THAT(page_of(program, kNothing), HasSubstr(std::string("tell \\- ") + description));
  }
}

TEST(ManualPages, TellLimitsAndChoicesOfValues) {
  CLI::App program("tells", "tell");
  int number = 0;
  std::string shell;
  program.add_option("--number", number, "how many")->check(CLI::Range(1, 9))->required();
  program.add_option("--shell", shell, "which")->check(CLI::IsMember({"bash", "zsh"}));
  const std::string page = page_of(program, kNothing);
  EXPECT_THAT(page, HasSubstr("How many. From 1 to 9. Required.\n"));
  EXPECT_THAT(page, HasSubstr("Which.\n"));
  EXPECT_THAT(page, Not(HasSubstr("bash")));
}

TEST(ManualPages, TellWhichSwitchesGoTogetherWithNone) {
  CLI::App program("tells", "tell");
  CLI::Option* first = flag(program, "--first", "one");
  CLI::Option* second = flag(program, "--second", "two");
  CLI::Option* third = flag(program, "--third", "three");
  third->excludes(second)->excludes(first);
  EXPECT_THAT(page_of(program, kNothing),
              HasSubstr("Three. Not with \\-\\-first, \\-\\-second.\n"));
}

TEST(ManualPages, LeaveOutWhatIsHidden) {
  CLI::App program("tells", "tell");
  flag(program, "--secret", "for us alone")->group("");
  program.add_subcommand("inner", "for us alone")->group("");
  EXPECT_THAT(page_of(program, kNothing), Not(HasSubstr("for us alone")));
}

TEST(ManualPages, HaveNotesAndExamplesOutOfTheFooter) {
  CLI::App program("tells", "tell");
  program.footer(
      "Examples:\n  tell all\nExample without a heading\n\n"
      "Example without lines\n\n   \n\nExit codes: 0 done; 1 failed");
  const std::string page = page_of(program, kNothing);
  EXPECT_THAT(page, HasSubstr("tell all\nExample without a heading\n"));
  EXPECT_THAT(page, HasSubstr("Example without lines\n"));
  EXPECT_THAT(page, HasSubstr("Failed.\n"));
}

TEST(ManualPages, LeaveOutSectionsWithoutAnything) {
  const CLI::App program("tells", "tell");
  const std::string page = page_of(program, kNothing);
  for (const char* section : {"EXIT STATUS", "ENVIRONMENT", "FILES", "COMMANDS", "NOTES"}) {
    EXPECT_THAT(page, Not(HasSubstr(section)));
  }
}

TEST(ManualPages, ShowLinesThatWouldBeRequestsAsTheyAre) {
  CLI::App program("tells", "tell");
  program.footer("Example:\n  .tell\n  'tell'");
  const std::string page = page_of(program, kNothing);
  EXPECT_THAT(page, HasSubstr("\n\\&.tell\n"));
  EXPECT_THAT(page, HasSubstr("\n\\(aqtell\\(aq\n"));
}

}  // namespace
}  // namespace tarnwick::manual
