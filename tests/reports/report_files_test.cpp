#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reports/report_fixture.h"
#include "tests/support/unreadable_file.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::hexadecimal;
using test_support::raised;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ImportTtx : public test_support::ReportTest {
 protected:
  Report report_{state()};
};

TEST_F(ImportTtx, TakesEveryByteOfTheFileForACharacter) {
  const std::string bytes = all_bytes(1);
  const auto file = files_.write("fields.ttx", bytes);
  EXPECT_TRUE(report_.import_ttx(from_utf8(file.string())));
  ASSERT_EQ(report_.ttx().size(), 256u);
  for (std::size_t byte = 0; byte < 256; ++byte) {
    EXPECT_EQ(report_.ttx()[byte], static_cast<char16_t>(byte));
  }
  EXPECT_EQ(message(), u"");
}

TEST_F(ImportTtx, DoesNotMarkTheReportChanged) {
  const auto sales = report(u"Sales");
  files_.write("fields.ttx", "new");
  EXPECT_TRUE(sales->import_ttx(path("fields.ttx")));
  EXPECT_EQ(sales->ttx(), u"new");
  EXPECT_FALSE(sales->changed());
  EXPECT_THAT(process_.trace(), IsEmpty());
  EXPECT_EQ(stored("TTX_Binary"), "E92E");
}

TEST_F(ImportTtx, LeavesAChangedReportChanged) {
  files_.write("fields.ttx", "new");
  report_.set_title(u"changed");
  EXPECT_TRUE(report_.import_ttx(path("fields.ttx")));
  EXPECT_TRUE(report_.changed());
}

TEST_F(ImportTtx, IsWrittenByTheNextUpdate) {
  const auto sales = report(u"Sales");
  files_.write("fields.ttx", "caf\xE9");
  ASSERT_TRUE(sales->import_ttx(path("fields.ttx")));
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_EQ(stored("TTX_Binary"), hexadecimal("caf\xE9"));
}

TEST_F(ImportTtx, WritesNoIntermediateFile) {
  files_.write("fields.ttx", "new");
  std::filesystem::remove(process_.host.payload_folder / "TTX.bin");
  EXPECT_TRUE(report_.import_ttx(path("fields.ttx")));
  EXPECT_FALSE(std::filesystem::exists(process_.host.payload_folder / "TTX.bin"));
}

TEST_F(ImportTtx, TakesAnEmptyFileForAnEmptyText) {
  files_.write("fields.ttx", "");
  report_.set_ttx(u"old");
  EXPECT_TRUE(report_.import_ttx(path("fields.ttx")));
  EXPECT_EQ(report_.ttx(), u"");
}

TEST_F(ImportTtx, DoesNothingForAnEmptyPath) {
  report_.set_ttx(u"old");
  EXPECT_FALSE(report_.import_ttx(u""));
  EXPECT_EQ(report_.ttx(), u"old");
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ImportTtx, FailsForAFileThatIsNotThere) {
  report_.set_ttx(u"old");
  EXPECT_FALSE(report_.import_ttx(path("missing.ttx")));
  EXPECT_EQ(message(), raised(join({u"The File '", path("missing.ttx"), u"' doesn't exist!"}),
                              u"Report", u"ImportTTX"));
  EXPECT_EQ(number(), -2147221504);
  EXPECT_EQ(report_.ttx(), u"old");
}

TEST_F(ImportTtx, FailsForAFolder) {
  EXPECT_FALSE(report_.import_ttx(u"/"));
  EXPECT_EQ(message(), raised(u"The File '/' doesn't exist!", u"Report", u"ImportTTX"));
}

TEST_F(ImportTtx, FailsForAPathThatNoFileCanHave) {
  using namespace std::string_view_literals;
  EXPECT_FALSE(report_.import_ttx(u"a\0b"sv));
  EXPECT_EQ(message(), raised(u"The File 'a\0b' doesn't exist!"sv, u"Report", u"ImportTTX"));
}

