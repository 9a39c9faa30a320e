#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kLoaded =
    "Connected; loaded 42 components, 64 registered PCs and 12 reports.\n";

/// The words of a command as the shell takes it apart, without the program's name.
std::vector<std::string> words_of(const std::string& command) {
  std::vector<std::string> words{""};
  bool quoted = false;
  for (const char c : command) {
    if (c == '\'') {
      quoted = !quoted;
    } else if (c == ' ' && !quoted) {
      words.emplace_back();
    } else {
      words.back() += c;
    }
  }
  words.erase(words.begin());
  return words;
}

/// `check` on data in which something is wrong.
class Checks : public CommandLineTest {
 protected:
  /// Finds something, says `out` and, behind the number of findings, nothing.
  void expect_found(const std::string& out, int findings = 1) const {
    const Ending ending = run({"check"});
    EXPECT_EQ(ending.exit_code, 1);
    EXPECT_EQ(ending.out, kLoaded + out);
    EXPECT_EQ(ending.err, findings == 1 ? "tarnwick: 1 finding.\n"
                                        : "tarnwick: " + std::to_string(findings) + " findings.\n");
  }

  [[nodiscard]] Json findings(std::vector<std::string> arguments = {}) const {
    arguments.insert(arguments.begin(), {"check", "--json"});
    const Ending ending = run(std::move(arguments));
    EXPECT_EQ(ending.exit_code, 1);
    return Json::parse(ending.out).at("Findings");
  }

  /// Runs the command that the only finding names; then there is nothing to find any more.
  void expect_mended() const {
    const Json found = findings();
    ASSERT_EQ(found.size(), 1u);
    const Ending mended = run(words_of(found[0]["Command"]));
    EXPECT_EQ(mended.exit_code, 0) << mended.err;
    EXPECT_EQ(run({"check"}).exit_code, 0);
  }
};

TEST_F(Checks, SayNothingMoreWhereNothingIsWrong) {
  EXPECT_EQ(say({"check"}), kLoaded);
  EXPECT_EQ(say({"check", "--held", "0"}), kLoaded);
  EXPECT_EQ(json({"check"}), (Json{{"Components", 42}, {"RegisteredPCs", 64}, {"Reports", 12}}));
}

TEST_F(Checks, FindAComponentWhoseParentIsMissing) {
  sql("UPDATE DW_SEC_COMP SET ParentID = 99 WHERE CompID = 10");
  expect_found(
      "Component 10: its parent 99 does not exist.\n"
      "  tarnwick component set 10 --parent 0\n");
  EXPECT_EQ(findings(), (Json::array({{{"Kind", "ParentMissing"},
                                       {"Record", "Component 10"},
                                       {"What", "its parent 99 does not exist"},
                                       {"Command", "tarnwick component set 10 --parent 0"}}})));
  expect_mended();
}

TEST_F(Checks, FindComponentsThatStandInACircle) {
  sql("UPDATE DW_SEC_COMP SET ParentID = 100 WHERE CompID = 10");
  expect_found(
      "Component 10: it stands in a circle: 10 is below 100, and that below 10 again.\n"
      "  tarnwick component set 10 --parent 0\n");
  expect_mended();
}

