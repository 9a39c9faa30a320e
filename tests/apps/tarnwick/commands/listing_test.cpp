#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class Listings : public CommandLineTest {
 protected:
  /// One field of every record that a listing shows.
  [[nodiscard]] std::vector<std::string> listed(std::vector<std::string> arguments,
                                                const std::string& field) const {
    std::vector<std::string> values;
    for (const Json& record : json(std::move(arguments))) {
      const Json& value = record[field];
      values.push_back(value.is_string() ? value.get<std::string>() : value.dump());
    }
    return values;
  }

  /// The values of one column, in the order of a statement of its own.
  [[nodiscard]] std::vector<std::string> column(const std::string& statement) const {
    std::vector<std::string> values;
    for (const auto& row : sql(statement)) values.push_back(row.at(0));
    return values;
  }

  [[nodiscard]] Ending refused(std::vector<std::string> arguments) const {
    Ending ending = run(std::move(arguments));
    EXPECT_EQ(ending.exit_code, 2);
    EXPECT_EQ(ending.out, "");
    return ending;
  }
};

TEST_F(Listings, AreCsvWithAllFieldsOfTheRecords) {
  sql("Delete From DW_SEC_COMP Where CompID Not In (22, 32)");
  sql("Update DW_SEC_COMP Set CompName = 'Say \"yes\", or' || char(13, 10) || 'no' "
      "Where CompID = 32");
  const std::string expected =
      "CompID,Name,ParentID,Priority,ImageIndex,ForceDisplay,MaintenanceType,SecurityGroup,"
      "ReportCode,ServerName,MetaID,AuthorizedRole,RowVersion\r\n"
      "22,Receivables Monitor,2,30,3,false,ComponentWithPCs,DW Finance Users,PCA,velmar-dw1,"
      "FIN.AR,dw_finance," +
      value("Select hex(RowVersion) From DW_SEC_COMP Where CompID = 22") +
      "\r\n"
      "32,\"Say \"\"yes\"\", or\r\nno\",3,30,1,false,ComponentWithPCs,,PCA,velmar-dw2,LOG.SHIP,," +
      value("Select hex(RowVersion) From DW_SEC_COMP Where CompID = 32") + "\r\n";
  EXPECT_EQ(say({"component", "list", "--csv"}), expected);
  EXPECT_EQ(say({"component", "tree", "--csv"}), expected);
}

TEST_F(Listings, AreCsvWithHeadingsThoughThereIsNothingToList) {
  EXPECT_EQ(say({"lock", "list", "--csv"}),
            "Table,Row,HeldBy,Since,Seconds,Process,Program,User,Session\r\n");
  EXPECT_EQ(lines_of(say({"pc", "list", "--component", "13", "--csv"})),
            (std::vector<std::string>{
                "MACNumber,ComputerID,CompID,MaintenanceType,Active,ImageIndex,LastUser,LastLogin,"
                "TotalLogins,ActivatedBy,ActivateDate,DeActivatedBy,DeActivatedDate,"
                "SoftwareVersion,SoftLock,RowVersion\r"}));
}

TEST_F(Listings, ShowOneRecordAsCsv) {
  const std::string shown = say({"pc", "show", "VEL-SAL-012", "--component", "10", "--csv"});
  EXPECT_THAT(shown, HasSubstr("\r\n02-5A-CD-1D-C9-76,VEL-SAL-012,10,PCReg,true,10,"
                               "VELMAR\\mduval,2024-04-19 12:39:38,88,"));
  EXPECT_EQ(say({"report", "show", "Headcount", "--field", "title", "--csv"}),
            "Title\r\nHeadcount by Department\r\n");
}

TEST_F(Listings, AreEitherCsvOrJson) {
  for (const std::vector<std::string>& command : {std::vector<std::string>{"component", "list"},
                                                  {"component", "tree"},
                                                  {"pc", "list"},
                                                  {"report", "list"},
                                                  {"lock", "list"},
                                                  {"report", "show", "Headcount"}}) {
    std::vector<std::string> arguments = command;
    arguments.insert(arguments.end(), {"--csv", "--json"});
    EXPECT_THAT(refused(arguments).err,
                StartsWith("tarnwick: --json excludes --csv\nSee tarnwick "));
  }
}