TEST_F(ImportTtx, FailsForAFileThatCannotBeRead) {
  report_.set_ttx(u"old");
  const test_support::UnreadableFile file;
  EXPECT_FALSE(report_.import_ttx(file.path_text()));
  EXPECT_EQ(message(), account(u"Report", u"ImportTTX", file.number(), file.description()));
  EXPECT_EQ(report_.ttx(), u"old");
}

class ExtractTtx : public test_support::ReportTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(ReportTest::SetUp());
    report_.set_ttx(u"caf\u00E9\r\n");
  }
  Report report_{state()};
};

TEST_F(ExtractTtx, PutsItsExtensionInThePlaceOfTheGivenOne) {
  EXPECT_TRUE(report_.extract_ttx(path("list.rpt")));
  EXPECT_EQ(content("list.ttx"), "caf\xE9\r\n");
  EXPECT_FALSE(std::filesystem::exists(files_.path() / "list.rpt"));
  EXPECT_EQ(message(), u"");
}

TEST_F(ExtractTtx, ReplacesOnlyTheLastExtension) {
  EXPECT_TRUE(report_.extract_ttx(path("list.old.rpt")));
  EXPECT_EQ(content("list.old.ttx"), "caf\xE9\r\n");
}

TEST_F(ExtractTtx, AddsItsExtensionWhereThereIsNone) {
  EXPECT_TRUE(report_.extract_ttx(path("list")));
  EXPECT_EQ(content("list.ttx"), "caf\xE9\r\n");
}

TEST_F(ExtractTtx, OverwritesTheFile) {
  files_.write("list.ttx", "something longer than that");
  EXPECT_TRUE(report_.extract_ttx(path("list.ttx")));
  EXPECT_EQ(content("list.ttx"), "caf\xE9\r\n");
}

TEST_F(ExtractTtx, WritesWhatImportReadsBack) {
  Text all;
  for (char16_t character = 0; character < 256; ++character) all.push_back(character);
  report_.set_ttx(all);
  ASSERT_TRUE(report_.extract_ttx(path("all.ttx")));
  EXPECT_TRUE(content("all.ttx") == all_bytes(1));
  report_.set_ttx(u"");
  ASSERT_TRUE(report_.import_ttx(path("all.ttx")));
  EXPECT_EQ(report_.ttx(), all);
}

TEST_F(ExtractTtx, FailsWithoutFieldDefinitionsEvenForAnEmptyPath) {
  report_.set_ttx(u"");
  EXPECT_FALSE(report_.extract_ttx(u""));
  EXPECT_EQ(message(), raised(u"There is no TTX data to extract!", u"Report", u"ExtractTTX"));
  EXPECT_EQ(number(), -2147221504);
}

TEST_F(ExtractTtx, DoesNothingForAnEmptyPath) {
  EXPECT_FALSE(report_.extract_ttx(u""));
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ExtractTtx, FailsWhereTheFolderIsNotThere) {
  EXPECT_FALSE(report_.extract_ttx(path("missing/list.rpt")));
  EXPECT_EQ(message(), raised(join({u"The Path '", path("missing"), u"' doesn't exist!"}),
                              u"Report", u"ExtractTTX"));
}

TEST_F(ExtractTtx, FailsForAFileNameWithoutAFolder) {
  EXPECT_FALSE(report_.extract_ttx(u"list.rpt"));
  EXPECT_EQ(message(), raised(u"The Path '' doesn't exist!", u"Report", u"ExtractTTX"));
}

TEST_F(ExtractTtx, FailsWhereTheFolderIsAFile) {
  files_.write("file", "x");
  EXPECT_FALSE(report_.extract_ttx(path("file/list.rpt")));
  EXPECT_EQ(message(), raised(join({u"The Path '", path("file"), u"' doesn't exist!"}), u"Report",
                              u"ExtractTTX"));
}

