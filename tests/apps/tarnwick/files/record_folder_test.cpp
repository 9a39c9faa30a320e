#include "apps/tarnwick/files/record_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/failure.h"
#include "runtime/error.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/unreadable_file.h"

namespace tarnwick::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kComponent =
    R"({"CompID": 1, "CompName": "a", "ForceDisplay": true, "MaintType": 2})";
constexpr const char* kPc =
    R"({"MACNbr": "m", "ComputerID": "c", "CompID": 1, "MaintType": 5, "ActiveStatus": true, "ImageIndex": 1})";
constexpr const char* kHeadings =
    "MACNbr,ComputerID,CompID,MaintType,ActiveStatus,ImageIndex,LastUser,LastLogin,TotalLogins,"
    "ActivatedBy,ActivateDate,DeactivatedBy,DeactivateDate,SoftwareVersion";

/// A folder that makes sense until a test writes into it.
class RecordFolders : public ::testing::Test {
 protected:
  RecordFolders() {
    components(std::string("[\n ") + kComponent + "\n]\n");
    pcs(std::string("[\n ") + kPc + "\n]\n");
    reports(R"([{"ReportName": "r", "TTX_Binary": "r.ttx", "Report_Binary": "r.rpt"}])");
    folder_.write("reports/r.ttx", "x");
    folder_.write("reports/r.rpt", "y");
  }

  void components(std::string_view content) const { folder_.write("components.json", content); }
  void pcs(std::string_view content) const { folder_.write("pcs.json", content); }
  void reports(std::string_view content) const { folder_.write("reports.json", content); }
  void table(const std::string& content) const {
    std::filesystem::remove(folder_.path() / "pcs.json");
    folder_.write("pcs.csv", content);
  }
  [[nodiscard]] RecordFolder read() const { return read_folder(folder_.path()); }

  /// What the folder is refused for, with exit code 1.
  [[nodiscard]] std::string refusal() const {
    try {
      static_cast<void>(read());
      return "nothing";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), ExitCode::kFailed);
      return failure.what();
    }
  }
  [[nodiscard]] std::string refusal_of_ordinary_user() const {
    const bool root = geteuid() == 0;
    if (root && seteuid(65534) != 0) return "root stays root";
    std::string refused = refusal();
    if (root && seteuid(0) != 0) std::abort();
    return refused;
  }
  void expect_refused(const std::string& file, const std::string& why) const {
    EXPECT_EQ(refusal(), "The file '" + (folder_.path() / file).string() + "'" + why);
  }
  void expect_refused(const std::string& why) const {
    EXPECT_EQ(refusal(), "The folder '" + folder_.path().string() + "' " + why);
  }
  void remove(const std::string& name) const { std::filesystem::remove_all(folder_.path() / name); }

  test_support::TemporaryFolder folder_;
};

TEST_F(RecordFolders, HoldTheRecordsOfAllClasses) {
  const auto [components, pcs, reports] = read();
  ASSERT_EQ(components.size(), 1u);
  EXPECT_EQ((components[0].row.get<Component, "Name">()), u"a");
  ASSERT_EQ(pcs.size(), 1u);
  EXPECT_EQ((pcs[0].row.get<RegisteredPC, "ComputerID">()), u"c");
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0].ttx, folder_.path() / "reports" / "r.ttx");
  EXPECT_EQ(reports[0].report_file, folder_.path() / "reports" / "r.rpt");
}

TEST_F(RecordFolders, KnowNullFromNothing) {
  components(R"([{"CompID": 1, "CompName": "", "ParentID": 0, "RptCode": "", "ForceDisplay": false,
                  "MaintType": 0, "Server": null}])");
  Row row = read()[0].at(0).row;
  const auto value = [&](std::string_view name) {
    return row[*client::find_attribute(row.record_class(), name)];
  };
  EXPECT_EQ(value("Name"), AttributeValue(Text()));
  EXPECT_EQ(value("ParentID"), AttributeValue(std::int16_t{0}));
  EXPECT_EQ(value("ReportCode"), AttributeValue(None_rc));
  for (const char* name : {"ServerName", "SecurityGroup", "ImageIndex"}) {
    EXPECT_EQ(value(name), AttributeValue(Empty())) << name;
  }
  read_nulls(row);
  EXPECT_EQ(value("ServerName"), AttributeValue(Text()));
  EXPECT_EQ(value("ImageIndex"), AttributeValue(std::int16_t{1})) << "as the object model reads it";
}

