#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::HasSubstr;

/// A database of the released program (see tests/engines/sqlite/released_database.h).
class Upgrades : public CommandLineTest {
 protected:
  void SetUp() override {
    std::filesystem::create_directory(database_folder_);
    std::filesystem::copy_file(RELEASED_DATABASE, database_file());
  }
};

TEST_F(Upgrades, AreAdvisedBringTheDatabaseUpToDateAndHaveNothingToDoThen) {
  Ending ending = run({"check"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err,
              HasSubstr("its tables are of version 0, which is older than this program; run "
                        "'tarnwick upgrade', which brings them to version 1"));
  EXPECT_EQ(say({"upgrade"}), "Upgraded the embedded database " + database_file().string() +
                                  " from version 0 to 1:\n"
                                  "  PCs are indexed by their computer id\n");
  EXPECT_EQ(say({"check"}), "Connected; loaded 1 components, 1 registered PCs and 1 reports.\n");
  EXPECT_EQ(say({"upgrade"}), "The embedded database " + database_file().string() +
                                  " is of version 1: nothing to do.\n");
}

TEST_F(Upgrades, NeedNoRole) {
  const Ending ending = run_with({{"TARNWICK_CONNECT", connect_string()}}, {"upgrade"});
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_EQ(value("PRAGMA user_version"), "1");
}

TEST_F(Upgrades, LeaveTablesAloneThatWereMadeOtherwise) {
  sql("DROP TABLE DW_ROW_VERSION");
  EXPECT_EQ(say({"upgrade"}), "The tables of " + database_file().string() +
                                  " were not made by tarnwick and bear no version: nothing to "
                                  "do.\n");
}

TEST_F(Upgrades, RefuseANewerDatabase) {
  sql("PRAGMA user_version = 2");
  const Ending ending = run({"upgrade"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: The database was not upgraded.\nThe database '" +
                            database_file().string() +
                            "' cannot be upgraded: its tables are of version 2, which is newer "
                            "than this program; it knows versions up to 1\n");
}

TEST_F(Upgrades, FailWhereTheFileCannotGrowAndChangeNothing) {
  Start limited = start({"upgrade"});
  limited.largest_file = 1000;
  const Ending ending = test_support::run(limited);
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, HasSubstr("tarnwick: The database was not upgraded.\n"));
  EXPECT_EQ(value("PRAGMA user_version"), "0");
  EXPECT_EQ(content_of(database_file()), content_of(RELEASED_DATABASE));
}

TEST_F(Upgrades, AreOfEmbeddedDatabasesThatAreNamed) {
  Ending ending = run_with({}, {"upgrade"});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err,
            "tarnwick: Which database? Name it by --connect or TARNWICK_CONNECT, for example\n"
            "  --connect 'Provider=Tarnwick.Embedded;Data Source=./var'\n");
  ending = run_with({}, {"upgrade", "--connect", "Provider=MSOLEDBSQL;Data Source=db"});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: Only embedded databases are upgraded.\n");
  ending = run_with({}, {"upgrade", "--connect", "Provider=Tarnwick.Embedded;Folder=/srv"});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err,
            "tarnwick: The connection string item 'Folder' is not known to the embedded engine.\n");
}

}  // namespace
}  // namespace tarnwick::cli