TEST_F(Checks, FindAPcOfAComponentThatDoesNotExist) {
  sql("Insert Into DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex) "
      "Values ('00-01', 'VEL NEW', 777, 5, 1, 10)");
  const Ending ending = run({"check"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.out,
              HasSubstr("\nPC VEL NEW (00-01) of component 777: component 777 does not exist.\n"
                        "  tarnwick pc delete 'VEL NEW' --mac '00-01' --component 777\n"));
  expect_mended();
}

TEST_F(Checks, FindAReportWhoseTypeWantsFieldDefinitions) {
  sql("UPDATE DW_Reports SET TTX_Binary = NULL WHERE ReportName = 'Open Orders'");
  sql("UPDATE DW_Reports SET TTX_Binary = x'' WHERE ReportName = 'Headcount'");
  sql("UPDATE DW_Reports SET TTX_Binary = NULL WHERE ReportName = 'PC Register'");
  expect_found(
      "Report 'Headcount': it is of the type CRY, but has no field definitions.\n"
      "  tarnwick report import-ttx 'Headcount' FILE.ttx\n"
      "Report 'Open Orders': it is of the type CRY, but has no field definitions.\n"
      "  tarnwick report import-ttx 'Open Orders' FILE.ttx\n",
      2);
  for (const Json& finding : findings()) {
    auto words = words_of(finding["Command"]);
    EXPECT_EQ(words.back(), "FILE.ttx");
    words.back() = std::string(SAMPLES) + "/reports/open-orders.ttx";
    say(words);
  }
  EXPECT_EQ(say({"check"}), kLoaded);
}

TEST_F(Checks, FindNamesThatCannotBeMaintained) {
  sql("UPDATE DW_Reports SET ReportName = 'O''Brien', TTX_Binary = NULL "
      "WHERE ReportName = 'Headcount'");
  sql("UPDATE DW_SEC_PC SET ComputerID = 'VEL''NEW', CompID = 777 "
      "WHERE ComputerID = 'VEL-SAL-012' AND CompID = 10");
  const Json found = findings();
  ASSERT_EQ(found.size(), 4u);
  for (const Json& finding : found) EXPECT_TRUE(finding["Command"].is_null()) << finding;
  std::vector<std::string> quotes;
  for (const Json& finding : found) {
    if (finding["Kind"] == "Quote") quotes.push_back(finding["Record"]);
  }
  EXPECT_THAT(quotes, ElementsAre(StartsWith("PC VEL'NEW ("), "Report 'O'Brien'"));
  EXPECT_THAT(run({"check"}).out,
              HasSubstr("Report 'O'Brien': its name holds a single quote ('), so that it can be "
                        "listed, but not maintained.\n"));
}

TEST_F(Checks, FindKeysThatDifferOnlyInCase) {
  sql("INSERT INTO DW_Reports (ReportName) VALUES ('ÄB'), ('äb')");
  const Ending ending = run({"check"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.out, HasSubstr(": row 13 of the table has the same key, but for letter case; "
                                    "loading stops here.\n"));
  EXPECT_THAT(ending.err, StartsWith("tarnwick: 1 finding.\n"));
  EXPECT_THAT(ending.err, HasSubstr("\nError #:    \t457\n"));
}

TEST_F(Checks, FindEveryRowThatCannotBeLoadedAndSayWhy) {
  sql("UPDATE DW_SEC_COMP SET Priority = 'high' WHERE CompID IN (10, 11)");
  sql("UPDATE DW_SEC_PC SET LastLogin = 'never' "
      "WHERE ComputerID = 'VEL-SAL-012' AND CompID = 10");
  sql("UPDATE DW_Reports SET TTX_Binary = 7 WHERE ReportName = 'Headcount'");
  const Ending ending = run({"check"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.out,
              StartsWith("Component 10: it cannot be loaded, because of its column Priority: Type "
                         "mismatch.\nComponent 11: it cannot be loaded, because of its column "
                         "Priority: Type mismatch.\n"));
  EXPECT_THAT(ending.out, HasSubstr("of component 10: it cannot be loaded, because of its column "
                                    "LastLogin: Type mismatch.\n"));
  EXPECT_THAT(ending.out, HasSubstr("Report 'Headcount': it cannot be loaded, because of its "
                                    "column TTX_Binary: Type mismatch.\n"));
  EXPECT_THAT(ending.err, HasSubstr("\nError in Component: "));
}

TEST_F(Checks, TellOfARowWhoseKeyCannotBeReadWhereItStands) {
  sql("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES ('none', 0, 2)");
  EXPECT_EQ(findings()[0]["Record"], "Row 43 of DW_SEC_COMP");
}

TEST_F(Checks, DoNotTakeAComponentThatCannotBeLoadedForMissing) {
  sql("UPDATE DW_SEC_COMP SET Priority = 'high' WHERE CompID = 10");
  EXPECT_EQ(findings().size(), 1u);
}

TEST_F(Checks, FindRowsThatAreHeldForLong) {
  Program holder(start({"lock", "hold", "report", "Headcount"}));
  holder.wait_for(" locked.");
  const Ending ending = run({"check", "--held", "0"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.out, StartsWith("Row 'Headcount' of DW_Reports: it has been held for "));
  EXPECT_THAT(ending.out, HasSubstr("; whoever reads or maintains it waits until that process "
                                    "lets go or ends.\n"));
  EXPECT_THAT(ending.err, HasSubstr("Lock request time out period exceeded."));
  EXPECT_EQ(findings({"--held", "0"})[0]["Kind"], "Held");
}

TEST_F(Checks, GiveUpWhereARowIsHeldThatIsNoFinding) {
  Program holder(start({"lock", "hold", "report", "Headcount"}));
  holder.wait_for(" locked.");
  const Ending ending = run({"check"});
  EXPECT_EQ(ending.exit_code, 4);
  EXPECT_EQ(ending.out, "");
  EXPECT_THAT(ending.err, StartsWith("tarnwick: Cannot load components, PCs and reports.\n"));
}

TEST_F(Checks, FindWhatIsWrongInOtherRowsWhileOneIsHeld) {
  sql("UPDATE DW_SEC_COMP SET ParentID = 99 WHERE CompID = 10");
  Program holder(start({"lock", "hold", "component", "10"}));
  holder.wait_for(" locked.");
  const Json found = findings();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0]["Kind"], "ParentMissing");
}

TEST_F(Checks, TakeAnOlderVersionForAFinding) {
  sql("PRAGMA user_version = 0");
  const Ending ending = run({"check"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.out, "The database: its tables are of an older version.\n  tarnwick upgrade\n");
  EXPECT_THAT(ending.err, HasSubstr("run 'tarnwick upgrade', which brings them to version 1"));
  EXPECT_EQ(findings()[0]["Kind"], "OlderVersion");
  expect_mended();
}

TEST_F(Checks, WriteNothing) {
  sql("UPDATE DW_SEC_COMP SET ParentID = 99, Priority = 'high' WHERE CompID = 10");
  const auto before = sql("SELECT * FROM DW_SEC_COMP");
  const std::string version = value("SELECT Counter FROM DW_ROW_VERSION");
  static_cast<void>(findings());
  EXPECT_EQ(sql("SELECT * FROM DW_SEC_COMP"), before);
  EXPECT_EQ(value("SELECT Counter FROM DW_ROW_VERSION"), version);
}

}  // namespace
}  // namespace tarnwick::cli
