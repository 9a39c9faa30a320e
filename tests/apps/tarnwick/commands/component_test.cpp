#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ComponentCommands : public CommandLineTest {};

TEST_F(ComponentCommands, ListAllById) {
  const auto lines = lines_of(say({"component", "list"}));
  ASSERT_EQ(lines.size(), 43u);
  EXPECT_EQ(lines[0],
            "CompID Name                    ParentID Priority MaintenanceType  ReportCode "
            "SecurityGroup       ServerName  MetaID");
  EXPECT_EQ(lines[1],
            "     1 Sales Warehouse                0       10 Component                   "
            "DW Sales Users      velmar-dw1  SALES");
  EXPECT_THAT(lines[42], HasSubstr("   601 Cube Server "));
}

TEST_F(ComponentCommands, ListAllWithAllPropertiesAsJson) {
  const Json list = json({"component", "list"});
  ASSERT_EQ(list.size(), 42u);
  const std::string version = value("Select hex(RowVersion) From DW_SEC_COMP Where CompID = 22");
  EXPECT_EQ(list[13], Json::parse(R"({"CompID": 22, "Name": "Receivables Monitor", "ParentID": 2,
      "Priority": 30, "ImageIndex": 3, "ForceDisplay": false,
      "MaintenanceType": "ComponentWithPCs", "SecurityGroup": "DW Finance Users",
      "ReportCode": "PCA", "ServerName": "velmar-dw1", "MetaID": "FIN.AR",
      "AuthorizedRole": "dw_finance", "RowVersion": ")" +
                                  version + "\"}"));
}

TEST_F(ComponentCommands, ShowTheTreeWithSiblingsByPriority) {
  sql("Delete From DW_SEC_COMP Where CompID Not In (1, 10, 11, 100, 102, 6)");
  sql("Update DW_SEC_COMP Set SecGrpID = 'G'");
  EXPECT_EQ(say({"component", "tree"}),
            "Name                     CompID Priority MaintenanceType  ReportCode SecurityGroup "
            "ServerName\n"
            "Sales Warehouse               1       10 Component                   G             "
            "velmar-dw1\n"
            "├─Order Analysis             10       10 ComponentWithPCs PC         G             "
            "velmar-dw1\n"
            "│ ├─Orders by Region        100       10 ComponentWithPCs PC         G             "
            "velmar-dw1\n"
            "│ └─Open Orders             102       30 ComponentWithPCs PC         G             "
            "velmar-dw1\n"
            "└─Customer Profitability     11       20 ComponentWithPCs PC         G             "
            "velmar-dw1\n"
            "Administration                6       90 NotDefined                  G             "
            "\n");
}

TEST_F(ComponentCommands, NestTheTreeAsJson) {
  const Json tree = json({"component", "tree"});
  ASSERT_EQ(tree.size(), 6u);
  EXPECT_EQ(tree[0]["Name"], "Sales Warehouse");
  EXPECT_EQ(tree[0]["Children"][0]["Name"], "Order Analysis");
  EXPECT_EQ(tree[0]["Children"][0]["Children"][2]["CompID"], 102);
  EXPECT_EQ(tree[0]["Children"][0]["Children"][2]["Children"], Json::array());
}

TEST_F(ComponentCommands, ShowOne) {
  const std::string version = value("Select hex(RowVersion) From DW_SEC_COMP Where CompID = 32");
  EXPECT_EQ(say({"component", "show", "32"}),
            "CompID           32\n"
            "Name             Carrier Scorecard\n"
            "ParentID         3\n"
            "Priority         30\n"
            "ImageIndex       1\n"
            "ForceDisplay     no\n"
            "MaintenanceType  ComponentWithPCs\n"
            "SecurityGroup\n"
            "ReportCode       PCA\n"
            "ServerName       velmar-dw2\n"
            "MetaID           LOG.SHIP\n"
            "AuthorizedRole\n"
            "RowVersion       " +
                version + "\n");
  EXPECT_EQ(say({"component", "show", "32", "--field", "metaid"}), "LOG.SHIP\n");
  EXPECT_EQ(json({"component", "show", "32", "--field", "Priority"}), 30);
}

TEST_F(ComponentCommands, RefuseAnUnknownField) {
  const Ending ending = run({"component", "show", "32", "--field", "Colour"});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: There is no field 'Colour'.\n");
}

TEST_F(ComponentCommands, AddAComponent) {
  EXPECT_EQ(say({"component",
                 "add",
                 "103",
                 "--name",
                 "Rücksendungen",
                 "--parent",
                 "10",
                 "--priority",
                 "40",
                 "--report-code",
                 "pca",
                 "--maintenance-type",
                 "componentwithpcs",
                 "--security-group",
                 "DW Sales Users",
                 "--server",
                 "velmar-dw1",
                 "--force-display",
                 "yes",
                 "--image",
                 "0"}),
            "Component 103 written.\n");
  EXPECT_THAT(
      sql("Select CompName, ParentID, Priority, ImageIndex, ForceDisplay, MaintType, "
          "SecGrpID, RptCode, Server, MetaID, SoftLock From DW_SEC_COMP Where CompID = 103"),
      ElementsAre(ElementsAre("Rücksendungen", "10", "40", "1", "1", "3", "DW Sales Users", "PCA",
                              "velmar-dw1", "NULL", "")));
}

