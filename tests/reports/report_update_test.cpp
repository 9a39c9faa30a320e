#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reports/report_fixture.h"
#include "tests/support/unreadable_file.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::hexadecimal;
using test_support::kOpenSales;
using test_support::kWriteWithoutPayloads;
using test_support::raised;
using test_support::ServerProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TextView kStamp = u"Update SoftLock";

class ReportUpdate : public test_support::ReportTest {
 protected:
  std::shared_ptr<Report> new_report(TextView name) {
    NewReport values;
    values.report_name = name;
    return reports().add(values);
  }
};

TEST_F(ReportUpdate, WritesEveryColumn) {
  const auto sales = report(u"Sales");
  sales->set_title(u"t");
  sales->set_author(u"a");
  sales->set_created(Date{2.5});
  sales->set_version(u"v");
  sales->set_report_group_id(u"g");
  sales->set_image_index(-3);
  sales->set_sql(u"s");
  sales->set_ttx(u"\u00E9");
  sales->set_report_type(None_rt);
  sales->set_description(u"d");
  sales->set_maintenance_type(PCReg_mt);
  sales->set_definition(u"f");
  EXPECT_EQ(sales->update(), OK_ue) << to_display_utf8(message());
  EXPECT_THAT(database_.run("SELECT ReportName, Title, Author, Created, Version, RptGrpID,"
                            "  ImageIndex, SQLStmnt, TTX_Binary, ReportType, ReportDesc,"
                            "  MaintType, Definition, SoftLock, Report_Binary"
                            "  FROM DW_Reports WHERE ReportName = 'Sales'"),
              ElementsAre(ElementsAre("Sales", "t", "a", "2.5", "v", "g", "-3", "s", "E9", "", "d",
                                      "5", "f", "", "00FF0D0A")));
  EXPECT_FALSE(sales->changed());
  EXPECT_FALSE(sales->locked());
  EXPECT_FALSE(state().connection->in_transaction());
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ReportUpdate, IsOneTransactionThatStampsWritesAndCommits) {
  const auto stock = report(u"Stock");
  const std::string before = database_.value("SELECT max(RowVersion) FROM DW_Reports");
  stock->set_title(u"new");
  EXPECT_EQ(stock->update(), OK_ue);
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Begin",
                          u"Open server dynamic pessimistic: Select * From DW_Reports Where "
                          u"ReportName = 'Stock'",
                          kStamp, kWriteWithoutPayloads, u"Commit"));
  EXPECT_GT(database_.value("SELECT RowVersion FROM DW_Reports WHERE ReportName = 'Stock'"),
            before);
}

TEST_F(ReportUpdate, WritesThePayloadsThatThereAre) {
  const auto file = files_.write("sales.rpt", "new file");
  EXPECT_EQ(report(u"Sales")->update(from_utf8(file.string())), OK_ue);
  EXPECT_THAT(
      process_.trace(),
      ElementsAre(u"Begin", kOpenSales, kStamp,
                  join({kWriteWithoutPayloads, u", TTX_Binary, Report_Binary"}), u"Commit"));
  EXPECT_EQ(stored("Report_Binary"), hexadecimal("new file"));
}

TEST_F(ReportUpdate, WritesThroughTheRowThatItHolds) {
  const auto stock = report(u"Stock");
  ASSERT_TRUE(stock->lock_record());
  (void)process_.trace();
  EXPECT_EQ(stock->update(), OK_ue);
  EXPECT_THAT(process_.trace(), ElementsAre(kWriteWithoutPayloads, u"Commit"));
  EXPECT_FALSE(stock->locked());
}

TEST_F(ReportUpdate, IsDoneByAnObjectThatWasNotChangedToo) {
  const auto stock = report(u"Stock");
  ASSERT_FALSE(stock->changed());
  EXPECT_EQ(stock->update(), OK_ue);
  EXPECT_EQ(process_.trace().size(), 5u);
}

TEST_F(ReportUpdate, StampsTheRowWithComputerAndTimeUntilItIsWritten) {
  Text stamp;
  process_.recorder.before_step = [&](TextView line) {
    if (line.starts_with(u"Update ReportName")) stamp = state().connection->held_rows().at(0).stamp;
  };
  EXPECT_EQ(report(u"Sales")->update(), OK_ue);
  EXPECT_EQ(stamp, join({u"DESK-1 - ", test_support::ScriptedHost::kNowText}));
  EXPECT_EQ(stored("SoftLock"), "");
}