TEST_F(RecordFolders, AreRefusedWhereTheyAreHalfAnExport) {
  remove("reports.json");
  expect_refused("is no whole export: reports.json is missing.");
  remove("pcs.json");
  expect_refused("is no whole export: pcs.json or pcs.csv is missing.");
  remove("components.json");
  expect_refused("is no whole export: components.json is missing.");
  remove("");
  expect_refused("does not exist.");
}

TEST_F(RecordFolders, AreRefusedWhereAnExportWasBrokenOff) {
  folder_.write(".tarnwick-unfinished", "");
  expect_refused("is no whole export: one was broken off while it was put there. Export anew.");
}

TEST_F(RecordFolders, AreRefusedWithTwoRegisters) {
  folder_.write("pcs.csv", kHeadings);
  expect_refused("holds both pcs.json and pcs.csv: which of them counts?");
}

TEST_F(RecordFolders, AreRefusedForFilesThatCannotBeRead) {
  remove("pcs.json");
  std::filesystem::create_directory(folder_.path() / "pcs.json");
  expect_refused("pcs.json", " cannot be read.");
  remove("pcs.json");
  const test_support::UnreadableFile unreadable;
  std::filesystem::create_symlink(unreadable.path(), folder_.path() / "pcs.json");
  expect_refused("pcs.json", " cannot be read.");
}

TEST_F(RecordFolders, AreRefusedWithoutTheRightToRead) {
  const auto folder = folder_.path();
  std::filesystem::permissions(folder / "pcs.json", std::filesystem::perms::none);
  EXPECT_EQ(refusal_of_ordinary_user(),
            "The file '" + (folder / "pcs.json").string() + "' cannot be read.");
  std::filesystem::permissions(folder, std::filesystem::perms::none);
  EXPECT_EQ(refusal_of_ordinary_user(),
            "The folder '" + folder.string() + "' cannot be read: Permission denied.");
  std::filesystem::permissions(folder, std::filesystem::perms::owner_all);
}

TEST_F(RecordFolders, AreRefusedForDocumentsThatAreNotJson) {
  components("[\n {\"CompID\": 1,\n]\n");
  EXPECT_THAT(refusal(), StartsWith("The file '" + (folder_.path() / "components.json").string() +
                                    "' is not JSON: "));
  EXPECT_THAT(refusal(), HasSubstr("line 3, column 1"));
  components("");
  EXPECT_THAT(refusal(), HasSubstr("is not JSON: "));
  components("[] []");
  EXPECT_THAT(refusal(), HasSubstr("is not JSON: "));
}

TEST_F(RecordFolders, AreRefusedForDocumentsOfAnotherShape) {
  for (const char* content : {"{\"CompID\": 1}", "5", "null", "[1]", "[null]", "[[]]"}) {
    components(content);
    expect_refused("components.json", ", line 1: it is no array of objects.");
  }
  components("[\n {\"CompID\": 1,\n  \"CompName\":\n {}}]");
  expect_refused("components.json",
                 ", line 3: CompName is an array or an object, but must be a single value.");
  components("[\n {\"CompID\": 1,\n  \"CompName\": [\n]}]");
  expect_refused("components.json",
                 ", line 3: CompName is an array or an object, but must be a single value.");
  components("[\n {\n\"CompID\": 1}]");
  expect_refused("components.json", ", line 2: ForceDisplay is missing, or null.");
}