TEST_F(ComponentCommands, DoNotAddOneThatIsThere) {
  const Ending ending = run({"component", "add", "10", "--name", "Another"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err, "tarnwick: Component 10 exists already.\n");
  EXPECT_EQ(value("Select CompName From DW_SEC_COMP Where CompID = 10"), "Order Analysis");
}

TEST_F(ComponentCommands, SetWhatIsNamedAndKeepTheRest) {
  const auto before = sql("Select * From DW_SEC_COMP Where CompID = 12").at(0);
  EXPECT_EQ(say({"component", "set", "12", "--priority", "31"}),
            "Component 12 written.\n  Priority: '30' -> '31'\n");
  const auto after = sql("Select * From DW_SEC_COMP Where CompID = 12").at(0);
  // Priority, SoftLock (null before) and RowVersion.
  for (std::size_t column = 0; column < before.size(); ++column) {
    if (column == 3 || column == 12 || column == 13) continue;
    EXPECT_EQ(after[column], before[column]) << column;
  }
  EXPECT_EQ(after[3], "31");
  EXPECT_NE(after[13], before[13]);
}

TEST_F(ComponentCommands, TellTheRowVersionBeforeAndAfter) {
  const std::string version = "Select hex(RowVersion) From DW_SEC_COMP Where CompID = 12";
  const std::string before = value(version);
  const std::string out = say({"component", "update", "12", "--name", "Prices", "-v"});
  EXPECT_EQ(out,
            "Component 12 written.\n  Name: 'Price List Explorer' -> 'Prices'\n"
            "  row version " +
                before + " -> " + value(version) + "\n");
}

TEST_F(ComponentCommands, PrintTheRowThatWasWrittenAsJson) {
  const Json row = json({"component", "set", "12", "--name", "Prices"});
  EXPECT_EQ(row["Name"], "Prices");
  EXPECT_EQ(row["RowVersion"], value("Select hex(RowVersion) From DW_SEC_COMP Where CompID = 12"));
}

TEST_F(ComponentCommands, RefuseValuesThatDoNotFit) {
  const auto refused = [&](const std::string& option, const std::string& text) {
    const Ending ending = run({"component", "set", "12", option, text});
    EXPECT_EQ(ending.exit_code, 2) << option;
    return ending.err;
  };
  EXPECT_EQ(refused("--priority", "32768"),
            "tarnwick: --priority: '32768' is not a whole number from -32768 to 32767.\n");
  EXPECT_EQ(refused("--priority", "3x"),
            "tarnwick: --priority: '3x' is not a whole number from -32768 to 32767.\n");
  EXPECT_EQ(refused("--force-display", "maybe"),
            "tarnwick: --force-display: 'maybe' is not yes or no.\n");
  EXPECT_EQ(refused("--report-code", "XYZ"),
            "tarnwick: --report-code: 'XYZ' is not one of none, PC, PCA, CRY.\n");
  EXPECT_EQ(refused("--name", "\xff"), "tarnwick: --name: the text is not UTF-8.\n");
  EXPECT_EQ(value("Select Priority From DW_SEC_COMP Where CompID = 12"), "30");
}

TEST_F(ComponentCommands, RefuseToSetNothing) {
  const Ending ending = run({"component", "set", "12"});
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.err, "tarnwick: Nothing to set: name a field and its value.\n");
}

TEST_F(ComponentCommands, DeleteAComponentAndLeaveItsPcs) {
  EXPECT_EQ(say({"component", "delete", "10"}), "Component 10 deleted.\n");
  EXPECT_EQ(value("Select Count(*) From DW_SEC_COMP"), "41");
  EXPECT_EQ(value("Select Count(*) From DW_SEC_COMP Where CompID = 10"), "0");
  EXPECT_EQ(value("Select Count(*) From DW_SEC_PC Where CompID = 10"), "3");
}

TEST_F(ComponentCommands, SayThatThereIsNoSuchComponent) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"component", "show", "999"},
        {"component", "set", "999", "--priority", "1"},
        {"component", "delete", "999"},
        {"pc", "list", "--component", "999"}}) {
    const Ending ending = run(arguments);
    EXPECT_EQ(ending.exit_code, 5);
    EXPECT_EQ(ending.err, "tarnwick: Component 999 does not exist.\n");
    EXPECT_THAT(ending.out, IsEmpty());
  }
}

TEST_F(ComponentCommands, ShowControlCharactersHarmlessly) {
  sql("Update DW_SEC_COMP Set CompName = 'a' || char(27) || '[2J' || char(10) || 'b' || char(155) "
      "Where CompID = 12");
  EXPECT_THAT(say({"component", "tree"}), HasSubstr("├─a\\x1b[2J\\x0ab\\x9b "));
  EXPECT_EQ(json({"component", "show", "12"})["Name"], "a\x1b[2J\nb\xc2\x9b");
}

TEST_F(ComponentCommands, ListWhatCanBeLoadedAndFailForTheRest) {
  sql("PRAGMA writable_schema = 1; "
      "Update sqlite_schema Set sql = replace(sql, 'MaintType INT NOT NULL', 'MaintType INT') "
      "Where name = 'DW_SEC_COMP'");
  sql("Update DW_SEC_COMP Set MaintType = NULL Where CompID = 12");
  const Ending ending = run({"component", "list", "--json"});
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(Json::parse(ending.out).size(), 41u);
  EXPECT_EQ(ending.err,
            "tarnwick: Cannot load some of the rows.\n"
            "Error in Component: 'General', Proceedure: 'RefreshComponent'.\n"
            "Error #:    \t94\nDescription:\tInvalid use of Null\n");
}

}  // namespace
}  // namespace tarnwick::cli