TEST_F(ReportUpdate, LeavesLockAndRowVersionOfTheObjectAsTheyWereLoaded) {
  const auto sales = report(u"Sales");
  const Text version = sales->row_version();
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_EQ(sales->row_version(), version);
  EXPECT_EQ(sales->soft_lock(), u"somebody");
  EXPECT_NE(to_utf8(version), stored("RowVersion"));
}

TEST_F(ReportUpdate, HasToBeLoadedAnewBeforeTheNext) {
  const auto sales = report(u"Sales");
  ASSERT_EQ(sales->update(), OK_ue);
  EXPECT_EQ(sales->update(), RecordChanged_ue);
  EXPECT_TRUE(sales->release_record());
  load();
  EXPECT_EQ(report(u"Sales")->update(), OK_ue);
}

TEST_F(ReportUpdate, CanFollowAnotherOneThroughALock) {
  const auto sales = report(u"Sales");
  ASSERT_EQ(sales->update(), OK_ue);
  ASSERT_TRUE(sales->lock_record());
  sales->set_title(u"again");
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_EQ(stored("Title"), "again");
}

TEST_F(ReportUpdate, InsertsANewReportWithItsDefaults) {
  const auto added = new_report(u"New");
  (void)process_.trace();
  EXPECT_EQ(added->update(), OK_ue);
  EXPECT_EQ(added->version(), u"1.0.0");
  EXPECT_EQ(added->created(), test_support::ScriptedHost::kNow);
  EXPECT_FALSE(added->changed());
  EXPECT_FALSE(added->locked());
  EXPECT_THAT(
      database_.run("SELECT Title, Author, Version, RptGrpID, ImageIndex, SQLStmnt,"
                    "  ReportType, ReportDesc, MaintType, SoftLock, Definition, TTX_Binary,"
                    "  Report_Binary FROM DW_Reports WHERE ReportName = 'New'"),
      ElementsAre(ElementsAre("", "", "1.0.0", "", "0", "", "", "", "0", "", "", "NULL", "NULL")));
  EXPECT_EQ(database_.value("SELECT abs(Created - 45284.753576) < 0.000001 FROM DW_Reports"
                            " WHERE ReportName = 'New'"),
            "1");
}

TEST_F(ReportUpdate, LooksTwiceForARowBeforeItInsertsIt) {
  const auto added = new_report(u"New");
  (void)process_.trace();
  EXPECT_EQ(added->update(), OK_ue);
  const Text open =
      u"Open server dynamic pessimistic: Select * From DW_Reports Where ReportName = 'New'";
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Begin", open, u"Rollback",
                          u"Open server forward-only read-only: Select * From DW_Reports Where "
                          u"ReportName = 'New'",
                          u"Begin", open,
                          u"Insert ReportName, Title, Author, Created, Version, RptGrpID, "
                          u"ImageIndex, SQLStmnt, ReportType, ReportDesc, MaintType, SoftLock, "
                          u"Definition",
                          u"Commit"));
}

TEST_F(ReportUpdate, LeavesTheWordThatThereWasNoRowAfterAnInsert) {
  EXPECT_EQ(new_report(u"New")->update(), OK_ue);
  EXPECT_EQ(message(),
            u"No Record found for ID: New SQL=Select * From DW_Reports Where ReportName = 'New'");
  EXPECT_EQ(number(), 0);
}

TEST_F(ReportUpdate, InsertsTheRowAgainThatSomebodyDeleted) {
  const auto sales = report(u"Sales");
  database_.run("DELETE FROM DW_Reports WHERE ReportName = 'Sales'");
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_EQ(stored("Title"), "Title");
  EXPECT_EQ(stored("TTX_Binary"), "E92E");
  EXPECT_EQ(stored("Report_Binary"), "NULL");
}

TEST_F(ReportUpdate, KeepsTheDateAndTheVersionThatThereAre) {
  EXPECT_EQ(report(u"Sales")->update(), OK_ue);
  EXPECT_EQ(stored("Created"), "45000.25");
  EXPECT_EQ(stored("Version"), "2.1");
}