TEST_F(Listings, TellThePcsWithoutALoginForSomeTime) {
  sql("Update DW_SEC_PC Set LastLogin = 2 + julianday('now', 'localtime', '-1 minute') - "
      "2415020.5");
  sql("Update DW_SEC_PC Set LastLogin = LastLogin - 31 Where ComputerID = 'VEL-FIN-005'");
  sql("Update DW_SEC_PC Set LastLogin = LastLogin - 29 Where ComputerID = 'VEL-SAL-012'");
  sql("Update DW_SEC_PC Set LastLogin = Null Where MACNbr = (Select Max(MACNbr) From DW_SEC_PC)");
  EXPECT_EQ(listed({"pc", "list", "--idle", "30"}, "MACNumber"),
            column("Select MACNbr From DW_SEC_PC Where ComputerID = 'VEL-FIN-005' Or LastLogin Is "
                   "Null Order By MACNbr"));
  EXPECT_EQ(json({"pc", "list", "--idle", "0"}).size(), 64u);
  EXPECT_THAT(refused({"pc", "list", "--idle", "-1"}).err, StartsWith("tarnwick: --idle: "));
  EXPECT_THAT(refused({"pc", "list", "--idle", "soon"}).err, HasSubstr("--idle"));
}

TEST_F(Listings, TellThePcsOfAUserOrAVersion) {
  EXPECT_EQ(listed({"pc", "list", "--user", "velmar\\MDuval"}, "MACNumber"),
            column("Select MACNbr From DW_SEC_PC Where LastUser = 'VELMAR\\mduval' "
                   "Order By MACNbr"));
  const auto version = listed({"pc", "list", "--software-version", "4.2.0"}, "MACNumber");
  EXPECT_EQ(version, column("Select MACNbr From DW_SEC_PC Where SoftwareVersion = '4.2.0' "
                            "Order By MACNbr"));
  EXPECT_GT(version.size(), 1u);
  EXPECT_EQ(say({"pc", "list", "--user", "nobody"}), "None.\n");
  EXPECT_EQ(listed({"pc", "list", "--user", "velmar\\mduval", "--component", "10", "--inactive"},
                   "ComputerID"),
            column("Select ComputerID From DW_SEC_PC Where LastUser = 'VELMAR\\mduval' And "
                   "CompID = 10 And ActiveStatus = 0 Order By MACNbr"));
}

TEST_F(Listings, TellTheReportsOfAGroupOrAType) {
  EXPECT_THAT(listed({"report", "list", "--group", "FINANCE"}, "Name"),
              ElementsAre("Cost Centre Detail", "Dunning List", "Trial Balance"));
  sql("Update DW_Reports Set ReportType = '' Where ReportName = 'Headcount'");
  EXPECT_THAT(listed({"report", "list", "--type", "none"}, "Name"),
              ElementsAre("Headcount", "Load Protocol", "PC Register"));
  EXPECT_EQ(listed({"report", "list", "--type", "cry"}, "Name").size(), 9u);
  EXPECT_EQ(refused({"report", "list", "--type", "PDF"}).err,
            "tarnwick: --type: 'PDF' is not one of none, CRY.\nSee tarnwick report list --help.\n");
}

TEST_F(Listings, TellTheChildrenOfAComponent) {
  EXPECT_EQ(listed({"component", "list", "--parent", "10"}, "CompID"),
            column("Select CompID From DW_SEC_COMP Where ParentID = 10 Order By CompID"));
  EXPECT_EQ(
      listed({"component", "list", "--server", "VELMAR-dw2", "--report-code", "pca"}, "CompID"),
      column("Select CompID From DW_SEC_COMP Where Server = 'velmar-dw2' And "
             "RptCode = 'PCA' Order By CompID"));
  EXPECT_THAT(refused({"component", "list", "--parent", "x"}).err,
              StartsWith("tarnwick: --parent: 'x' is not a whole number from -32768 to 32767."));
}

