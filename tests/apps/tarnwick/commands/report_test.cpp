#include <set>

#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::filesystem::path kReports = std::filesystem::path(SAMPLES) / "reports";

class ReportCommands : public CommandLineTest {
 protected:
  [[nodiscard]] std::string column(const std::string& report, const std::string& name) const {
    return value("Select " + name + " From DW_Reports Where ReportName = '" + report + "'");
  }
  [[nodiscard]] std::string path(const std::string& name) const {
    return (folder_.path() / name).string();
  }
};

TEST_F(ReportCommands, ListAllByName) {
  const auto lines = lines_of(say({"report", "list"}));
  ASSERT_EQ(lines.size(), 13u);
  EXPECT_EQ(lines[0],
            "Name               Title                       ReportGroupID  Version Author      "
            "Created             ReportType FileSize");
  EXPECT_EQ(lines[1],
            "Cost Centre Detail Cost Centre Detail          Finance        2.0.0   C. Martínez "
            "2022-02-21 08:15:00 CRY           10352");
  EXPECT_THAT(lines[5], StartsWith("Load Protocol      Nightly Load Protocol "));
}

TEST_F(ReportCommands, ListFieldDefinitionsAsJsonToo) {
  const Json list = json({"report", "list"});
  ASSERT_EQ(list.size(), 12u);
  EXPECT_EQ(list[11]["Name"], "Trial Balance");
  EXPECT_EQ(list[11]["TTX"],
            "AccountNbr\tString\t10\t1200\r\nAccountName\tString\t50\tGeschäftskonto Zürich\r\n"
            "Debit\tCurrency\t\t12 000,00\r\nCredit\tCurrency\t\t0,00\r\n");
  EXPECT_EQ(list[4]["Created"], nullptr);
}

TEST_F(ReportCommands, ShowOne) {
  EXPECT_EQ(say({"report", "show", "dunning list"}),
            "Name             Dunning List\n"
            "Title            Dunning List\n"
            "Author           R. Osei\n"
            "Created          2023-06-30 17:00:00\n"
            "Version          1.0.3\n"
            "ReportGroupID    Finance\n"
            "ImageIndex       11\n"
            "SQL              Select CustomerName, InvoiceNbr, DueDate, DaysLate, OpenAmount, "
            "DunningLevel\n"
            "                 From vDunning\n"
            "                 Where DunningLevel >= {?Level}\n"
            "                 Order By DaysLate Desc\n"
            "TTX              CustomerName\tString\t60\tHåkon Ødegård AS\n"
            "                 InvoiceNbr\tString\t12\t9004411\n"
            "                 DueDate\tDate\t\t2024-02-29\n"
            "                 DaysLate\tLong\t\t61\n"
            "                 OpenAmount\tCurrency\t\t¥ 88000\n"
            "ReportType       CRY\n"
            "Description      Overdue invoices by dunning level.\n"
            "MaintenanceType  Report\n"
            "Definition\n"
            "SoftLock\n"
            "RowVersion       " +
                column("Dunning List", "hex(RowVersion)") + "\n");
  EXPECT_EQ(say({"report", "show", "Dunning List", "--field", "author"}), "R. Osei\n");
}

TEST_F(ReportCommands, AddAReportWithItsFiles) {
  folder_.write("returns.sql", "Select *\nFrom vReturns\n");
  folder_.write("returns.def", "Group 1: Größe\n");
  EXPECT_EQ(say({"report", "add", "Returns", "--title", "Returns by Month", "--group", "Sales",
                 "--sql-file", path("returns.sql"), "--definition-file", path("returns.def"),
                 "--ttx-file", (kReports / "headcount.ttx").string(), "--file",
                 (kReports / "headcount.rpt").string()}),
            "Report 'Returns' written.\n");
  EXPECT_THAT(sql("Select Title, RptGrpID, SQLStmnt, Definition, Version, ReportType, MaintType, "
                  "ImageIndex, Created > 45000 From DW_Reports Where ReportName = 'Returns'"),
              ElementsAre(ElementsAre("Returns by Month", "Sales", "Select *\nFrom vReturns\n",
                                      "Group 1: Größe\n", "1.0.0", "CRY", "4", "11", "1")));
  EXPECT_EQ(column("Returns", "TTX_Binary"),
            test_support::hexadecimal(content_of(kReports / "headcount.ttx")));
  EXPECT_EQ(column("Returns", "Report_Binary"),
            test_support::hexadecimal(content_of(kReports / "headcount.rpt")));
}

