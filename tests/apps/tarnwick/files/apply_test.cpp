#include <algorithm>

#include "client/attributes.h"
#include "tests/apps/tarnwick/files/folder_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::StartsWith;

const char* const kNothing = "Nothing to do.\n";

/// The sample database and an export of it.
class Diff : public FolderTest {
 protected:
  void SetUp() override {
    FolderTest::SetUp();
    export_catalog();
  }
  [[nodiscard]] std::string versions() const {
    std::string all;
    for (const char* table : {"DW_SEC_COMP", "DW_SEC_PC", "DW_Reports"}) {
      all += value(std::string("Select group_concat(hex(RowVersion)) From ") + table) + ";";
    }
    return all;
  }

  static Json new_component(int id, int parent) {
    return {{"CompID", id},
            {"CompName", "New"},
            {"ParentID", parent},
            {"ForceDisplay", true},
            {"MaintType", 2}};
  }
  static Json new_pc(const std::string& computer, int component) {
    return {{"MACNbr", "02-00"},
            {"ComputerID", computer},
            {"CompID", component},
            {"MaintType", 5},
            {"ActiveStatus", true},
            {"ImageIndex", 10},
            {"LastLogin", "2026-01-02 03:04:05"}};
  }
};

TEST_F(Diff, OfAnExportIsNothing) {
  EXPECT_EQ(say({"diff", catalog().string()}), kNothing);
  EXPECT_EQ(json({"diff", catalog().string()}), (Json{{"Added", 0},
                                                      {"Changed", 0},
                                                      {"Deleted", 0},
                                                      {"LeftAlone", 0},
                                                      {"OnlyStored", 0},
                                                      {"NotWritten", 0},
                                                      {"Changes", Json::array()}}));
}

TEST_F(Diff, OfTheSamplesThemselvesIsNothingForNullIsReadAsNothing) {
  EXPECT_EQ(say({"diff", SAMPLES}), kNothing);
}

TEST_F(Diff, ShowsFieldByFieldWhatApplyWouldDo) {
  edit("components.json", [](Json& components) {
    components.push_back(new_component(900, 10));
    record(components, "CompID", 1)["CompName"] = "Sales";
    record(components, "CompID", 1)["Priority"] = 11;
    record(components, "CompID", 2)["MetaID"] = "MONEY";
  });
  edit("pcs.json", [](Json& pcs) { pcs.erase(pcs.begin()); });
  const std::string first_pc = value("Select ComputerID From DW_SEC_PC Order By MACNbr Limit 1");
  edit("reports.json", [](Json& reports) {
    auto& report = record(reports, "ReportName", "Open Orders");
    report["SQLStmnt"] = report["SQLStmnt"].get<std::string>() + " Desc";
    report["Created"] = "2026-11-22";
  });
  folder_.write("catalog/reports/open-orders.ttx", "other");
  const std::string before = versions();
  const std::string shown = say({"diff", catalog().string()});
  EXPECT_THAT(lines_of(shown),
              IsSupersetOf({
                  "Component 900 would be added.",
                  "  CompName: 'New'",
                  "  ParentID: '10'",
                  "  ForceDisplay: 'true'",
                  "Component 1 would be changed: CompName, Priority.",
                  "  CompName: 'Sales Warehouse' -> 'Sales'",
                  "  Priority: '10' -> '11'",
                  "Component 2 left as it is. Not written: MetaID.",
                  "  MetaID: 'FIN' -> 'MONEY' (not written)",
                  "Report 'Open Orders' would be changed: Created, SQLStmnt, TTX_Binary.",
                  "  Created: '2022-04-02 11:05:00' -> '2026-11-22 00:00:00'",
                  "Would be done: 1 added, 2 changed, 1 deleted.",
                  "1 value not written by the object model.",
              }));
  EXPECT_THAT(shown, HasSubstr("PC " + first_pc + " ("));
  EXPECT_THAT(shown, HasSubstr(" would be deleted with --prune.\n"));
  EXPECT_THAT(shown,
              HasSubstr("  SQLStmnt: '…tomerName, o.DueDate' -> '…tomerName, o.DueDate Desc'\n"));
  EXPECT_THAT(shown, HasSubstr(" bytes' -> '5 bytes'\n"));
  EXPECT_EQ(versions(), before);

  const Json all = json({"diff", catalog().string()});
  EXPECT_EQ(all["Changed"], 2);
  Json changes = all["Changes"];
  ASSERT_EQ(changes.size(), 5u);
  EXPECT_EQ(changes[0]["Class"], "Component");
  EXPECT_EQ(changes[0]["Key"], (Json{{"CompID", 900}}));
  EXPECT_EQ(changes[0]["Action"], "add");
  const Json& leave = record(changes, "Action", "leave");
  EXPECT_EQ(
      leave["Fields"],
      Json::array(
          {{{"Field", "MetaID"}, {"Stored", "FIN"}, {"Wanted", "MONEY"}, {"Written", false}}}));
}