TEST_F(ExtractTtx, RefusesACharacterThatIsNoByteAndLeavesTheFileAlone) {
  files_.write("list.ttx", "as it was");
  report_.set_ttx(u"100 \u20AC");
  EXPECT_FALSE(report_.extract_ttx(path("list.ttx")));
  EXPECT_EQ(message(), account(u"Report", u"ExtractTTX", 3421,
                               u"The text has a character that the character set \"iso-8859-1\" "
                               u"does not have."));
  EXPECT_EQ(content("list.ttx"), "as it was");
  EXPECT_FALSE(report_.extract_ttx(path("new.ttx")));
  EXPECT_FALSE(std::filesystem::exists(files_.path() / "new.ttx"));
}

TEST_F(ExtractTtx, FailsForANameThatIsTooLong) {
  EXPECT_FALSE(report_.extract_ttx(join({path(""), Text(1'000, u'x')})));
  EXPECT_EQ(number(), 3004);
}

TEST_F(ExtractTtx, FailsForAPathThatNoFileCanHave) {
  using namespace std::string_view_literals;
  EXPECT_FALSE(report_.extract_ttx(join({path(""), u"a\0b"sv})));
  EXPECT_EQ(message(), account(u"Report", u"ExtractTTX", 5, u"Invalid procedure call or argument"));
}

class ExtractReport : public test_support::ReportTest {};

constexpr TextView kLookUpSales =
    u"Open client static optimistic: Select * from DW_Reports  Where ReportName = 'Sales'";

TEST_F(ExtractReport, WritesExactlyTheStoredBytesToExactlyThatFile) {
  EXPECT_TRUE(report(u"Sales")->extract_report(path("sales")));
  EXPECT_EQ(hexadecimal(content("sales")), "00FF0D0A");
  EXPECT_THAT(process_.trace(), ElementsAre(kLookUpSales));
  EXPECT_EQ(message(), u"");
}

TEST_F(ExtractReport, WritesEveryByteOfSeveralMegabytes) {
  const std::string bytes = all_bytes(20'000);
  const auto sales = report(u"Sales");
  files_.write("in.rpt", bytes);
  ASSERT_EQ(sales->update(path("in.rpt")), OK_ue);
  EXPECT_TRUE(sales->extract_report(path("out.rpt")));
  EXPECT_TRUE(content("out.rpt") == bytes);
}

TEST_F(ExtractReport, OverwritesTheFile) {
  files_.write("sales.rpt", "something longer than that");
  EXPECT_TRUE(report(u"Sales")->extract_report(path("sales.rpt")));
  EXPECT_EQ(hexadecimal(content("sales.rpt")), "00FF0D0A");
}

TEST_F(ExtractReport, WritesAStoredFileOfNoBytes) {
  database_.run("UPDATE DW_Reports SET Report_Binary = X''");
  EXPECT_TRUE(report(u"Sales")->extract_report(path("sales.rpt")));
  EXPECT_EQ(content("sales.rpt"), "");
}

TEST_F(ExtractReport, ReadsTheTableOnceForTheSameReportInWhateverLetterCase) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->extract_report(path("1.rpt")));
  EXPECT_TRUE(sales->extract_report(path("2.rpt")));
  Report upper(state());
  upper.set_name(u"SALES");
  EXPECT_TRUE(upper.extract_report(path("3.rpt")));
  EXPECT_THAT(process_.trace(), ElementsAre(kLookUpSales));
  EXPECT_EQ(hexadecimal(content("2.rpt")), "00FF0D0A");
  EXPECT_EQ(hexadecimal(content("3.rpt")), "00FF0D0A");
}

TEST_F(ExtractReport, ReadsTheTableAgainOnceAReportWasWritten) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->extract_report(path("1.rpt")));
  files_.write("in.rpt", "new");
  ASSERT_EQ(sales->update(path("in.rpt")), OK_ue);
  EXPECT_TRUE(sales->extract_report(path("2.rpt")));
  EXPECT_EQ(content("2.rpt"), "new");
}

TEST_F(ExtractReport, OfAReportThatWasDeletedFindsNothing) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->extract_report(path("1.rpt")));
  ASSERT_TRUE(sales->remove());
  EXPECT_FALSE(sales->extract_report(path("2.rpt")));
  EXPECT_EQ(message(), raised(u"Unable to find the report 'Sales' in the DW_REPORTS table!",
                              u"Report", u"ExtractReport"));
}