TEST_F(ReportCommands, DoNotAddOneThatIsThere) {
  const Ending ending = run({"report", "add", "HEADCOUNT"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: Report 'HEADCOUNT' exists already.\n");
}

TEST_F(ReportCommands, DoNotAddOneWhoseFilesAreMissing) {
  Ending ending = run({"report", "add", "Returns", "--file", path("none.rpt")});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: Report 'Returns' was not written.\nUnable to read '" +
                            path("none.rpt") +
                            "' from disk. Unable to update!\n"
                            "Error in Component: 'Report', Proceedure: 'Insert'.\n"
                            "Error #:    \t-2147221504\nDescription:\tUnable to read '" +
                            path("none.rpt") + "' from disk. Unable to update!\n");
  ending = run({"report", "add", "Returns", "--ttx-file", path("none.ttx")});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, HasSubstr("The File '" + path("none.ttx") + "' doesn't exist!\n"));
  ending = run({"report", "add", "Returns", "--sql-file", path("none.sql")});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: The file '" + path("none.sql") + "' cannot be read.\n");
  EXPECT_EQ(value("Select Count(*) From DW_Reports"), "12");
}

TEST_F(ReportCommands, SetFieldsAndKeepTheRest) {
  const auto before = sql("Select * From DW_Reports Where ReportName = 'Headcount'").at(0);
  EXPECT_EQ(say({"report", "set", "Headcount", "--report-version", "1.0.0", "--author", "S. Øst"}),
            "Report 'Headcount' written.\n  Author: 'S. Okafor' -> 'S. Øst'\n"
            "  Version: '0.9.0' -> '1.0.0'\n");
  const auto after = sql("Select * From DW_Reports Where ReportName = 'Headcount'").at(0);
  const std::set<std::size_t> written{2, 4, 6, 11, 12, 13};  // and nulls that were loaded as values
  for (std::size_t column = 0; column < before.size(); ++column) {
    if (written.contains(column)) continue;
    EXPECT_EQ(after[column], before[column]) << column;
  }
  EXPECT_EQ(column("Headcount", "Author"), "S. Øst");
}

TEST_F(ReportCommands, SetFieldsUnderALockAndTellTheRowVersions) {
  const std::string before = column("Headcount", "hex(RowVersion)");
  const std::string out = say({"report", "set", "Headcount", "--lock", "-v", "--title", "Staff"});
  EXPECT_EQ(out,
            "Report 'Headcount' locked.\n  row version " + before +
                "\nReport 'Headcount' written.\n  Title: 'Headcount by Department' -> 'Staff'\n"
                "  row version " +
                before + " -> " + column("Headcount", "hex(RowVersion)") + "\n");
  EXPECT_EQ(column("Headcount", "SoftLock"), "");
}

TEST_F(ReportCommands, RefuseTwoSourcesForOneField) {
  EXPECT_EQ(run({"report", "set", "Headcount", "--sql", "x", "--sql-file", "y"}).exit_code, 2);
}

TEST_F(ReportCommands, ReadTheVersionSwitchAsTheProgramsOwn) {
  EXPECT_EQ(say({"--version"}), "0.1.0\n");
}

TEST_F(ReportCommands, RenameAReport) {
  const std::string file = column("Headcount", "Report_Binary");
  EXPECT_EQ(say({"report", "rename", "Headcount", "Staff"}),
            "Report 'Staff' written.\n  Name: 'Headcount' -> 'Staff'\n");
  EXPECT_EQ(value("Select Count(*) From DW_Reports Where ReportName = 'Headcount'"), "0");
  EXPECT_EQ(value("Select Count(*) From DW_Reports"), "12");
  EXPECT_EQ(column("Staff", "Title"), "Headcount by Department");
}

TEST_F(ReportCommands, RenameAReportInLetterCaseAlone) {
  say({"report", "rename", "Headcount", "HEADCOUNT"});
  EXPECT_THAT(sql("Select ReportName From DW_Reports Where ReportName = 'Headcount'"),
              ElementsAre(ElementsAre("HEADCOUNT")));
}