TEST_F(ReportUpdate, GivesALoadedReportTheDefaultsToo) {
  const auto stock = report(u"Stock");
  EXPECT_EQ(stock->update(), OK_ue);
  EXPECT_EQ(stock->version(), u"1.0.0");
  EXPECT_EQ(stock->created(), test_support::ScriptedHost::kNow);
  EXPECT_EQ(database_.value("SELECT Version FROM DW_Reports WHERE ReportName = 'Stock'"), "1.0.0");
}

TEST_F(ReportUpdate, KeepsThePayloadsThatItIsNotGiven) {
  const auto sales = report(u"Sales");
  sales->set_ttx(u"");
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_EQ(stored("TTX_Binary"), "E92E");
  EXPECT_EQ(stored("Report_Binary"), "00FF0D0A");
}

TEST_F(ReportUpdate, StoresAReportFileOfEveryByteAndSeveralMegabytes) {
  const std::string bytes = all_bytes(20'000);
  const auto file = files_.write("sales.rpt", bytes);
  EXPECT_EQ(report(u"Sales")->update(from_utf8(file.string())), OK_ue);
  EXPECT_TRUE(stored("Report_Binary") == hexadecimal(bytes));
}

TEST_F(ReportUpdate, StoresAnEmptyReportFile) {
  const auto file = files_.write("empty.rpt", "");
  EXPECT_EQ(report(u"Sales")->update(from_utf8(file.string())), OK_ue);
  EXPECT_EQ(stored("Report_Binary"), "");
}

TEST_F(ReportUpdate, WritesNothingWithoutAName) {
  const auto before = table();
  Report nameless(state());
  nameless.set_title(u"Title");
  EXPECT_EQ(nameless.update(), MissRequiredField_ue);
  EXPECT_EQ(message(),
            raised(u"No Report Name provided for updating the report!", u"Report", u"Update"));
  EXPECT_EQ(number(), -2147221504);
  EXPECT_THAT(process_.trace(), IsEmpty());
  EXPECT_FALSE(nameless.locked());
  EXPECT_TRUE(nameless.changed());
  EXPECT_EQ(table(), before);
}

TEST_F(ReportUpdate, WritesNothingWithoutTheReportFile) {
  const auto before = table();
  const auto sales = report(u"Sales");
  sales->set_title(u"new");
  EXPECT_EQ(sales->update(path("missing.rpt")), MissReportFile_ue);
  EXPECT_EQ(
      message(),
      raised(join({u"Unable to read '", path("missing.rpt"), u"' from disk. Unable to update!"}),
             u"Report", u"Update"));
  EXPECT_THAT(process_.trace(), IsEmpty());
  EXPECT_TRUE(sales->changed());
  EXPECT_EQ(table(), before);
}

TEST_F(ReportUpdate, TakesAFolderForNoReportFile) {
  EXPECT_EQ(report(u"Sales")->update(path("")), MissReportFile_ue);
}

TEST_F(ReportUpdate, TakesAPathThatNoFileCanHaveForAMissingFile) {
  using namespace std::string_view_literals;
  EXPECT_EQ(report(u"Sales")->update(u"/tmp/a\0b"sv), MissReportFile_ue);
  EXPECT_EQ(report(u"Sales")->update(u"/tmp/\xD800"), MissReportFile_ue);
  EXPECT_EQ(report(u"Sales")->update(Text(100'000, u'x')), MissReportFile_ue);
}

TEST_F(ReportUpdate, ChecksTheNameBeforeTheReportFile) {
  EXPECT_EQ(Report(state()).update(path("missing.rpt")), MissRequiredField_ue);
}

TEST_F(ReportUpdate, EmptiesTheMessageBeforeItBegins) {
  state().errors.set_message(u"older");
  EXPECT_EQ(report(u"Sales")->update(), OK_ue);
  EXPECT_EQ(message(), u"");
}

TEST_F(ReportUpdate, RefusesARowThatSomebodyChangedAndKeepsItLocked) {
  const auto sales = report(u"Sales");
  database_.run("UPDATE DW_Reports SET Title = 'Theirs'");
  const auto before = table();
  sales->set_title(u"Mine");
  EXPECT_EQ(sales->update(), RecordChanged_ue);
  EXPECT_EQ(message(), raised(u"The data for 'Sales' has changed since it was originally read! "
                              u"Unable to update!",
                              u"Report", u"Update"));
  EXPECT_EQ(number(), -2147221504);
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpenSales, kStamp));
  EXPECT_TRUE(sales->locked());
  EXPECT_TRUE(sales->changed());
  EXPECT_EQ(table(), before);

  ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  other.host.box.will_answer(platform::Answer::kCancel);
  Report theirs(other.state);
  theirs.set_name(u"Sales");
  EXPECT_FALSE(theirs.lock_record());

  EXPECT_TRUE(sales->release_record());
  EXPECT_TRUE(theirs.lock_record());
}

TEST_F(ReportUpdate, OfTheSecondOfTwoProcessesThatReadTheSameIsRefused) {
  ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  ASSERT_TRUE(other.server->reports()->refresh());
  const auto theirs = other.server->reports()->item(Text(u"Sales"));
  theirs->set_title(u"Theirs");
  ASSERT_EQ(theirs->update(), OK_ue);

  const auto mine = report(u"Sales");
  mine->set_title(u"Mine");
  EXPECT_EQ(mine->update(), RecordChanged_ue);
  EXPECT_EQ(stored("Title"), "Theirs");
}

TEST_F(ReportUpdate, WritesWithoutComparingWhenTheObjectWasNotLoaded) {
  Report fresh(state());
  fresh.set_name(u"Sales");
  fresh.set_title(u"Fresh");
  EXPECT_EQ(fresh.update(), OK_ue);
  EXPECT_EQ(stored("Title"), "Fresh");
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_Reports"), "2");
}

TEST_F(ReportUpdate, RefusesFieldDefinitionsThatAreNoBytes) {
  const auto sales = report(u"Sales");
  const auto before = table();
  sales->set_ttx(u"100 \u20AC");
  EXPECT_EQ(sales->update(), Error_ue);
  EXPECT_EQ(message(), account(u"Report", u"Update", 3421,
                               u"The text has a character that the character set \"iso-8859-1\" "
                               u"does not have."));
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpenSales, kStamp));
  EXPECT_TRUE(sales->locked());
  EXPECT_EQ(sales->ttx(), u"100 \u20AC");
  EXPECT_EQ(table(), before);
  sales->set_ttx(u"100 EUR");
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_EQ(stored("TTX_Binary"), hexadecimal("100 EUR"));
}