TEST_F(Diff, KnowsReportFilesByTheirContent) {
  folder_.write("catalog/reports/headcount.rpt",
                std::string(content_of(catalog() / "reports/headcount.rpt").size(), 'x'));
  edit("reports.json", [](Json& reports) {
    record(reports, "ReportName", "Open Orders")["Report_Binary"] = nullptr;
    record(reports, "ReportName", "Load Protocol")["Report_Binary"] = "headcount.rpt";
  });
  const std::string shown = say({"diff", catalog().string()});
  EXPECT_THAT(shown, HasSubstr("Report 'Headcount' would be changed: Report_Binary.\n"));
  EXPECT_THAT(shown, HasSubstr(" other bytes'\n"));
  EXPECT_THAT(shown, HasSubstr("Report 'Load Protocol' would be changed: Report_Binary.\n"));
  EXPECT_THAT(shown, HasSubstr("Report 'Open Orders' left as it is. Not written: Report_Binary."));
}

class Apply : public Diff {
 protected:
  [[nodiscard]] std::string apply(std::vector<std::string> more = {}) const {
    more.insert(more.begin(), {"apply", catalog().string()});
    return say(more);
  }
  [[nodiscard]] Ending try_apply(std::vector<std::string> more = {}) const {
    more.insert(more.begin(), {"apply", catalog().string()});
    return run(more);
  }
  void expect_applied() const {
    const auto again = folder_.path() / "again";
    say({"export", again.string()});
    for (const char* name : {"components.json", "pcs.json", "reports.json"}) {
      EXPECT_EQ(sorted(Json::parse(content_of(again / name))), sorted(document(name))) << name;
    }
  }
  static std::vector<std::string> sorted(const Json& records) {
    std::vector<std::string> all;
    for (const Json& each : records) all.push_back(each.dump());
    std::ranges::sort(all);
    return all;
  }
};

TEST_F(Apply, OfAnExportDoesNothing) {
  const std::string before = versions();
  EXPECT_EQ(apply(), kNothing);
  EXPECT_EQ(apply({"--prune"}), kNothing);
  EXPECT_EQ(apply({"--dry-run"}), kNothing);
  EXPECT_EQ(versions(), before);
}

