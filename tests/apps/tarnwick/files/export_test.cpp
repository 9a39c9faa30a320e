#include <algorithm>
#include <cstdlib>
#include <set>

#include "tests/apps/tarnwick/files/folder_test.h"
#include "tests/stand_in/stand_in.h"

namespace tarnwick::cli {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Not;
using ::testing::StartsWith;

const std::filesystem::path kSamples = SAMPLES;

class Export : public FolderTest {
 protected:
  /// What makes a round trip hard.
  void insert_odd_records() const {
    sql("Insert Into DW_SEC_COMP (CompID, ForceDisplay, MaintType) Values (900, 0, 0);"
        "Insert Into DW_SEC_COMP (CompID, CompName, ParentID, Priority, ImageIndex, ForceDisplay, "
        "MaintType, SecGrpID, RptCode, Server, MetaID, AuthorizedRole) Values "
        "(901, '', 0, 0, 0, 1, 77, '', '', '', '', '');"
        "Insert Into DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType, MetaID) Values "
        "(902, 'Größe ' || char(10) || '\"quoted\" \\ ' || char(9) || '\u2028 \U0001F600', 1, -5, "
        "'small');"
        "Insert Into DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex, "
        "LastLogin, ActivateDate, DeactivateDate, TotalLogins) Values "
        "('a,b', '\"', 900, 1, 0, 0, 0.5, 1e9, -1.25, -2147483648);"
        "Insert Into DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex, "
        "LastUser, SoftwareVersion) Values ('A', 'O''Neill', 900, 1, 1, -3, '', '');");
    for (const char* name : {"../../etc/passwd", "con", "Größe", "gröSSe", "???", "a.b", "A B",
                             "A  B", "O''Brien", "trailing ", ".hidden", "a/b", "a\\b", "a:b"}) {
      sql(std::string("Insert Into DW_Reports (ReportName, ImageIndex, MaintType, TTX_Binary, "
                      "Report_Binary) Values ('") +
          name + "', 0, 0, x'0109FF0D0A41', randomblob(300))");
    }
    sql("Insert Into DW_Reports (ReportName, Title, TTX_Binary, Report_Binary) Values "
        "(hex(zeroblob(60)), '', x'', x'');"
        "Insert Into DW_Reports (ReportName) Values ('nothing at all')");
  }
};

TEST_F(Export, SaysWhatItWrote) {
  EXPECT_EQ(say({"export", catalog().string()}),
            "Exported 42 components, 64 PCs and 12 reports to " + catalog().string() + ".\n");
  EXPECT_EQ(json({"export", catalog().string()}),
            (Json{{"Components", 42}, {"RegisteredPCs", 64}, {"Reports", 12}}));
}

TEST_F(Export, HasTheLayoutOfTheSamples) {
  export_catalog();
  auto samples = files_in(kSamples);
  std::erase_if(samples, [](const auto& file) {
    return !file.first.ends_with(".json") && !file.first.starts_with("reports/");
  });
  const auto files = files_in(catalog());
  ASSERT_EQ(files.size(), samples.size());
  for (const auto& [name, content] : samples) {
    ASSERT_THAT(files, Contains(Key(name)));
    if (name.ends_with(".json")) continue;
    EXPECT_EQ(files.at(name), content) << name;
  }
  for (const char* name : {"components.json", "pcs.json", "reports.json"}) {
    std::vector<std::string> keys;
    std::vector<std::string> wanted;
    const Json records = document(name);
    for (const auto& [key, value] : records.at(0).items()) keys.push_back(key);
    const Json samples_records = Json::parse(samples.at(name));
    for (const auto& [key, value] : samples_records.at(0).items()) wanted.push_back(key);
    EXPECT_EQ(keys, wanted) << name;
  }
  EXPECT_THAT(files.at("components.json"),
              StartsWith("[\n {\"CompID\": 1, \"CompName\": \"Sales Warehouse\", \"ParentID\": 0, "
                         "\"Priority\": 10, "));
}

TEST_F(Export, HoldsEveryColumnOfTheTablesButVersionsAndStamps) {
  export_catalog();
  for (const auto& [table, name] :
       std::map<std::string, std::string>{{"DW_SEC_COMP", "components.json"},
                                          {"DW_SEC_PC", "pcs.json"},
                                          {"DW_Reports", "reports.json"}}) {
    std::set<std::string> columns;
    for (const auto& row : sql("Select name From pragma_table_info('" + table + "')")) {
      columns.insert(row.at(0));
    }
    columns.erase("RowVersion");
    columns.erase("SoftLock");
    std::set<std::string> keys;
    const Json records = document(name);
    for (const auto& [key, value] : records.at(0).items()) keys.insert(key);
    EXPECT_EQ(keys, columns) << table;
  }
}

TEST_F(Export, GivesTheSameBytesForTheSameData) {
  insert_odd_records();
  export_catalog();
  const auto before = files_in(catalog());
  export_catalog();
  EXPECT_TRUE(files_in(catalog()) == before);
  // Inserted in another order, with other versions and stamps.
  sql("Create Table Other As Select * From DW_SEC_COMP Order By CompID Desc; Delete From "
      "DW_SEC_COMP; Insert Into DW_SEC_COMP Select * From Other; Drop Table Other; "
      "Update DW_Reports Set SoftLock = 'HOST - now'");
  const auto second = folder_.path() / "second";
  say({"export", second.string()});
  EXPECT_TRUE(files_in(second) == before);
}

TEST_F(Export, InitAndExportAgainGiveTheSameFolder) {
  insert_odd_records();
  export_catalog();
  const Ending ending = init_from(catalog(), "second");
  ASSERT_EQ(ending.exit_code, 0) << ending.err;
  const auto again = folder_.path() / "again";
  const Ending exported = test_support::run(start_on("second", {"export", again.string()}));
  ASSERT_EQ(exported.exit_code, 0) << exported.err;
  EXPECT_EQ(names_in(again), names_in(catalog()));
  EXPECT_TRUE(files_in(again) == files_in(catalog()));
}

TEST_F(Export, OfAnEmptyDatabaseIsAFolderThatMakesAnother) {
  sql("Delete From DW_SEC_COMP; Delete From DW_SEC_PC; Delete From DW_Reports");
  EXPECT_THAT(say({"export", catalog().string()}),
              StartsWith("Exported 0 components, 0 PCs and 0 reports to "));
  EXPECT_EQ(files_in(catalog()),
            (std::map<std::string, std::string>{
                {"components.json", "[]\n"}, {"pcs.json", "[]\n"}, {"reports.json", "[]\n"}}));
  EXPECT_FALSE(std::filesystem::exists(catalog() / "reports"));
  EXPECT_EQ(init_from(catalog(), "second").exit_code, 0);
}

TEST_F(Export, CallsFilesAfterTheirReportsAndSaysWhoseTheyAre) {
  insert_odd_records();
  export_catalog();
  std::set<std::string> names;
  for (const Json& report : document("reports.json")) {
    const auto name = report["ReportName"].get<std::string>();
    for (const char* field : {"TTX_Binary", "Report_Binary"}) {
      if (report[field].is_null()) continue;
      const auto file = report[field].get<std::string>();
      EXPECT_TRUE(names.insert(file).second) << file;
      EXPECT_EQ(file.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-."), std::string::npos)
          << file;
      std::string quoted = name;
      if (const auto quote = name.find('\''); quote != std::string::npos) {
        quoted.insert(quote, 1, '\'');
      }
      EXPECT_EQ(test_support::hexadecimal(content_of(catalog() / "reports" / file)),
                value(std::string("Select ") + field + " From DW_Reports Where ReportName = '" +
                      quoted + "'"))
          << name;
    }
  }
}

TEST_F(Export, TakesThePlaceOfTheOneThatLiesThereAndOfNothingElse) {
  export_catalog();
  folder_.write("catalog/README", "mine");
  folder_.write("catalog/.git/config", "mine too");
  folder_.write("catalog/reports/other.txt", "and mine");
  auto wanted = files_in(catalog());
  say({"report", "delete", "Open Orders"});
  export_catalog();
  EXPECT_EQ(wanted.erase("reports/open-orders.rpt"), 1u);
  EXPECT_EQ(wanted.erase("reports/open-orders.ttx"), 1u);
  EXPECT_EQ(wanted.erase("reports.json"), 1u);
  auto files = files_in(catalog());
  EXPECT_THAT(files.at("reports.json"), Not(HasSubstr("Open Orders")));
  files.erase("reports.json");
  EXPECT_TRUE(files == wanted);
}

TEST_F(Export, KeepsARegisterThatIsATable) {
  export_catalog();
  const auto second = folder_.path() / "second";
  folder_.write("second/pcs.csv", "");
  say({"export", second.string()});
  EXPECT_FALSE(std::filesystem::exists(second / "pcs.json"));
  EXPECT_THAT(content_of(second / "pcs.csv"),
              StartsWith("MACNbr,ComputerID,CompID,MaintType,ActiveStatus,ImageIndex,LastUser,"
                         "LastLogin,TotalLogins,ActivatedBy,ActivateDate,DeactivatedBy,"
                         "DeactivateDate,SoftwareVersion\r\n"));
  ASSERT_EQ(init_from(second, "from_table").exit_code, 0);
  const auto again = folder_.path() / "again";
  ASSERT_EQ(test_support::run(start_on("from_table", {"export", again.string()})).exit_code, 0);
  EXPECT_TRUE(files_in(again) == files_in(catalog()));
}

TEST_F(Export, RefusesAFolderWithTwoRegisters) {
  export_catalog();
  folder_.write("catalog/pcs.csv", "");
  const auto before = files_in(catalog());
  const Ending ending = run({"export", catalog().string()});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: The folder '" + catalog().string() +
                            "' holds both pcs.json and pcs.csv: which of them counts?\n");
  EXPECT_TRUE(files_in(catalog()) == before);
}

TEST_F(Export, LeavesNothingBehindWhereItCannotWrite) {
  folder_.write("file", "content");
  for (const std::string& folder :
       {(folder_.path() / "file").string(), (folder_.path() / "file" / "below").string(),
        std::string("/proc/nowhere/at/all")}) {
    const Ending ending = run({"export", folder});
    EXPECT_EQ(ending.exit_code, 1);
    EXPECT_EQ(ending.out, "");
    EXPECT_THAT(ending.err,
                StartsWith("tarnwick: The folder '" + folder + "' cannot be written: "));
  }
  std::filesystem::create_directories(catalog() / "pcs.json");
  const Ending ending = run({"export", catalog().string()});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: Nothing was exported: '" + (catalog() / "pcs.json").string() +
                            "' is there, and is no file.\n");
  EXPECT_THAT(names_in(catalog()), IsEmpty());
}