TEST_F(Listings, AreSortedByAnyColumn) {
  EXPECT_EQ(listed({"pc", "list", "--sort", "totallogins"}, "MACNumber"),
            column("Select MACNbr From DW_SEC_PC Order By ifnull(TotalLogins, 0), MACNbr"));
  EXPECT_EQ(listed({"pc", "list", "--sort", "LastLogin", "--reverse"}, "MACNumber"),
            column("Select MACNbr From DW_SEC_PC Order By LastLogin Desc, MACNbr"));
  EXPECT_EQ(listed({"component", "list", "--reverse"}, "CompID"),
            column("Select CompID From DW_SEC_COMP Order By CompID Desc"));
  sql("Update DW_Reports Set Author = 'é' Where ReportName = 'Headcount'");
  sql("Update DW_Reports Set Author = 'É' Where ReportName = 'Open Orders'");
  const auto authors = listed({"report", "list", "--sort", "Author"}, "Name");
  EXPECT_THAT(std::vector(authors.end() - 2, authors.end()),
              ElementsAre("Headcount", "Open Orders"));
  EXPECT_EQ(lines_of(say({"pc", "list", "--sort", "TotalLogins", "--csv"})).size(), 65u);
}

TEST_F(Listings, RefuseAColumnBeforeAnythingIsConnected) {
  const Ending ending =
      run_with({{"TARNWICK_IN_PROCESS", "1"}}, {"lock", "list", "--sort", "Colour"});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err,
            "tarnwick: --sort: there is no column 'Colour', but Table, Row, HeldBy, Since, "
            "For, Process, Program, User, Session.\nSee tarnwick lock list --help.\n");
}

TEST_F(Listings, SortTheLocks) {
  Program first(start({"lock", "hold", "report", "Headcount"}));
  first.wait_for("locked.");
  Program second(start({"lock", "hold", "component", "10"}));
  second.wait_for("locked.");
  EXPECT_THAT(listed({"lock", "list", "--sort", "Row"}, "Row"), ElementsAre("10", "Headcount"));
  EXPECT_THAT(listed({"lock", "list", "--sort", "table"}, "Row"), ElementsAre("Headcount", "10"));
  EXPECT_THAT(lines_of(say({"lock", "list", "--sort", "Since", "--csv"})).size(), 3u);
}

TEST_F(Listings, TellWhetherAReportFileIsStoredAndHowLargeItIs) {
  sql("Update DW_Reports Set Report_Binary = zeroblob(100000) Where ReportName = 'Headcount'");
  sql("Update DW_Reports Set Report_Binary = x'' Where ReportName = 'Open Orders'");
  sql("Update DW_Reports Set Report_Binary = Null Where ReportName = 'Trial Balance'");
  for (const Json& report : json({"report", "list"})) {
    const std::string stored = value(
        "Select length(Report_Binary) From DW_Reports Where "
        "ReportName = '" +
        report["Name"].get<std::string>() + "'");
    EXPECT_EQ(report["FileSize"].dump(), stored == "NULL" ? "null" : stored);
  }
  EXPECT_EQ(listed({"report", "list", "--sort", "FileSize", "--reverse"}, "Name").front(),
            "Headcount");
  EXPECT_THAT(lines_of(say({"report", "list"}))[0], ::testing::EndsWith(" ReportType FileSize"));
  EXPECT_THAT(say({"report", "list", "--csv"}), HasSubstr(",FileSize\r\n"));
}

TEST_F(Listings, ReadNoReportFileToTellItsSize) {
  const std::string trace = (folder_.path() / "trace").string();
  say({"--trace", trace, "report", "list"});
  std::vector<std::string> opened;
  for (const std::string& line : lines_of(content_of(trace))) {
    if (line.find("Report_Binary") != std::string::npos) opened.push_back(line);
  }
  EXPECT_THAT(opened, ElementsAre("Open server forward-only read-only: Select ReportName, "
                                  "length(Report_Binary) As FileLength From DW_Reports "
                                  "Order By ReportName"));
}

}  // namespace
}  // namespace tarnwick::cli
