#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// A single quote ends the text that a key is in a statement, so what follows could reach any row.
class Quotes : public CommandLineTest {
 protected:
  static constexpr const char* kInjection = "x' OR 'a'='a";

  /// Everything that is stored.
  [[nodiscard]] std::vector<test_support::PlainSqlite::Rows> stored() const {
    return {sql("Select * From DW_SEC_COMP"), sql("Select * From DW_SEC_PC"),
            sql("Select * From DW_Reports")};
  }
};

TEST_F(Quotes, AreRefusedInEveryKeyBeforeAnythingIsConnected) {
  const std::string file = folder_.write("file", "{}").string();
  const auto before = stored();
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"report", "show", kInjection},
        {"report", "add", kInjection, "--title", "T"},
        {"report", "set", kInjection, "--title", "T"},
        {"report", "set", kInjection, "--title", "T", "--lock"},
        {"report", "edit", kInjection},
        {"report", "rename", kInjection, "New"},
        {"report", "rename", "Headcount", kInjection},
        {"report", "store", kInjection, file},
        {"report", "extract", kInjection, file},
        {"report", "import-ttx", kInjection, file},
        {"report", "extract-ttx", kInjection, file},
        {"report", "delete", kInjection},
        {"pc", "show", kInjection},
        {"pc", "show", "VEL-SAL-012", "--mac", kInjection},
        {"pc", "show", kInjection, "--mac", "M", "--component", "10"},
        {"pc", "register", kInjection, "C", "--component", "10"},
        {"pc", "register", "M", kInjection, "--component", "10"},
        {"pc", "login", kInjection, "--user", "u"},
        {"pc", "activate", kInjection, "--user", "u"},
        {"pc", "deactivate", kInjection, "--user", "u"},
        {"pc", "set", kInjection, "--active", "no"},
        {"pc", "edit", kInjection},
        {"pc", "delete", kInjection},
        {"lock", "hold", "report", kInjection},
        {"lock", "hold", "pc", kInjection}}) {
    Start start = this->start(command);
    // Who connects here is told something else.
    start.environment["TARNWICK_CONNECT"] =
        "Provider=Tarnwick.Embedded;Data Source=" + (folder_.path() / "nowhere").string();
    const Ending ending = test_support::run(start);
    EXPECT_EQ(ending.exit_code, 2) << testing::PrintToString(command) << ending.err;
    EXPECT_EQ(ending.out, "");
    EXPECT_THAT(ending.err, StartsWith("tarnwick: \"x' OR 'a'='a\" holds a single quote ('), "));
  }
  EXPECT_TRUE(stored() == before);
}

TEST_F(Quotes, AreRefusedInARole) {
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"check"}, {"lock", "list"}}) {
    Start start = this->start(command);
    start.environment["TARNWICK_ROLE"] = "x','y'--";
    start.environment["TARNWICK_CONNECT"] =
        "Provider=Tarnwick.Embedded;Data Source=" + (folder_.path() / "nowhere").string();
    const Ending ending = test_support::run(start);
    EXPECT_EQ(ending.exit_code, 2);
    EXPECT_EQ(ending.err, "tarnwick: The role must not hold a quote (').\n");
  }
  const Ending ending =
      run({"copy", "--from", connect_string(), "--to", connect_string(), "--to-role", "it's"});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: The role must not hold a quote (').\n");
}

TEST_F(Quotes, MayStandInWhateverIsNoKey) {
  say({"report", "set", "Headcount", "--title", "Who's who"});
  EXPECT_EQ(say({"report", "show", "Headcount", "--field", "Title"}), "Who's who\n");
}

TEST_F(Quotes, InStoredKeysAreListedAndNeverMaintained) {
  sql("Insert Into DW_Reports (ReportName, Title, MaintType) Values ('O''Brien', 'T', 4)");
  sql("Insert Into DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex) "
      "Values ('A''B', 'VEL-NEW', 10, 5, 1, 10)");
  EXPECT_THAT(say({"report", "list"}), HasSubstr("\nO'Brien "));
  EXPECT_THAT(say({"pc", "list", "--component", "10"}), HasSubstr("\nVEL-NEW     A'B "));
  const auto before = stored();
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"show"}, {"login"}, {"delete"}}) {
    const Ending ending = run({"pc", command[0], "VEL-NEW"});
    EXPECT_EQ(ending.exit_code, 2);
    EXPECT_THAT(ending.err,
                StartsWith("tarnwick: \"A'B\" holds a single quote ('), which would end the text"));
    EXPECT_THAT(ending.err, HasSubstr("can be listed, but not looked up or changed."));
  }
  EXPECT_TRUE(stored() == before);
}

}  // namespace
}  // namespace tarnwick::cli
