#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "tests/processes/worker_process.h"

namespace tarnwick {
namespace {

using test_support::PlainSqlite;
using test_support::WorkerProcess;
using ::testing::AnyOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::StartsWith;

using Command = std::vector<std::string_view>;

/// Where a worker is to stop: a kind of order, and how many of these come before.
struct Stop {
  std::string_view order;
  int count;
};

/// One process maintains the report Sales and is killed; another one looks what is left.
class KilledProcess : public ::testing::Test {
 protected:
  void SetUp() override {
    database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales')");
    witness_.connect_and_load_reports();
  }

  /// Every column of the row Sales that a worker changes has this value.
  void store(const std::string& value) {
    database_.run("UPDATE DW_Reports SET Title = '" + value + "', Author = '" + value +
                  "', Version = '" + value + "', RptGrpID = '" + value + "', SQLStmnt = '" + value +
                  "', TTX_Binary = CAST('" + value + "' AS BLOB), ReportDesc = '" + value +
                  "', Definition = '" + value + "', SoftLock = NULL WHERE ReportName = 'Sales'");
  }

  /// The one value that all of these columns of a report have; nothing where there is no such row.
  std::optional<std::string> stored(const std::string& name = "Sales") {
    const PlainSqlite::Rows rows = database_.run(
        "SELECT Title, Author, Version, RptGrpID, SQLStmnt, CAST(TTX_Binary AS TEXT), ReportDesc,"
        "  Definition FROM DW_Reports WHERE ReportName = '" +
        name + "'");
    if (rows.empty()) return std::nullopt;
    EXPECT_THAT(rows.front(), Each(rows.front().front())) << "half a row was written";
    return rows.front().front();
  }

  /// A process obeys the commands until it comes to the stop, where it is killed. Returns what it
  /// was about to do; nothing when it came to the end of the commands, each answered as told.
  std::optional<std::string> kill_at(const Stop& stop, const std::vector<Command>& commands,
                                     const std::vector<std::string_view>& answers) {
    WorkerProcess victim(database_.folder(), "VICTIM");
    victim.connect_and_load_reports();
    EXPECT_EQ(victim.ask({stop.order, std::to_string(stop.count)}), "ordered");
    for (std::size_t at = 0; at < commands.size(); ++at) {
      const std::string answer = victim.ask(commands[at]);
      if (answer.starts_with("at ")) {
        victim.kill();
        return answer.substr(3);
      }
      EXPECT_EQ(answer, answers[at]);
    }
    return std::nullopt;
  }

  /// Nothing may be left of the killed process but, perhaps, the whole of what it wrote.
  void expect_free_and_sound() {
    EXPECT_EQ(witness_.ask({"held"}), "");
    EXPECT_EQ(witness_.ask({"lock", "Sales"}), "True") << "at once, and without a question";
    EXPECT_EQ(witness_.ask({"title", "Sales"}), stored().value_or("no row"));
    EXPECT_EQ(witness_.ask({"release", "Sales"}), "True");
    EXPECT_THAT(database_.run("SELECT DISTINCT coalesce(SoftLock, '') FROM DW_Reports"),
                ElementsAre(ElementsAre("")));
    EXPECT_EQ(database_.value("PRAGMA integrity_check"), "ok");
  }

