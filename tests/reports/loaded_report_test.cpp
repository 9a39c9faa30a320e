#include <gtest/gtest.h>

#include "tests/reports/report_fixture.h"

namespace tarnwick {
namespace {

/// A catalog in which the reports B and C are like most of a large one: their field definitions
/// need no more room in the intermediate file than those of A did.
class LoadedReport : public test_support::ReportTest {
 protected:
  void SetUp() override {
    ReportTest::SetUp();
    database_.run(
        "DELETE FROM DW_Reports;"
        "INSERT INTO DW_Reports (ReportName, TTX_Binary) VALUES ('A', X'4C6F6E67657374');"
        "INSERT INTO DW_Reports (ReportName, Title, Author, Created, Version, RptGrpID, ImageIndex,"
        "  SQLStmnt, ReportType, ReportDesc, MaintType, SoftLock, Definition, TTX_Binary) VALUES"
        "  ('B', 'Title', 'J\xC3\xBCrgen', 45000.25, '2.1', 'Group', 7, 'Select 1', 'cry',"
        "   'Description', 5, 'somebody', 'Definition', X'E92E');"
        "INSERT INTO DW_Reports (ReportName, TTX_Binary) VALUES ('C', X'63')");
    ASSERT_NO_FATAL_FAILURE(load());
  }

  static void expect_b(const Report& b) {
    EXPECT_EQ(b.name(), u"B");
    EXPECT_EQ(b.key(), u"B");
    EXPECT_TRUE(b.initialized());
    EXPECT_EQ(b.author(), u"J\u00FCrgen");
    EXPECT_EQ(b.created(), Date{45000.25});
    EXPECT_EQ(b.version(), u"2.1");
    EXPECT_EQ(b.report_group_id(), u"Group");
    EXPECT_EQ(b.image_index(), 7);
    EXPECT_EQ(b.sql(), u"Select 1");
    EXPECT_EQ(b.report_type(), CrystalReport_rt);
    EXPECT_EQ(b.report_type_as_string(), u"CRY");
    EXPECT_EQ(b.description(), u"Description");
    EXPECT_EQ(b.maintenance_type(), PCReg_mt);
    EXPECT_EQ(b.soft_lock(), u"somebody");
    EXPECT_EQ(b.definition(), u"Definition");
    EXPECT_EQ(b.ttx(), u"\u00E9.");
    EXPECT_EQ(b.row_version().size(), 16u);
  }
};

TEST_F(LoadedReport, HasTheValuesOfItsRowBeforeAndAfterAChange) {
  const auto b = report(u"b");
  expect_b(*b);
  EXPECT_FALSE(b->changed());
  const Text version = b->row_version();
  b->set_title(u"Title");
  EXPECT_FALSE(b->changed()) << "it is the same title";
  b->set_title(u"Another");
  EXPECT_TRUE(b->changed());
  EXPECT_TRUE(reports().changed());
  expect_b(*b);
  EXPECT_EQ(b->title(), u"Another");
  EXPECT_EQ(b->row_version(), version);
}

TEST_F(LoadedReport, HasDefaultsInThePlaceOfNulls) {
  const auto c = report(u"C");
  EXPECT_EQ(c->title(), u"");
  EXPECT_EQ(c->created(), Date{});
  EXPECT_EQ(c->image_index(), 0);
  EXPECT_EQ(c->report_type(), None_rt);
  EXPECT_EQ(c->maintenance_type(), NotDefined_mt);
  EXPECT_EQ(c->ttx(), u"c");
}

TEST_F(LoadedReport, IsOneObjectHoweverItIsAskedFor) {
  const auto b = reports().item(std::int32_t{2});
  EXPECT_EQ(report(u"B"), b);
  auto entries = reports().new_enum();
  ASSERT_NE(entries.next(), nullptr);
  EXPECT_EQ(entries.next(), b);
}

TEST_F(LoadedReport, TakesItsRowAlongWhereItOutlivesAReload) {
  const auto b = report(u"B");
  const auto c = report(u"C");
  EXPECT_EQ(c->ttx(), u"c");
  const std::weak_ptr<const Store<Report>> before = state().reports;
  database_.run("DELETE FROM DW_Reports");
  ASSERT_TRUE(reports().refresh());
  EXPECT_TRUE(before.expired());
  expect_b(*b);
  EXPECT_FALSE(b->changed());
  EXPECT_EQ(c->ttx(), u"c");
}

TEST_F(LoadedReport, ImportsFieldDefinitionsWithoutBeingChanged) {
  files_.write("fields.ttx", "imported");
  const auto b = report(u"B");
  ASSERT_TRUE(b->import_ttx(path("fields.ttx")));
  EXPECT_EQ(b->ttx(), u"imported");
  EXPECT_FALSE(b->changed());
  EXPECT_EQ(b->title(), u"Title");
}

TEST_F(LoadedReport, IsWrittenWithAllItsValuesAndOnlyTheOneThatChanged) {
  const auto before = table();
  const auto b = report(u"B");
  b->set_author(u"anna");
  ASSERT_EQ(b->update(), OK_ue);
  EXPECT_EQ(database_.value("SELECT Author FROM DW_Reports WHERE ReportName = 'B'"), "anna");
  EXPECT_EQ(database_.value("SELECT hex(TTX_Binary) FROM DW_Reports WHERE ReportName = 'B'"),
            "E92E");
  EXPECT_EQ(table().size(), before.size());
}

TEST_F(LoadedReport, KnowsTheNameUnderWhichItWasLoaded) {
  const auto b = report(u"B");
  b->set_name(u"Bee");
  ASSERT_EQ(b->update(), OK_ue);
  EXPECT_EQ(database_.value("SELECT group_concat(ReportName) FROM DW_Reports"), "A,Bee,C");
}

TEST_F(LoadedReport, IsTakenOutOfTheCatalogByItsName) {
  EXPECT_TRUE(report(u"B")->remove());
  EXPECT_FALSE(reports().exists(u"B"));
  EXPECT_EQ(database_.value("SELECT group_concat(ReportName) FROM DW_Reports"), "A,C");
}

TEST_F(LoadedReport, ReadsEveryByteOfItsFieldDefinitionsAsACharacter) {
  std::string bytes;
  Text all;
  for (int byte = 0; byte < 256; ++byte) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    bytes += kDigits[static_cast<std::size_t>(byte) / 16];
    bytes += kDigits[static_cast<std::size_t>(byte) % 16];
    all.push_back(static_cast<char16_t>(byte));
  }
  database_.run("UPDATE DW_Reports SET TTX_Binary = X'" + bytes + "'");
  ASSERT_TRUE(reports().refresh());
  EXPECT_EQ(report(u"A")->ttx(), all);
  EXPECT_EQ(report(u"B")->ttx(), all);
}

}  // namespace
}  // namespace tarnwick