TEST_F(Apply, MakesTheDatabaseWhatTheFolderSaysAndHasNothingToDoThen) {
  edit("components.json", [](Json& components) {
    // A child before its parent.
    components.push_back(new_component(900, 901));
    components.push_back(new_component(901, 10));
    record(components, "CompID", 1)["CompName"] = "Größe";
    record(components, "CompID", 2)["RptCode"] = "PCA";
    components.erase(std::ranges::find(components, 100,
                                       [](const Json& each) { return each["CompID"].get<int>(); }));
  });
  edit("pcs.json", [](Json& pcs) {
    pcs.at(1)["TotalLogins"] = 9999;
    pcs.at(1)["LastLogin"] = "2026-11-22 07:00:00";
    pcs.erase(pcs.begin());
    pcs.push_back(new_pc("NEW-PC", 901));
  });
  edit("reports.json", [](Json& reports) {
    record(reports, "ReportName", "Headcount")["Title"] = "";
    record(reports, "ReportName", "Dunning List")["TTX_Binary"] = "headcount.ttx";
    Json report = record(reports, "ReportName", "Open Orders");
    report["ReportName"] = "Z New";
    report["SQLStmnt"] = "Select 1\nFrom \"x\"\r\n";
    report["Report_Binary"] = "z.bin";
    reports.push_back(report);
    reports.erase(std::ranges::find(reports, "Open Orders", [](const Json& each) {
      return each["ReportName"].get<std::string>();
    }));
  });
  folder_.write("catalog/reports/z.bin", std::string("\0\r\n\xFF", 4));
  folder_.write("catalog/reports/trial-balance.rpt", "");

  const std::string done = apply({"--prune"});
  EXPECT_THAT(
      lines_of(done),
      IsSupersetOf(
          {"Component 901 added.", "Component 900 added.", "Component 1 changed: CompName.",
           "Component 2 changed: RptCode.", "Report 'Z New' added.",
           "Report 'Headcount' changed: Title.", "Report 'Dunning List' changed: TTX_Binary.",
           "Report 'Trial Balance' changed: Report_Binary.", "Report 'Open Orders' deleted.",
           "Component 100 deleted.", "4 added, 6 changed, 3 deleted."}));
  EXPECT_LT(done.find("Component 901 added."), done.find("Component 900 added."));
  EXPECT_LT(done.find("Component 900 added."), done.find("PC NEW-PC (02-00) of component 901"));
  EXPECT_LT(done.find("Report 'Z New' added."), done.find("Report 'Open Orders' deleted."));
  EXPECT_EQ(apply({"--prune"}), kNothing);
  EXPECT_EQ(say({"diff", catalog().string()}), kNothing);
  EXPECT_EQ(value("Select CompName From DW_SEC_COMP Where CompID = 1"), "Größe");
  EXPECT_EQ(value("Select Report_Binary From DW_Reports Where ReportName = 'Z New'"), "000D0AFF");
  EXPECT_EQ(value("Select length(Report_Binary) From DW_Reports Where ReportName = "
                  "'Trial Balance'"),
            "0");
  EXPECT_EQ(value("Select Count(*) From DW_SEC_PC"), "64");
  EXPECT_EQ(value("Select Count(*) From DW_SEC_COMP Where CompID = 100"), "0");
}

TEST_F(Apply, FillsAnEmptyDatabaseButForWhatTheObjectModelDoesNotWrite) {
  sql("Delete From DW_SEC_COMP; Delete From DW_SEC_PC; Delete From DW_Reports");
  const std::string done = apply();
  EXPECT_THAT(done, HasSubstr("Component 1 added. Not written: MetaID, AuthorizedRole.\n"));
  EXPECT_THAT(done, HasSubstr("118 added, 0 changed, 0 deleted.\n"));
  EXPECT_EQ(value("Select Count(*) From DW_SEC_COMP Where MetaID <> ''"), "0");
  const std::string again = apply();
  EXPECT_THAT(again, StartsWith("Component 1 left as it is. Not written: MetaID"));
  EXPECT_THAT(again, HasSubstr(std::string("\n") + kNothing));
}

TEST_F(Apply, DeletesChildrenBeforeTheirParentsAndNothingWithoutPrune) {
  edit("components.json", [](Json& components) {
    for (const int id : {10, 100, 101}) {
      components.erase(std::ranges::find(
          components, id, [](const Json& each) { return each["CompID"].get<int>(); }));
    }
  });
  const std::string before = versions();
  EXPECT_EQ(apply(),
            "Nothing to do.\n3 records not in the folder, to be deleted by apply --prune.\n");
  EXPECT_EQ(apply({"--prune", "--dry-run"}),
            "Component 101 would be deleted with --prune.\n"
            "Component 100 would be deleted with --prune.\n"
            "Component 10 would be deleted with --prune.\n"
            "Would be done: 0 added, 0 changed, 3 deleted.\n");
  EXPECT_EQ(versions(), before);
  EXPECT_EQ(apply({"--prune"}),
            "Component 101 deleted.\nComponent 100 deleted.\nComponent 10 deleted.\n"
            "0 added, 0 changed, 3 deleted.\n");
  expect_applied();
}

