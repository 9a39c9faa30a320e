#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::filesystem::path kSamples = SAMPLES;

Json sample(const std::string& name) { return Json::parse(content_of(kSamples / name)); }

/// No database is there before the test.
class Init : public CommandLineTest {
 protected:
  void SetUp() override {}

  [[nodiscard]] Ending init(std::vector<std::string> more = {}) const {
    std::vector<std::string> arguments{"init",     database_folder_,  "--role",
                                       "dw_admin", "--password-file", password_file_};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run_with({}, arguments);
  }
};

TEST_F(Init, MakesAnEmptyDatabaseAndSaysHowToConnect) {
  const Ending ending = init();
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_EQ(ending.out, "Made the embedded database " + database_file().string() +
                            ".\n"
                            "To connect:\n"
                            "  export TARNWICK_CONNECT='Provider=Tarnwick.Embedded;Data Source=" +
                            database_folder_ +
                            "'\n"
                            "  export TARNWICK_ROLE='dw_admin'\n"
                            "  export TARNWICK_PASSWORD_FILE='" +
                            password_file_ + "'\n");
  EXPECT_EQ(ending.err, "");
  for (const char* table : {"DW_SEC_COMP", "DW_SEC_PC", "DW_Reports"}) {
    EXPECT_EQ(value(std::string("Select Count(*) From ") + table), "0") << table;
  }
  EXPECT_EQ(say({"check"}), "Connected; loaded 0 components, 0 registered PCs and 0 reports.\n");
}

TEST_F(Init, FillsItWithTheSampleData) {
  const Ending ending = init({"--sample"});
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_THAT(ending.out, HasSubstr(" with 42 components, 64 PCs and 12 reports.\n"));
  EXPECT_EQ(value("Select Count(*) From DW_SEC_COMP"), "42");
  EXPECT_EQ(value("Select Count(*) From DW_SEC_PC"), "64");
  EXPECT_EQ(value("Select Count(*) From DW_Reports"), "12");
}

TEST_F(Init, StoresEverySampleValueInItsColumn) {
  ASSERT_EQ(init({"--sample"}).exit_code, 0);
  for (const Json& component : sample("components.json")) {
    const std::string id = component["CompID"].dump();
    for (const auto& [column, wanted] : component.items()) {
      const std::string stored =
          value("Select " + column + " From DW_SEC_COMP Where CompID = " + id);
      const std::string expected = wanted.is_null()      ? "NULL"
                                   : wanted.is_boolean() ? (wanted.get<bool>() ? "1" : "0")
                                   : wanted.is_string()  ? wanted.get<std::string>()
                                                         : wanted.dump();
      EXPECT_EQ(stored, expected) << id << " " << column;
    }
  }
}

TEST_F(Init, StoresTheSampleDatesAsAutomationDates) {
  ASSERT_EQ(init({"--sample"}).exit_code, 0);
  EXPECT_EQ(value("Select Created From DW_Reports Where ReportName = 'Stock Turnover'"), "44837.0");
  EXPECT_EQ(value("Select Created From DW_Reports Where ReportName = 'PC Register'"), "44321.5");
  EXPECT_EQ(value("Select Created From DW_Reports Where ReportName = 'Load Protocol'"), "NULL");
}

TEST_F(Init, StoresTheSampleFilesByteForByte) {
  ASSERT_EQ(init({"--sample"}).exit_code, 0);
  int files = 0;
  for (const Json& report : sample("reports.json")) {
    const auto name = report["ReportName"].get<std::string>();
    for (const char* column : {"TTX_Binary", "Report_Binary"}) {
      const std::string stored = value(std::string("Select ") + column +
                                       " From DW_Reports Where ReportName = '" + name + "'");
      if (report[column].is_null()) {
        EXPECT_EQ(stored, "NULL") << name << " " << column;
        continue;
      }
      const auto file = kSamples / "reports" / report[column].get<std::string>();
      EXPECT_EQ(stored, test_support::hexadecimal(content_of(file))) << name << " " << column;
      ++files;
    }
  }
  EXPECT_EQ(files, 21);
}