TEST_F(Export, LeavesTheFolderAsItWasWhereTheDiskIsFull) {
  export_catalog();
  const auto before = files_in(catalog());
  // SQLite's own files are smaller than that.
  constexpr std::size_t kLargest = 200000;
  sql("Update DW_Reports Set Title = 'changed'");
  for (const char* column : {"Report_Binary", "TTX_Binary"}) {
    SCOPED_TRACE(column);
    sql(std::string("Update DW_Reports Set ") + column +
        " = randomblob(300000) Where ReportName = 'Trial Balance'");
    Start full = start({"export", catalog().string()});
    full.largest_file = kLargest;
    Ending ending = test_support::run(full);
    EXPECT_EQ(ending.exit_code, 1);
    EXPECT_EQ(ending.signal, 0);
    EXPECT_EQ(ending.out, "");
    EXPECT_THAT(ending.err, StartsWith("tarnwick: "));
    EXPECT_TRUE(files_in(catalog()) == before);
    full.arguments = {"export", (folder_.path() / "new" / "catalog").string()};
    ending = test_support::run(full);
    EXPECT_EQ(ending.exit_code, 1);
    EXPECT_FALSE(std::filesystem::exists(folder_.path() / "new"));
    sql(std::string("Update DW_Reports Set ") + column + " = Null");
  }
}