TEST_F(Apply, TellsMachinesWhatBecameOfEachChange) {
  edit("reports.json",
       [](Json& reports) { record(reports, "ReportName", "Headcount")["Title"] = "Heads"; });
  const Json done = json({"apply", catalog().string()});
  EXPECT_EQ(done["Changed"], 1);
  EXPECT_EQ(done["Changes"][0],
            (Json{{"Class", "Report"},
                  {"Key", {{"ReportName", "Headcount"}}},
                  {"Action", "change"},
                  {"Outcome", "done"},
                  {"Fields", Json::array({{{"Field", "Title"},
                                           {"Stored", "Headcount by Department"},
                                           {"Wanted", "Heads"},
                                           {"Written", true}}})}}));
}

TEST_F(Apply, ChangesTheLettersOfAKey) {
  edit("reports.json", [](Json& reports) {
    record(reports, "ReportName", "Headcount")["ReportName"] = "HEADCOUNT";
  });
  edit("pcs.json", [](Json& pcs) {
    auto name = pcs.at(0)["ComputerID"].get<std::string>();
    name[0] = 'v';
    pcs.at(0)["ComputerID"] = name;
  });
  EXPECT_THAT(apply({"--prune"}), HasSubstr("0 added, 2 changed, 0 deleted.\n"));
  expect_applied();
  EXPECT_EQ(value("Select Count(*) From DW_Reports"), "12");
}

// Every field of every class, whatever the tables say it is.
TEST_F(Apply, OfNothingButEmptyValuesHasNothingToDoTheSecondTime) {
  const std::map<std::string, automation::ClassId> classes{
      {"components.json", automation::ClassId::kComponent},
      {"pcs.json", automation::ClassId::kRegisteredPC},
      {"reports.json", automation::ClassId::kReport}};
  for (const auto& its : classes) {
    const auto& name = its.first;
    const automation::ClassId record_class = its.second;
    edit(name, [&](Json& records) {
      Json added = Json::object();
      for (const auto& attribute : client::attributes_of(record_class)) {
        const std::string column = to_utf8(attribute.column);
        if (column == "SoftLock" || column == "RowVersion" || attribute.key) continue;
        const bool number = std::holds_alternative<std::int16_t>(attribute.zero) ||
                            std::holds_alternative<std::int32_t>(attribute.zero) ||
                            std::holds_alternative<MaintTypeEnum>(attribute.zero);
        const bool truth = std::holds_alternative<bool>(attribute.zero);
        const bool date = std::holds_alternative<Date>(attribute.zero);
        Json nothing = "";  // texts, and codes
        if (number) nothing = 0;
        if (truth) nothing = false;
        if (date || attribute.form == Form::kOwn) nothing = nullptr;
        records.at(0)[column] = nothing;
        added[column] = nothing;
      }
      if (name == "reports.json") records.at(0)["Report_Binary"] = nullptr;
      if (name == "components.json") added["CompID"] = 900;
      if (name == "reports.json") added["ReportName"] = "Nothing";
      if (name == "pcs.json") added.update({{"MACNbr", "0"}, {"ComputerID", "0"}, {"CompID", 900}});
      records.push_back(added);
    });
  }
  const std::string done = apply();
  EXPECT_THAT(done, HasSubstr("3 added, 3 changed, 0 deleted.\n"));
  const std::string again = apply();
  EXPECT_THAT(again, HasSubstr(kNothing));
  EXPECT_THAT(again, HasSubstr("Not written: "));
}

