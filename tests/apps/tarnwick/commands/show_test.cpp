#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::IsEmpty;
using ::testing::MatchesRegex;

/// Showing a record that somebody else maintains.
class Showing : public CommandLineTest {
 protected:
  /// A command that shows a held record, and what it must not do.
  struct Case {
    std::vector<std::string> key;
    std::string name;
  };
  static std::vector<Case> cases() {
    return {{{"component", "10"}, "Component 10"},
            {{"pc", "VEL-SAL-012", "--component", "10"},
             R"(PC VEL-SAL-012 \(02-5A-CD-1D-C9-76\) of component 10)"},
            {{"report", "headcount"}, "Report 'headcount'"}};
  }

  [[nodiscard]] Start hold(std::vector<std::string> key) const {
    key.insert(key.begin(), {"lock", "hold"});
    return start(std::move(key));
  }
  static std::vector<std::string> show(std::vector<std::string> key) {
    key.insert(key.begin() + 1, "show");
    return key;
  }
};

TEST_F(Showing, ARecordThatIsHeldShowsWhatWasCommittedAndWhoHoldsIt) {
  for (const auto& [key, name] : cases()) {
    SCOPED_TRACE(name);
    const std::string committed = say(show(key));
    Program holder(hold(key));
    holder.wait_for(" locked. Press Enter to release it.\n");
    const Ending ending = run(show(key));
    EXPECT_EQ(ending.exit_code, 0);
    EXPECT_EQ(ending.out, committed);
    EXPECT_THAT(ending.err,
                MatchesRegex(name + " is being maintained by [^ ]+ since [0-9/]+ [0-9:]+ [AP]M "
                                    "\\(process [0-9]+\\); it is shown as it was "
                                    "committed.\n"));
    holder.type("\n");
    EXPECT_EQ(holder.end().exit_code, 0);
    EXPECT_EQ(say(show(key)), committed);
  }
}

TEST_F(Showing, StampsNothingAndBeginsNoTransaction) {
  for (const auto& [key, name] : cases()) {
    SCOPED_TRACE(name);
    const std::string trace = (folder_.path() / "trace").string();
    std::filesystem::remove(trace);
    std::vector<std::string> arguments = show(key);
    arguments.insert(arguments.begin(), {"--trace", trace});
    say(arguments);
    std::size_t opened = 0;
    for (const std::string& line : lines_of(content_of(trace))) {
      EXPECT_THAT(line,
                  ::testing::AnyOf(::testing::StartsWith("Connect"),
                                   ::testing::StartsWith("Execute SET LOCK_TIMEOUT"),
                                   ::testing::StartsWith("Execute EXEC sp_setapprole"),
                                   ::testing::StartsWith("DefaultDatabase"),
                                   ::testing::StartsWith("Disconnect"),
                                   ::testing::StartsWith("Open server forward-only read-only: "
                                                         "Select ")));
      if (line.starts_with("Open ")) ++opened;
    }
    EXPECT_EQ(opened, key.front() == "pc" ? 2u : 1u);
  }
}

TEST_F(Showing, LeavesTheRowsAsTheyAre) {
  const auto before = sql("Select hex(RowVersion), SoftLock From DW_Reports Order By ReportName");
  say({"report", "show", "Headcount"});
  EXPECT_EQ(sql("Select hex(RowVersion), SoftLock From DW_Reports Order By ReportName"), before);
}

TEST_F(Showing, ReadsNoReportFile) {
  const std::string trace = (folder_.path() / "trace").string();
  say({"--trace", trace, "report", "show", "Headcount"});
  EXPECT_EQ(content_of(trace).find("Report_Binary"), std::string::npos);
}

TEST_F(Showing, ARecordWhoseRowCannotBeLoadedTellsWhy) {
  sql("Pragma ignore_check_constraints = on");
  sql("Update DW_SEC_COMP Set Priority = 'high' Where CompID = 10");
  const Ending ending = run({"component", "show", "10"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.out, "");
  EXPECT_THAT(ending.err, ::testing::StartsWith("tarnwick: Component 10 cannot be read"));
  EXPECT_THAT(ending.err, ::testing::HasSubstr("RefreshComponent"));
}

}  // namespace
}  // namespace tarnwick::cli