TEST_F(Init, RefusesToOverwrite) {
  ASSERT_EQ(init().exit_code, 0);
  const std::string before = content_of(database_file());
  const Ending ending = init({"--sample"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, StartsWith("tarnwick: The database was not made.\n"));
  EXPECT_EQ(content_of(database_file()), before);
}

TEST_F(Init, RefusesAQuoteInRoleAndPasswordForNobodyCouldEnterIt) {
  folder_.write("password", "it's\n");
  Ending ending = init();
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: The password must not hold a quote (').\n");
  ending = run_with(
      {}, {"init", database_folder_, "--role", "o'role", "--password-file", password_file_});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: The role must not hold a quote (').\n");
  EXPECT_FALSE(std::filesystem::exists(database_folder_));
}

TEST_F(Init, RefusesAnEmptyPasswordAndAFileThatCannotBeRead) {
  folder_.write("password", "\n");
  Ending ending = init();
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: The password is empty.\n");
  password_file_ = (folder_.path() / "none").string();
  ending = init();
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: The password file '" + password_file_ + "' cannot be read.\n");
  EXPECT_FALSE(std::filesystem::exists(database_folder_));
}

TEST_F(Init, NeedsARole) {
  const Ending ending = run_with({}, {"init", database_folder_, "--password-file", password_file_});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: Which application role? Name it by --role.\n");
}

TEST_F(Init, NeedsAPasswordFileWhereNoTerminalIs) {
  const Ending ending = run_with({}, {"init", database_folder_, "--role", "dw_admin"});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err,
            "tarnwick: The password is needed: name a file that holds it by --password-file or "
            "TARNWICK_PASSWORD_FILE.\n");
}

TEST_F(Init, AsksForThePasswordTwiceOnATerminalAndDoesNotShowIt) {
  Start start{.arguments = {"init", database_folder_, "--role", "dw_admin"},
              .environment = environment(),
              .on_terminal = true};
  start.environment["TARNWICK_PASSWORD_FILE"] = "";
  Program program(start);
  program.wait_for("Password of the application role: ");
  program.type("open sesame\n");
  program.wait_for("Once more: ");
  program.type("open sesame\n");
  const Ending ending = program.end();
  EXPECT_EQ(ending.exit_code, 0) << ending.out;
  EXPECT_THAT(ending.out, ::testing::Not(HasSubstr("sesame")));
  EXPECT_EQ(run({"check"}).exit_code, 0);
}

TEST_F(Init, RefusesTwoPasswordsThatDiffer) {
  Start start{.arguments = {"init", database_folder_, "--role", "dw_admin"},
              .environment = environment(),
              .on_terminal = true};
  start.environment["TARNWICK_PASSWORD_FILE"] = "";
  Program program(start);
  program.wait_for("Password of the application role: ");
  program.type("open sesame\n");
  program.wait_for("Once more: ");
  program.type("open sesam\n");
  const Ending ending = program.end();
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_THAT(ending.out, HasSubstr("tarnwick: The two passwords differ."));
  EXPECT_FALSE(std::filesystem::exists(database_folder_));
}

TEST_F(Init, TakesSampleDataFromAFolderOfOnesOwn) {
  folder_.write("own/components.json",
                R"([{"CompID": 5, "CompName": "Größe", "ForceDisplay": true, "MaintType": 2}])");
  folder_.write("own/pcs.json", "[]");
  folder_.write("own/reports.json", "[]");
  const Ending ending = init({"--sample-folder", (folder_.path() / "own").string()});
  EXPECT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_THAT(ending.out, HasSubstr(" with 1 components, 0 PCs and 0 reports.\n"));
  EXPECT_THAT(sql("Select CompID, CompName, ParentID From DW_SEC_COMP"),
              ElementsAre(ElementsAre("5", "Größe", "NULL")));
}

TEST_F(Init, MakesNothingFromSampleDataThatAreNotJson) {
  folder_.write("own/components.json", "[{]");
  const auto own = folder_.path() / "own";
  const Ending ending = init({"--sample-folder", own.string()});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, StartsWith("tarnwick: The file '" + (own / "components.json").string() +
                                     "' is not JSON: "));
  EXPECT_FALSE(std::filesystem::exists(database_file()));
}

TEST_F(Init, MakesNothingFromSampleDataThatDoNotFitTheTables) {
  folder_.write("own/components.json", R"([{"CompID": 5, "ForceDisplay": true, "MaintType": 2}])");
  folder_.write("own/pcs.json", R"([{"MACNbr": "A", "Nonsense": 1}])");
  folder_.write("own/reports.json", "[]");
  const Ending ending = init({"--sample-folder", (folder_.path() / "own").string()});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: The file '" + (folder_.path() / "own" / "pcs.json").string() +
                            "', line 1: there is no field 'Nonsense'.\n");
  EXPECT_FALSE(std::filesystem::exists(database_folder_)) << "nor the folder";
}

}  // namespace
}  // namespace tarnwick::cli