TEST_F(ExtractReport, FailsWithoutANameEvenForAnEmptyPath) {
  EXPECT_FALSE(Report(state()).extract_report(u""));
  EXPECT_EQ(message(), raised(u"There is no reportname to extract!", u"Report", u"ExtractReport"));
  EXPECT_EQ(number(), -2147221504);
}

TEST_F(ExtractReport, DoesNothingForAnEmptyPath) {
  EXPECT_FALSE(report(u"Sales")->extract_report(u""));
  EXPECT_EQ(message(), u"");
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(ExtractReport, LooksForTheFolderBeforeItReadsTheTable) {
  EXPECT_FALSE(report(u"Sales")->extract_report(path("missing/sales.rpt")));
  EXPECT_EQ(message(), raised(join({u"The Path '", path("missing"), u"' doesn't exist!"}),
                              u"Report", u"ExtractReport"));
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(ExtractReport, FailsForAFileNameWithoutAFolder) {
  EXPECT_FALSE(report(u"Sales")->extract_report(u"sales.rpt"));
  EXPECT_EQ(message(), raised(u"The Path '' doesn't exist!", u"Report", u"ExtractReport"));
}

TEST_F(ExtractReport, FailsForAReportThatIsNotInTheTable) {
  Report missing(state());
  missing.set_name(u"Nothing");
  EXPECT_FALSE(missing.extract_report(path("out.rpt")));
  EXPECT_EQ(message(), raised(u"Unable to find the report 'Nothing' in the DW_REPORTS table!",
                              u"Report", u"ExtractReport"));
  EXPECT_FALSE(std::filesystem::exists(files_.path() / "out.rpt"));
}

TEST_F(ExtractReport, FailsForANameWithAQuote) {
  Report quoted(state());
  quoted.set_name(u"O'Hara");
  EXPECT_FALSE(quoted.extract_report(path("out.rpt")));
  EXPECT_EQ(number(), -2147217900) << "the first number sticks";
  EXPECT_EQ(message(), raised(u"Unable to find the report 'O'Hara' in the DW_REPORTS table!",
                              u"Report", u"ExtractReport"));
}

TEST_F(ExtractReport, FailsWhereNoReportIsStored) {
  EXPECT_FALSE(report(u"Stock")->extract_report(path("out.rpt")));
  EXPECT_EQ(message(), raised(u"The Report_Binary field is null, no report is stored in the table!",
                              u"Report", u"ExtractReport"));
  EXPECT_FALSE(std::filesystem::exists(files_.path() / "out.rpt"));
}

TEST_F(ExtractReport, FailsForAFolder) {
  EXPECT_FALSE(report(u"Sales")->extract_report(path("")));
  EXPECT_EQ(number(), 3004);
}

TEST_F(ExtractReport, WorksAgainAfterAFailure) {
  const auto sales = report(u"Sales");
  ASSERT_FALSE(sales->extract_report(path("")));
  EXPECT_TRUE(sales->extract_report(path("sales.rpt")));
  EXPECT_EQ(hexadecimal(content("sales.rpt")), "00FF0D0A");
  EXPECT_EQ(message(), u"") << "the next step that succeeded emptied the message";
  EXPECT_EQ(number(), 3004);
}

TEST_F(ExtractReport, DoesNotReadARowThatAnotherProcessHolds) {
  test_support::ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  Report theirs(other.state);
  theirs.set_name(u"Sales");
  ASSERT_TRUE(theirs.lock_record());
  EXPECT_FALSE(report(u"Sales")->extract_report(path("sales.rpt")));
  EXPECT_EQ(number(), -2147467259);
  EXPECT_THAT(process_.host.box.questions, IsEmpty());
}

TEST_F(ExtractReport, ReadsTheRowThatItHoldsItself) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->lock_record());
  EXPECT_TRUE(sales->extract_report(path("sales.rpt")));
  EXPECT_EQ(hexadecimal(content("sales.rpt")), "00FF0D0A");
  EXPECT_TRUE(sales->locked());
}

}  // namespace
}  // namespace tarnwick