TEST_F(ReportCommands, DoNotRenameOneOverAnother) {
  const Ending ending = run({"report", "rename", "Headcount", "open orders"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: Report 'open orders' exists already.\n");
  EXPECT_EQ(value("Select Count(*) From DW_Reports"), "12");
}

TEST_F(ReportCommands, StoreAReportFileAndExtractItByteForByte) {
  std::string bytes;
  for (int i = 0; i < 5000; ++i) bytes += static_cast<char>(i * 7);
  folder_.write("new.rpt", bytes);
  EXPECT_EQ(say({"report", "store", "Load Protocol", path("new.rpt")}),
            "Report 'Load Protocol' written.\n");
  EXPECT_EQ(say({"report", "extract", "Load Protocol", path("out.rpt")}),
            "Report file of 'Load Protocol' extracted to " + path("out.rpt") + ".\n");
  EXPECT_EQ(content_of(path("out.rpt")), bytes);
}

TEST_F(ReportCommands, TakeFileNamesFromTheFolderThatTheyAreTypedIn) {
  Start extract = start({"report", "extract", "Headcount", "out.rpt"});
  extract.folder = folder_.path();
  EXPECT_EQ(test_support::run(extract).exit_code, 0);
  EXPECT_EQ(content_of(path("out.rpt")), content_of(kReports / "headcount.rpt"));
}

TEST_F(ReportCommands, SayThatNoReportFileIsStored) {
  const Ending ending = run({"report", "extract", "PC Register", path("out.rpt")});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, StartsWith("tarnwick: Report 'PC Register': the file was not handled.\n"
                                     "The Report_Binary field is null, no report is stored in the "
                                     "table!\n"));
  EXPECT_FALSE(std::filesystem::exists(path("out.rpt")));
}

TEST_F(ReportCommands, SayThatTheFolderOfAFileIsNotThere) {
  for (const char* command : {"extract", "extract-ttx"}) {
    const Ending ending = run({"report", command, "Headcount", path("none/out.rpt")});
    EXPECT_EQ(ending.exit_code, 1);
    EXPECT_THAT(ending.err, HasSubstr("The Path '" + path("none") + "' doesn't exist!\n"));
  }
}

TEST_F(ReportCommands, ImportFieldDefinitionsAndExtractThemByteForByte) {
  std::string bytes;
  for (int i = 1; i < 256; ++i) bytes += static_cast<char>(i);
  folder_.write("all.ttx", bytes);
  EXPECT_THAT(say({"report", "import-ttx", "Load Protocol", path("all.ttx")}),
              StartsWith("Report 'Load Protocol' written.\n  TTX: '' -> '\\x01\\x02"));
  EXPECT_EQ(column("Load Protocol", "TTX_Binary"), test_support::hexadecimal(bytes));
  EXPECT_EQ(say({"report", "extract-ttx", "Load Protocol", path("out.rpt")}),
            "Field definitions of 'Load Protocol' extracted to " + path("out.ttx") + ".\n");
  EXPECT_EQ(content_of(path("out.ttx")), bytes);
}

TEST_F(ReportCommands, SayThatThereAreNoFieldDefinitions) {
  const Ending ending = run({"report", "extract-ttx", "Load Protocol", path("out.ttx")});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_THAT(ending.err, HasSubstr("There is no TTX data to extract!\n"));
}

TEST_F(ReportCommands, DeleteAReport) {
  EXPECT_EQ(say({"report", "delete", "headcount"}), "Report 'headcount' deleted.\n");
  EXPECT_EQ(value("Select Count(*) From DW_Reports"), "11");
}

TEST_F(ReportCommands, SayThatThereIsNoSuchReport) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"show", "None"},
                                                    {"set", "None", "--title", "x"},
                                                    {"rename", "None", "Nobody"},
                                                    {"store", "None", path("password")},
                                                    {"import-ttx", "None", path("password")},
                                                    {"extract-ttx", "None", path("out")},
                                                    {"delete", "None"}}) {
    std::vector<std::string> command{"report"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const Ending ending = run(command);
    EXPECT_EQ(ending.exit_code, 5) << arguments[0];
    EXPECT_EQ(ending.err, "tarnwick: Report 'None' does not exist.\n");
  }
  const Ending ending = run({"report", "extract", "None", path("out")});
  EXPECT_EQ(ending.exit_code, 5);
  EXPECT_THAT(ending.err, HasSubstr("Unable to find the report 'None' in the DW_REPORTS table!\n"));
  EXPECT_EQ(value("Select Count(*) From DW_Reports"), "12");
}

TEST_F(ReportCommands, RefuseAnEmptyName) {
  const Ending ending = run({"report", "show", ""});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: The name of the report is empty.\n");
}

}  // namespace
}  // namespace tarnwick::cli