TEST_F(Export, WritesNothingWhileSomebodyMaintainsARow) {
  Program holder(start({"lock", "hold", "report", "Headcount"}));
  holder.wait_for("Report 'Headcount' locked. Press Enter to release it.\n");
  const Ending ending = run({"export", catalog().string()});
  EXPECT_EQ(ending.exit_code, 4);
  EXPECT_EQ(ending.out, "");
  EXPECT_THAT(ending.err, StartsWith("tarnwick: Cannot load the reports.\n"));
  EXPECT_FALSE(std::filesystem::exists(catalog()));
}

TEST_F(Export, LosesNoRowThatCannotBeLoaded) {
  sql("Insert Into DW_SEC_COMP (CompID, ForceDisplay, MaintType) Values (900, 'perhaps', 0)");
  const Ending ending = run({"export", catalog().string()});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.out, "");
  EXPECT_THAT(ending.err, StartsWith("tarnwick: Cannot load some of the rows.\n"));
  EXPECT_FALSE(std::filesystem::exists(catalog()));
}

TEST_F(Export, LosesNoTextThatTheBusCannotCarry) {
  sql("Update DW_Reports Set Title = 'a' || char(0) || 'b' Where ReportName = 'Headcount'");
  const Ending ending = run({"export", catalog().string()});
  if (std::getenv("TARNWICK_IN_PROCESS") != nullptr) {
    EXPECT_EQ(ending.exit_code, 0) << ending.err;
    EXPECT_THAT(content_of(catalog() / "reports.json"), HasSubstr("\"Title\": \"a\\u0000b\""));
    EXPECT_EQ(say({"diff", catalog().string()}), "Nothing to do.\n");
  } else {
    EXPECT_EQ(ending.exit_code, 1);
    EXPECT_EQ(ending.err,
              "Report 'Headcount' has a text that the bus cannot carry; it is shown as empty. With "
              "--in-process the service is not needed.\n"
              "tarnwick: Nothing was exported.\n");
    EXPECT_FALSE(std::filesystem::exists(catalog()));
  }
}