TEST_F(RecordFolders, AreRefusedForFieldsThatMakeNoSense) {
  struct Case {
    const char* field;
    const char* why;
  };
  for (const Case& test : {
           Case{R"("Nonsense": 1)", "there is no field 'Nonsense'"},
           Case{R"("compname": "a")", "there is no field 'compname'"},
           Case{R"("RowVersion": "a")", "there is no field 'RowVersion'"},
           Case{R"("CompName": 5)", "CompName is 5, but must be a text"},
           Case{R"("ParentID": "5")",
                "ParentID is \"5\", but must be a whole number from -32768 to 32767"},
           Case{R"("ParentID": 1.5)",
                "ParentID is 1.5, but must be a whole number from -32768 to 32767"},
           Case{R"("ParentID": 40000)",
                "ParentID is 40000, but must be a whole number from -32768 to 32767"},
           Case{
               R"("ParentID": 18446744073709551615)",
               "ParentID is 18446744073709551615, but must be a whole number from -32768 to 32767"},
           Case{R"("RptCode": "XYZ")", "RptCode is \"XYZ\", but must be PC, PCA, CRY or none"},
           Case{R"("CompID": 2)", "CompID stands in the record twice"},
       }) {
    components(std::string("[\n ") + kComponent + ",\n {\"CompID\": 3, \"ForceDisplay\": true,\n" +
               "  " + test.field + ",\n  \"MaintType\": 2}\n]\n");
    expect_refused("components.json", std::string(", line 4: ") + test.why + ".");
  }
  components(R"([{"CompID": 1, "ForceDisplay": 1, "MaintType": 2}])");
  expect_refused("components.json", ", line 1: ForceDisplay is 1, but must be true or false.");
  components("[]");
  pcs(std::string("[") + std::string(kPc).substr(0, std::string(kPc).size() - 1) +
      ",\n \"LastLogin\": \"yesterday\"}]");
  expect_refused("pcs.json",
                 ", line 2: LastLogin is \"yesterday\", but must be of the form "
                 "yyyy-mm-dd or yyyy-mm-dd hh:mm:ss.");
}

TEST_F(RecordFolders, AreRefusedForRecordsThatCollide) {
  components(std::string("[\n ") + kComponent + ",\n " + kComponent + "\n]\n");
  expect_refused("components.json", ", line 3: Component 1 stands in line 2 already.");
  components("[]");
  reports(
      "[\n{\"ReportName\": \"Größe\"},\n{\"ReportName\": \"GRÖSSE\"},\n"
      "{\"ReportName\": \"grÖße\"}]");
  expect_refused("reports.json", ", line 4: Report 'grÖße' stands in line 2 already.");
}

TEST_F(RecordFolders, AreRefusedForAnotherEncoding) {
  components("[\n {\"CompID\": 1,\n  \"CompName\": \"Gr\xF6\xDF\x65\"}]");
  expect_refused("components.json", ", line 3: it is not UTF-8.");
  components(std::string("\xFF\xFE[\0]\0", 6));
  expect_refused("components.json", " is UTF-16, but must be UTF-8.");
  components(std::string("\xEF\xBB\xBF[") + kComponent + "]");
  EXPECT_EQ(read()[0].size(), 1u) << "a byte order mark does no harm";
}

TEST_F(RecordFolders, AreRefusedForReportFilesThatAreNotThere) {
  remove("reports/r.rpt");
  expect_refused("reports.json", ", line 1: Report_Binary names '" +
                                     (folder_.path() / "reports" / "r.rpt").string() +
                                     "', and there is no such file.");
  std::filesystem::create_directory(folder_.path() / "reports" / "r.rpt");
  EXPECT_THAT(refusal(), HasSubstr("there is no such file."));
}

TEST_F(RecordFolders, AreRefusedForReportFilesElsewhere) {
  folder_.write("secret", "x");
  for (const char* name : {"../secret", "/etc/passwd", "..", ".", "", "a/../r.ttx", "a\\\\b"}) {
    reports("[\n{\"ReportName\": \"r\",\n\"TTX_Binary\": \"" + std::string(name) + "\"}]");
    expect_refused("reports.json", ", line 3: TTX_Binary is \"" + std::string(name) +
                                       "\", but must name a file in 'reports'.");
  }
  reports("[{\"ReportName\": \"r\", \"TTX_Binary\": 5}]");
  expect_refused("reports.json", ", line 1: TTX_Binary is 5, but must name a file in 'reports'.");
}

TEST_F(RecordFolders, MayHoldATableOfPcs) {
  table("\xEF\xBB\xBF" + std::string(kHeadings) +
        "\r\nm,\"c, d\",1,5,yes,10,,,,,,,,\r\nm,e,-1,5,FALSE,10,\"u\r\nv\",2026-11-22,7,a,"
        "2026-11-22 01:02:03,b,45000.5,1.0\n");
  const auto pcs = read()[1];
  ASSERT_EQ(pcs.size(), 2u);
  EXPECT_EQ((pcs[0].row.get<RegisteredPC, "ComputerID">()), u"c, d");
  EXPECT_TRUE((pcs[0].row.get<RegisteredPC, "Active">()));
  EXPECT_EQ(pcs[0].row[*client::find_attribute(pcs[0].row.record_class(), "LastUser")],
            AttributeValue(Empty()));
  EXPECT_FALSE((pcs[1].row.get<RegisteredPC, "Active">()));
  EXPECT_EQ((pcs[1].row.get<RegisteredPC, "LastUser">()), u"u\r\nv");
  EXPECT_EQ((pcs[1].row.get<RegisteredPC, "DeActivatedDate">()), Date{45000.5});
  EXPECT_EQ((pcs[1].row.get<RegisteredPC, "TotalLogins">()), 7);
}