TEST_F(ReportUpdate, RefusesAReportFileThatCannotBeRead) {
  const auto sales = report(u"Sales");
  const auto before = table();
  const test_support::UnreadableFile file;
  EXPECT_EQ(sales->update(file.path_text()), Error_ue);
  EXPECT_EQ(message(), account(u"Report", u"Update", file.number(), file.description()));
  EXPECT_TRUE(sales->locked());
  EXPECT_TRUE(sales->release_record());
  EXPECT_EQ(table(), before);
}

TEST_F(ReportUpdate, OfANewReportCanBeRepeatedAfterItFailed) {
  const auto added = new_report(u"New");
  EXPECT_EQ(added->update(test_support::UnreadableFile().path_text()), Error_ue);
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_Reports"), "2");
  EXPECT_EQ(added->update(), OK_ue);
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_Reports WHERE ReportName = 'New'"), "1");
}

TEST_F(ReportUpdate, TellsWhyTheRowWasRefused) {
  database_.run(
      "CREATE TRIGGER No BEFORE UPDATE OF Title ON DW_Reports WHEN NEW.Title = 'refused'"
      "  BEGIN SELECT RAISE(ABORT, 'no'); END");
  const auto before = table();
  const auto sales = report(u"Sales");
  sales->set_title(u"refused");
  EXPECT_EQ(sales->update(), Error_ue);
  EXPECT_EQ(number(), -2147217873);
  const Text write_account = account(u"General", u"UpdateWrite", -2147217873, u"no");
  EXPECT_EQ(message(),
            raised(join({write_account,
                         u"\r\nUnable to update the report 'Sales' in the DW_Reports table!"}),
                   u"Report", u"Update"));
  EXPECT_EQ(table(), before);
  EXPECT_TRUE(sales->locked());
  EXPECT_TRUE(sales->release_record());
  EXPECT_FALSE(sales->locked());
  EXPECT_FALSE(state().connection->in_transaction());
}