/// Over SQL Server's stand-in and back.
class ExportAndCopy : public FolderTest {
 protected:
  void SetUp() override {
    FolderTest::SetUp();
    server_.make_database();
    role_file_ =
        folder_.write("role_password", to_utf8(test_support::StandIn::kRolePassword) + "\n")
            .string();
  }

  [[nodiscard]] Ending copy_to_server() const {
    return test_support::run(
        start({"copy", "--from", connect_string(), "--to", server(), "--to-role",
               to_utf8(test_support::StandIn::kRole), "--to-password-file", role_file_}));
  }
  [[nodiscard]] Ending copy_back(const std::string& database) const {
    return test_support::run(start_on(
        database, {"copy", "--from", server(), "--from-role", to_utf8(test_support::StandIn::kRole),
                   "--from-password-file", role_file_, "--to",
                   start_on(database, {}).environment.at("TARNWICK_CONNECT")}));
  }
  [[nodiscard]] std::string server() const { return to_utf8(server_.connection_string()); }

  test_support::StandIn server_;
  std::string role_file_;
};

TEST_F(ExportAndCopy, GiveTheSameFolderOnBothEngines) {
  sql("Update DW_Reports Set Report_Binary = randomblob(3000) Where ReportName = 'Headcount';"
      "Insert Into DW_SEC_COMP (CompID, ForceDisplay, MaintType) Values (900, 0, 0);"
      "Insert Into DW_Reports (ReportName, Title) Values ('O''Brien', '')");
  export_catalog();
  Ending ending = copy_to_server();
  ASSERT_EQ(ending.exit_code, 0) << ending.err;

  Start on_server = start({"export", (folder_.path() / "server").string()});
  on_server.environment["TARNWICK_CONNECT"] = server();
  on_server.environment["TARNWICK_ROLE"] = to_utf8(test_support::StandIn::kRole);
  on_server.environment["TARNWICK_PASSWORD_FILE"] = role_file_;
  ending = test_support::run(on_server);
  ASSERT_EQ(ending.exit_code, 0) << ending.err;
  EXPECT_TRUE(files_in(folder_.path() / "server") == files_in(catalog()));

  ASSERT_EQ(run_with({}, {"init", (folder_.path() / "back").string(), "--role", kRole,
                          "--password-file", password_file_})
                .exit_code,
            0);
  ending = copy_back("back");
  ASSERT_EQ(ending.exit_code, 0) << ending.err;
  const auto again = folder_.path() / "again";
  ASSERT_EQ(test_support::run(start_on("back", {"export", again.string()})).exit_code, 0);
  EXPECT_TRUE(files_in(again) == files_in(catalog()));
}

}  // namespace
}  // namespace tarnwick::cli