TEST_F(Apply, TakesARegisterOutOfASpreadsheet) {
  std::filesystem::remove(catalog() / "pcs.json");
  folder_.write("catalog/pcs.csv", "");
  export_catalog();
  std::string table = content_of(catalog() / "pcs.csv");
  table += "02-00,\"NEW, PC\",10,5,TRUE,10,,2026-11-22,,,,,,\r\n";
  folder_.write("catalog/pcs.csv", "\xEF\xBB\xBF" + table);
  EXPECT_EQ(apply(), "PC NEW, PC (02-00) of component 10 added.\n1 added, 0 changed, 0 deleted.\n");
  EXPECT_EQ(apply(), kNothing);
}

TEST_F(Apply, LeavesWhatAnotherProcessMaintainsAndDoesTheRest) {
  edit("reports.json", [](Json& reports) {
    for (const char* name : {"Headcount", "Open Orders"}) {
      record(reports, "ReportName", name)["Title"] = "Mine";
    }
  });
  {
    Program holder(start({"lock", "hold", "report", "Headcount"}));
    holder.wait_for("Report 'Headcount' locked. Press Enter to release it.\n");
    Ending ending = try_apply({"--prune"});
    EXPECT_EQ(ending.exit_code, 4);
    EXPECT_EQ(ending.out,
              "Report 'Headcount' left alone: another process maintains it.\n"
              "Report 'Open Orders' changed: Title.\n"
              "0 added, 1 changed, 0 deleted.\n"
              "1 record left alone: changed or maintained by someone else.\n");
    EXPECT_THAT(ending.err, HasSubstr("tarnwick: Not all was done: try again later.\n"));
    ending = try_apply({"--dry-run"});
    EXPECT_EQ(ending.exit_code, 4);
    EXPECT_THAT(ending.err, HasSubstr("tarnwick: Cannot load the reports.\n"));
    holder.type("\n");
    holder.wait_for("Report 'Headcount' released.\n");
  }
  EXPECT_EQ(apply(), "Report 'Headcount' changed: Title.\n0 added, 1 changed, 0 deleted.\n");
}

TEST_F(Apply, LeavesWhatSomebodyElseDidMeanwhile) {
  edit("components.json", [](Json& components) {
    components.push_back(new_component(900, 10));
    record(components, "CompID", 1)["CompName"] = "Mine";
    record(components, "CompID", 2)["CompName"] = "Mine";
    record(components, "CompID", 3)["CompName"] = "Mine";
  });
  edit("pcs.json", [](Json& pcs) {
    pcs.at(0)["LastUser"] = "Mine";
    pcs.erase(1);
  });
  edit("reports.json",
       [](Json& reports) { record(reports, "ReportName", "Headcount")["Title"] = "Mine"; });
  Program holder(start({"lock", "hold", "report", "Headcount"}));
  holder.wait_for("Report 'Headcount' locked. Press Enter to release it.\n");
  // It has read components and PCs when it waits for the report.
  Start waiting = start({"--when-locked", "retry:1000", "apply", catalog().string(), "--prune"});
  Program apply(waiting);
  apply.wait_for_complaint(" Answered: Retry (1 of 1000).\n");
  sql("Update DW_SEC_COMP Set CompName = 'Theirs' Where CompID = 1;"
      "Delete From DW_SEC_COMP Where CompID = 2;"
      "Insert Into DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType) "
      "Values (900, 'Theirs', 0, 1);"
      "Update DW_SEC_PC Set LastUser = 'Theirs'");
  holder.type("\n");
  const Ending ending = apply.end();
  EXPECT_EQ(ending.exit_code, 3);
  EXPECT_THAT(ending.err, HasSubstr("tarnwick: Not all was done: look at it, and try again.\n"));
  const auto lines = lines_of(ending.out);
  EXPECT_THAT(lines,
              IsSupersetOf({"Component 900 left alone: someone else changed it meanwhile.",
                            "Component 1 left alone: someone else changed it meanwhile.",
                            "Component 2 left alone: someone else changed it meanwhile.",
                            "Component 3 changed: CompName.", "Report 'Headcount' changed: Title.",
                            "0 added, 2 changed, 0 deleted.",
                            "5 records left alone: changed or maintained by someone else."}));
  EXPECT_EQ(value("Select CompName From DW_SEC_COMP Where CompID = 1"), "Theirs");
  EXPECT_EQ(value("Select CompName From DW_SEC_COMP Where CompID = 900"), "Theirs");
  EXPECT_EQ(value("Select Count(*) From DW_SEC_COMP Where CompID = 2"), "0");
  EXPECT_EQ(value("Select Count(*) From DW_SEC_PC Where LastUser = 'Theirs'"), "64");
}