TEST_F(ReportUpdate, TakesANameWithAQuoteIntoAMalformedStatement) {
  const auto before = table();
  process_.host.box.will_answer(platform::Answer::kRetry);
  const auto added = new_report(u"O'Hara");
  EXPECT_EQ(added->update(), Error_ue);
  EXPECT_EQ(
      message(),
      join({raised(u"Error Opening Recordset! SQL=Select * From DW_Reports Where ReportName "
                   u"= 'O'Hara'",
                   u"General", u"UpdateRead"),
            account(u"Report", u"Update", 91, u"Object variable or With block variable not set")}));
  EXPECT_EQ(number(), -2147221504);
  EXPECT_FALSE(added->locked());
  EXPECT_FALSE(state().connection->in_transaction());
  EXPECT_EQ(table(), before);
}

TEST_F(ReportUpdate, RefusesANameWithANulOrHalfACharacter) {
  using namespace std::string_view_literals;
  const auto before = table();
  for (const TextView name : {u"a\0b"sv, u"\xD800"sv}) {
    process_.host.box.will_answer(platform::Answer::kCancel);
    Report strange(state());
    strange.set_name(Text(name));
    EXPECT_EQ(strange.update(), Error_ue);
    EXPECT_FALSE(state().connection->in_transaction());
  }
  EXPECT_EQ(table(), before);
}

TEST_F(ReportUpdate, StoresQuotesLineBreaksAndLongTexts) {
  const auto sales = report(u"Sales");
  sales->set_title(u"b'c\"\r\n");
  sales->set_sql(Text(3'000'000, u'\u4E00'));
  EXPECT_EQ(sales->update(), OK_ue) << to_display_utf8(message());
  load();
  EXPECT_EQ(report(u"Sales")->title(), u"b'c\"\r\n");
  EXPECT_TRUE(report(u"Sales")->sql() == Text(3'000'000, u'\u4E00'));
}

TEST_F(ReportUpdate, StoresANameOfAnyLength) {
  const Text name(10'000, u'n');
  EXPECT_EQ(new_report(name)->update(), OK_ue);
  load();
  EXPECT_NE(report(name), nullptr);
}

TEST_F(ReportUpdate, RefusesATextThatTheDatabaseCannotKeep) {
  using namespace std::string_view_literals;
  const auto before = table();
  const auto message_for = [&](TextView title) {
    const auto sales = report(u"Sales");
    sales->set_title(Text(title));
    EXPECT_EQ(sales->update(), Error_ue);
    EXPECT_TRUE(sales->release_record());
    return message();
  };
  const auto refused = [](TextView reason) {
    return raised(join({account(u"General", u"UpdateWrite", 3421, reason),
                        u"\r\nUnable to update the report 'Sales' in the DW_Reports table!"}),
                  u"Report", u"Update");
  };
  EXPECT_EQ(message_for(u"\xD800"),
            refused(u"The text holds an unpaired surrogate, which the database cannot keep."));
  EXPECT_EQ(message_for(u"a\0b"sv),
            refused(u"The text holds a NUL character, which the database cannot keep."));
  EXPECT_EQ(table(), before);
}

TEST_F(ReportUpdate, StoresNulCharactersInTheFieldDefinitions) {
  using namespace std::string_view_literals;
  const auto sales = report(u"Sales");
  sales->set_ttx(Text(u"a\0b"sv));
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_EQ(stored("TTX_Binary"), "610062");
}

TEST_F(ReportUpdate, WritesNothingWithoutAConnection) {
  const auto sales = report(u"Sales");
  state().connection.reset();
  EXPECT_EQ(sales->update(), Error_ue);
  EXPECT_EQ(
      message(),
      join({account(u"General", u"UpdateRead", 91,
                    u"Object variable or With block variable not set"),
            account(u"Report", u"Update", 91, u"Object variable or With block variable not set")}));
}

}  // namespace
}  // namespace tarnwick