TEST_F(RecordFolders, AreRefusedForTablesWhoseColumnsAreWrong) {
  const std::string headings = kHeadings;
  table("");
  expect_refused("pcs.csv", ", line 1: the column MACNbr is missing.");
  table(headings.substr(0, headings.rfind(',')) + "\r\n");
  expect_refused("pcs.csv", ", line 1: the column SoftwareVersion is missing.");
  table(headings + ",CompID\r\n");
  expect_refused("pcs.csv", ", line 1: the column CompID stands there twice.");
  table(headings + ",Nonsense\r\n");
  expect_refused("pcs.csv", ", line 1: there is no field 'Nonsense'.");
  std::string semicolons = headings;
  for (char& c : semicolons) c = c == ',' ? ';' : c;
  table(semicolons + "\r\n");
  expect_refused("pcs.csv",
                 ", line 1: its columns are parted by semicolons, but must be by commas.");
}

TEST_F(RecordFolders, AreRefusedForTablesWhoseLinesAreWrong) {
  const std::string headings = std::string(kHeadings) + "\r\n";
  const std::string good = "m,\"c\nd\",1,5,yes,10,,,,,,,,\r\n";
  table(headings + good + "m,c\r\n");
  expect_refused("pcs.csv", ", line 4: it has 2 cells, but there are 14 columns.");
  table(headings + good + "m,c,1,5,yes,10,,,,,,,,\r\nm,C,1,5,no,1,,,,,,,,\r\n");
  expect_refused("pcs.csv", ", line 5: PC C (m) of component 1 stands in line 4 already.");
  table(headings + "m,c,x,5,yes,10,,,,,,,,\r\n");
  expect_refused("pcs.csv",
                 ", line 2: CompID is \"x\", but must be a whole number from -32768 to 32767.");
  table(headings + "m,c,1,5,perhaps,10,,,,,,,,\r\n");
  expect_refused("pcs.csv", ", line 2: ActiveStatus is \"perhaps\", but must be true or false.");
  table(headings + "m,c,1,5,,10,,,,,,,,\r\n");
  expect_refused("pcs.csv", ", line 2: ActiveStatus is missing, or null.");
  table(headings + "m,c,1,5,yes,10,\"open,,,,,,,\r\n");
  expect_refused("pcs.csv", ", line 2: a cell that begins with a quote has no closing one.");
  table(headings + "m,Gr\xF6\xDF\x65,1,5,yes,10,,,,,,,,\r\n");
  expect_refused("pcs.csv", ", line 2: it is not UTF-8.");
}

TEST(FileFields, StandInFilesAsTheyAreReadThere) {
  const auto value = [](std::string_view name, const nlohmann::ordered_json& json) {
    const auto& attribute = *client::find_attribute(automation::ClassId::kReport, name);
    return to_file_value(from_file_value(attribute, json));
  };
  EXPECT_EQ(value("Title", "Größe\n\"\\"), "Größe\n\"\\");
  EXPECT_EQ(value("Created", "2026-11-22"), "2026-11-22 00:00:00");
  EXPECT_EQ(value("Created", 1e9), 1e9) << "outside the calendar";
  EXPECT_EQ(value("Created", 45000.5), "2023-03-15 12:00:00");
  EXPECT_EQ(value("MaintenanceType", 77), 77);
  EXPECT_EQ(value("ReportType", "cry"), "CRY");
  EXPECT_EQ(value("ReportType", ""), "");
  EXPECT_EQ(value("ImageIndex", nullptr), nullptr);
  EXPECT_EQ(to_file_value(Date{0.000001}), nullptr) << "no more than no date";
}

TEST(FileFields, HaveNoFormForATextThatIsNoUnicode) {
  EXPECT_THROW(static_cast<void>(to_file_value(Text(u"\xD800"))), Error);
}

}  // namespace
}  // namespace tarnwick::cli