  test_support::EmbeddedDatabase database_;
  WorkerProcess witness_{database_.folder(), "WITNESS"};
};

// Long enough for the row to take several pages.
std::string value_of(int round) {
  return "round " + std::to_string(round) + std::string(4'000, '.');
}

TEST_F(KilledProcess, LeavesTheOldRowWhicheverStepOfAMaintenanceItWasAt) {
  store(value_of(0));
  std::vector<std::string> steps;
  for (int round = 1;; ++round) {
    SCOPED_TRACE(round);
    const std::string value = value_of(round);
    const auto step = kill_at({"stop before step", round},
                              {{"lock", "Sales"}, {"change", "Sales", value}, {"update", "Sales"}},
                              {"True", "changed", "0"});
    expect_free_and_sound();
    if (!step) {
      EXPECT_EQ(stored(), value);
      break;
    }
    EXPECT_EQ(stored(), value_of(0)) << *step;
    steps.push_back(*step);
  }
  EXPECT_THAT(
      steps,
      ElementsAre("Begin",
                  "Open server dynamic pessimistic: Select * From DW_Reports Where ReportName = "
                  "'Sales'",
                  "Update SoftLock",
                  "Update ReportName, Title, Author, Created, Version, RptGrpID, ImageIndex, "
                  "SQLStmnt, ReportType, ReportDesc, MaintType, SoftLock, Definition, TTX_Binary",
                  "Commit"));
}

TEST_F(KilledProcess, LeavesTheRowBetweenItsCommandsAsItWas) {
  store("old");
  const std::vector<Command> commands = {{"lock", "Sales"}, {"change", "Sales", "new"}};
  for (std::size_t count = 0; count <= commands.size(); ++count) {
    WorkerProcess victim(database_.folder(), "VICTIM");
    victim.connect_and_load_reports();
    for (std::size_t at = 0; at < count; ++at) victim.ask(commands[at]);
    victim.kill();
    expect_free_and_sound();
    EXPECT_EQ(stored(), "old");
  }
}

/// Kills before each call, and within each, by which the file is changed.
class KilledWithinItsWrite : public KilledProcess,
                             public ::testing::WithParamInterface<std::string_view> {};

TEST_P(KilledWithinItsWrite, LeavesTheRowOldOrNewAsAWhole) {
  store(value_of(0));
  int old_rows = 0;
  int new_rows = 0;
  for (int round = 1;; ++round) {
    SCOPED_TRACE(round);
    const auto before = stored();
    const std::string value = value_of(round);
    const auto stopped = kill_at(
        {GetParam(), round}, {{"change", "Sales", value}, {"update", "Sales"}}, {"changed", "0"});
    expect_free_and_sound();
    if (!stopped) {
      EXPECT_EQ(stored(), value);
      break;
    }
    ASSERT_THAT(stored(), AnyOf(Eq(before), Eq(value)));
    ++(stored() == value ? new_rows : old_rows);
  }
  EXPECT_GT(old_rows, 5);
  EXPECT_GT(new_rows, 0);
}

TEST_P(KilledWithinItsWrite, LeavesNoneOrTheWholeOfANewRow) {
  store(value_of(0));
  int missing = 0;
  int present = 0;
  for (int round = 1;; ++round) {
    SCOPED_TRACE(round);
    const std::string name = "New " + std::to_string(round);
    const std::string value = value_of(round);
    const auto stopped = kill_at(
        {GetParam(), round}, {{"new report", name, ""}, {"change", name, value}, {"update", name}},
        {"True", "changed", "0"});
    expect_free_and_sound();
    if (!stopped) {
      EXPECT_EQ(stored(name), value);
      break;
    }
    ASSERT_THAT(stored(name), AnyOf(Eq(std::nullopt), Eq(value)));
    ++(stored(name) ? present : missing);
  }
  EXPECT_GT(missing, 5);
  EXPECT_GT(present, 0);
}

TEST_P(KilledWithinItsWrite, LeavesNoneOrTheWholeOfADeletedRow) {
  store(value_of(0));
  int missing = 0;
  int present = 0;
  for (int round = 1;; ++round) {
    SCOPED_TRACE(round);
    const std::string name = "Old " + std::to_string(round);
    const std::string value = value_of(round);
    database_.run("INSERT INTO DW_Reports SELECT '" + name +
                  "', Title, Author, Created, Version, RptGrpID, ImageIndex, SQLStmnt, ReportType,"
                  "  ReportDesc, MaintType, SoftLock, RowVersion, Definition, TTX_Binary,"
                  "  Report_Binary FROM DW_Reports WHERE ReportName = 'Sales'");
    const auto before = stored(name);
    const auto stopped = kill_at({GetParam(), round}, {{"delete", name}}, {"True"});
    expect_free_and_sound();
    if (!stopped) {
      EXPECT_EQ(stored(name), std::nullopt);
      break;
    }
    ASSERT_THAT(stored(name), AnyOf(Eq(std::nullopt), Eq(before)));
    ++(stored(name) ? present : missing);
  }
  EXPECT_GT(present, 2);
  EXPECT_GT(missing, 0);
}

INSTANTIATE_TEST_SUITE_P(BeforeAndAmid, KilledWithinItsWrite,
                         ::testing::Values("stop before call", "stop amid call"),
                         [](const auto& test) {
                           return test.param == "stop amid call" ? "AmidACall" : "BeforeACall";
                         });

TEST_F(KilledProcess, LetsTheOneGoOnThatWaitsForItsCommit) {
  store("old");
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Stock')");
  WorkerProcess victim(database_.folder(), "VICTIM");
  WorkerProcess other(database_.folder(), "OTHER");
  victim.connect_and_load_reports();
  other.connect_and_load_reports();
  ASSERT_EQ(victim.ask({"lock", "Sales"}), "True");
  victim.ask({"change", "Sales", value_of(1)});
  // In the midst of its pages: it has the file to itself, and its commit is not complete.
  ASSERT_EQ(victim.ask({"stop before call", "8"}), "ordered");
  ASSERT_THAT(victim.ask({"update", "Sales"}), StartsWith("at "));
  ASSERT_EQ(other.ask({"lock timeout", "-1"}), "-1");
  other.say({"update", "Stock"});
  victim.kill();
  EXPECT_EQ(other.hear(), "0");
  EXPECT_EQ(stored(), "old");
}

}  // namespace
}  // namespace tarnwick