TEST_F(Apply, RefusesKeysThatCannotBeMaintainedBeforeItWritesAnything) {
  edit("reports.json", [](Json& reports) {
    record(reports, "ReportName", "Headcount")["Title"] = "Mine";
    reports.push_back({{"ReportName", "O'Brien"}});
  });
  const std::string before = versions();
  Ending ending = try_apply();
  EXPECT_EQ(ending.exit_code, 2);
  EXPECT_EQ(ending.out, "");
  EXPECT_THAT(ending.err, StartsWith("tarnwick: \"O'Brien\" holds a single quote (')"));
  edit("reports.json", [](Json& reports) { reports.back()["ReportName"] = ""; });
  ending = try_apply();
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.err,
            "tarnwick: Report '' cannot be maintained: its ReportName is empty. Nothing was "
            "changed.\n");
  EXPECT_EQ(versions(), before);
}

TEST_F(Apply, LeavesARecordWithAQuoteInItsNameThatDoesNotDiffer) {
  sql("Insert Into DW_Reports (ReportName, Report_Binary) Values ('O''Brien', x'0102')");
  export_catalog();
  EXPECT_EQ(apply({"--prune"}), kNothing);
}

TEST_F(Apply, EndsAtWhatTheDatabaseRefusesAndTellsWhatItDid) {
  edit("reports.json", [](Json& reports) {
    for (const char* name : {"Headcount", "Open Orders", "Trial Balance"}) {
      record(reports, "ReportName", name)["Title"] = "Mine";
    }
  });
  sql("Create Trigger Refuse Before Update On DW_Reports When NEW.ReportName = 'Open Orders' "
      "Begin Select Raise(Abort, 'not this one'); End");
  const Ending ending = try_apply();
  EXPECT_EQ(ending.exit_code, 1);
  EXPECT_EQ(ending.out, "Report 'Headcount' changed: Title.\n");
  EXPECT_THAT(ending.err, HasSubstr("not this one"));
  EXPECT_NE(value("Select Title From DW_Reports Where ReportName = 'Trial Balance'"), "Mine");
}

TEST_F(Apply, ChangesNothingForAFolderThatMakesNoSense) {
  edit("reports.json",
       [](Json& reports) { record(reports, "ReportName", "Headcount")["Title"] = 5; });
  const std::string before = versions();
  for (const char* command : {"apply", "diff"}) {
    const Ending ending = run({command, catalog().string()});
    EXPECT_EQ(ending.exit_code, 1);
    EXPECT_EQ(ending.out, "");
    EXPECT_THAT(ending.err, StartsWith("tarnwick: The file '" +
                                       (catalog() / "reports.json").string() + "', line "));
    EXPECT_THAT(ending.err, HasSubstr(": Title is 5, but must be a text.\n"));
  }
  const Ending missing = run({"apply", (folder_.path() / "none").string()});
  EXPECT_EQ(missing.exit_code, 1);
  EXPECT_EQ(missing.err,
            "tarnwick: The folder '" + (folder_.path() / "none").string() + "' does not exist.\n");
  EXPECT_EQ(run({"apply"}).exit_code, 2);
  EXPECT_EQ(versions(), before);
}

}  // namespace
}  // namespace tarnwick::cli
