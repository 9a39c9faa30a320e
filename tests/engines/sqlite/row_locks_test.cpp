#include "engines/sqlite/row_locks.h"

#include <gmock/gmock.h>

#include <fstream>

#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::sqlite {
namespace {

using ado::HeldRow;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Set = RowLocks::Set;

/// The locks of two sessions, without a database.
class RowLocksTest : public ::testing::Test {
 protected:
  static Table table(const char* name) {
    Table result;
    result.name = name;
    result.region = lock_region(name);
    return result;
  }
  static std::vector<ado::Cell> key(std::int64_t number) {
    ado::Cell cell;
    cell.kind = ado::Cell::Kind::kInt64;
    cell.integer = number;
    return {cell};
  }
  static constexpr std::size_t kRecord = 1024;
  /// What stands in the file of the locked row that is listed as the `number`-th.
  [[nodiscard]] std::string record(int number) const {
    std::string text(kRecord, '\0');
    std::ifstream(file_).seekg(number * std::streamoff{kRecord}).read(text.data(), kRecord);
    return text;
  }
  void write_record(int number, const std::string& text) const {
    std::fstream(file_).seekp(number * std::streamoff{kRecord}).write(text.data(), kRecord);
  }

  test_support::TemporaryFolder folder_;
  std::filesystem::path database_ = folder_.write("data.db", "");
  std::filesystem::path file_ = folder_.path() / "data.db-locks";
  RowLocks first_{file_, database_};
  RowLocks second_{file_, database_};
  const Table comp_ = table("DW_SEC_COMP");
  const Table pc_ = table("DW_SEC_PC");
};

TEST_F(RowLocksTest, AreHeldUntilNoSetWantsThemAnyMore) {
  Set other(second_, Set::Listing::kUnlisted);
  {
    Set one(first_, Set::Listing::kUnlisted);
    {
      Set two(first_, Set::Listing::kUnlisted);
      EXPECT_TRUE(first_.try_lock(one, comp_, key(1)));
      EXPECT_TRUE(first_.try_lock(two, comp_, key(1)));
      EXPECT_FALSE(second_.try_lock(other, comp_, key(1)));
    }
    EXPECT_FALSE(second_.try_lock(other, comp_, key(1)));
    EXPECT_TRUE(second_.try_lock(other, comp_, key(2)));
    EXPECT_TRUE(second_.try_lock(other, pc_, key(1)));
  }
  EXPECT_TRUE(second_.try_lock(other, comp_, key(1)));
}

TEST_F(RowLocksTest, GoOverToAnotherSet) {
  Set keeper(first_, Set::Listing::kListed);
  Set other(second_, Set::Listing::kUnlisted);
  ASSERT_TRUE(first_.try_lock(keeper, comp_, key(1)));
  {
    Set passing(first_, Set::Listing::kListed);
    ASSERT_TRUE(first_.try_lock(passing, comp_, key(1)));
    ASSERT_TRUE(first_.try_lock(passing, comp_, key(2)));
    keeper.absorb(passing);
  }
  EXPECT_FALSE(second_.try_lock(other, comp_, key(1)));
  EXPECT_FALSE(second_.try_lock(other, comp_, key(2)));
  keeper.release();
  EXPECT_TRUE(second_.try_lock(other, comp_, key(1)));
  EXPECT_TRUE(second_.try_lock(other, comp_, key(2)));
  EXPECT_THAT(second_.held_rows(), IsEmpty());
}

TEST_F(RowLocksTest, AreListedWithHolderAndStamp) {
  Set listed(first_, Set::Listing::kListed);
  Set unlisted(first_, Set::Listing::kUnlisted);
  ASSERT_TRUE(first_.try_lock(listed, comp_, key(7)));
  ASSERT_TRUE(first_.try_lock(unlisted, comp_, key(8)));
  first_.set_stamp(comp_, key(7), "HOST - now");
  const auto before = second_.held_rows();
  ASSERT_EQ(before.size(), 1u);
  EXPECT_EQ(before[0].stamp, u"");
  first_.publish_stamps();
  for (const auto* locks : {&first_, &second_}) {
    const auto rows = locks->held_rows();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].table, u"DW_SEC_COMP");
    EXPECT_EQ(rows[0].key, u"7");
    EXPECT_EQ(rows[0].stamp, u"HOST - now");
    EXPECT_EQ(rows[0].process_id, ByteRangeLocks::process_id());
  }
  listed.release();
  EXPECT_THAT(first_.held_rows(), IsEmpty());
  EXPECT_THAT(second_.held_rows(), IsEmpty());
}

TEST_F(RowLocksTest, OfSeveralSessionsAreListedTogether) {
  Set one(first_, Set::Listing::kListed);
  Set two(second_, Set::Listing::kListed);
  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(first_.try_lock(one, comp_, key(i)));
    ASSERT_TRUE(second_.try_lock(two, comp_, key(10 + i)));
  }
  EXPECT_EQ(first_.held_rows().size(), 10u);
  one.release();
  EXPECT_EQ(first_.held_rows().size(), 5u);
  ASSERT_TRUE(first_.try_lock(one, comp_, key(99)));  // takes a record that has become free
  EXPECT_EQ(std::filesystem::file_size(file_), 10u * 1024u);
}

TEST_F(RowLocksTest, BecomeALockOfTheTableWhenThereAreVeryMany) {
  Set many(first_, Set::Listing::kListed);
  Set other(second_, Set::Listing::kUnlisted);
  for (int i = 0; i < 1000; ++i) ASSERT_TRUE(first_.try_lock(many, comp_, key(i)));
  EXPECT_FALSE(second_.try_lock(other, comp_, key(123456)));
  EXPECT_TRUE(second_.try_lock(other, pc_, key(123456)));
  EXPECT_TRUE(first_.try_lock(many, comp_, key(123456)));
  EXPECT_EQ(second_.foreign_locks(comp_), std::vector<ByteRange>{comp_.region});
  for (const auto* locks : {&first_, &second_}) {
    EXPECT_THAT(locks->held_rows(), ::testing::Contains(::testing::Field(&HeldRow::key, u"*")));
  }
  many.release();
  EXPECT_TRUE(second_.try_lock(other, comp_, key(1)));
  EXPECT_THAT(first_.held_rows(), IsEmpty());
}

TEST_F(RowLocksTest, StayRowLocksWhereSomebodyElseHoldsARowOfTheTable) {
  Set many(first_, Set::Listing::kUnlisted);
  Set other(second_, Set::Listing::kUnlisted);
  ASSERT_TRUE(second_.try_lock(other, comp_, key(-1)));
  for (int i = 0; i < 1500; ++i) ASSERT_TRUE(first_.try_lock(many, comp_, key(i)));
  EXPECT_TRUE(second_.try_lock(other, comp_, key(-2)));
  EXPECT_FALSE(second_.try_lock(other, comp_, key(1499)));
}

TEST_F(RowLocksTest, OutliveTheLockOfTheirTableWhereAnotherSetWantsThem) {
  Set few(first_, Set::Listing::kUnlisted);
  Set other(second_, Set::Listing::kUnlisted);
  {
    Set many(first_, Set::Listing::kUnlisted);
    for (int i = 0; i < 1000; ++i) ASSERT_TRUE(first_.try_lock(many, comp_, key(i)));
    ASSERT_TRUE(first_.try_lock(few, comp_, key(5)));
    ASSERT_TRUE(first_.try_lock(few, comp_, key(5000)));
  }
  EXPECT_FALSE(second_.try_lock(other, comp_, key(5)));
  EXPECT_FALSE(second_.try_lock(other, comp_, key(5000)));
  EXPECT_TRUE(second_.try_lock(other, comp_, key(6)));
  EXPECT_TRUE(second_.try_lock(other, comp_, key(5001)));
}

TEST_F(RowLocksTest, ALongOrOddKeyAndStampAreCutForTheList) {
  const std::string text =
      "a\tb\nc\x7f" + std::string(399, 'x') + "\u00E9\u00E9" + std::string(400, 'y');
  std::vector<ado::Cell> cells(1);
  cells[0].kind = ado::Cell::Kind::kUtf8;
  cells[0].data = reinterpret_cast<const std::byte*>(text.data());
  cells[0].size = text.size();
  Set set(first_, Set::Listing::kListed);
  ASSERT_TRUE(first_.try_lock(set, comp_, cells));
  first_.set_stamp(comp_, cells, std::string(255, 'z') + "\u00E9");
  first_.publish_stamps();
  const auto rows = second_.held_rows();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].key,
            from_utf8("a b c " + std::string(399, 'x') + "\u00E9\u00E9" + std::string(103, 'y')));
  EXPECT_EQ(rows[0].stamp, from_utf8(std::string(255, 'z')));
}

TEST_F(RowLocksTest, TellTheProgramAndTheUserThatHoldThem) {
  EXPECT_TRUE(second_.holders().empty());
  Set set(first_, Set::Listing::kListed);
  ASSERT_TRUE(first_.try_lock(set, comp_, key(1)));
  ASSERT_TRUE(first_.try_lock(set, comp_, key(2)));
  const Holder holder = present_process();
  EXPECT_NE(holder.program, "");
  EXPECT_NE(holder.user, "");
  const auto holders = second_.holders();
  ASSERT_EQ(holders.size(), 1u);
  EXPECT_EQ(holders.begin()->first, ByteRangeLocks::process_id());
  EXPECT_EQ(holders.begin()->second.program, holder.program.substr(0, 32));
  EXPECT_EQ(holders.begin()->second.user, holder.user.substr(0, 40));
  set.release();
  EXPECT_TRUE(second_.holders().empty());
}

TEST_F(RowLocksTest, AreListedAlsoWhereAnOlderProgramHoldsThem) {
  Set set(first_, Set::Listing::kListed);
  ASSERT_TRUE(first_.try_lock(set, comp_, key(1)));
  const std::string text = record(0);
  std::size_t end = 0;
  for (int tab = 0; tab < 5; ++tab) end = text.find('\t', end) + 1;
  write_record(0, text.substr(0, end) + std::string(kRecord - end, ' '));
  const auto rows = second_.held_rows();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].key, u"1");
  EXPECT_EQ(rows[0].process_id, ByteRangeLocks::process_id());
  EXPECT_TRUE(second_.holders().empty());
}

TEST_F(RowLocksTest, TellAUserWhoseProgramIsNotKnown) {
  Set set(first_, Set::Listing::kListed);
  ASSERT_TRUE(first_.try_lock(set, comp_, key(1)));
  std::string text = record(0);
  std::size_t program = 0;
  for (int tab = 0; tab < 5; ++tab) program = text.find('\t', program) + 1;
  text.erase(program, text.find('\t', program) - program);
  text.insert(text.size() - 1, kRecord - text.size(), ' ');
  write_record(0, text);
  const auto holders = second_.holders();
  ASSERT_EQ(holders.size(), 1u);
  EXPECT_EQ(holders.begin()->second.program, "");
  EXPECT_EQ(holders.begin()->second.user, present_process().user.substr(0, 40));
}

TEST_F(RowLocksTest, AreNotMistakenWhereTheFileHoldsNonsense) {
  std::ofstream(file_) << std::string(4096, '\t');
  Set set(first_, Set::Listing::kListed);
  ASSERT_TRUE(first_.try_lock(set, comp_, key(1)));
  const std::string text = record(0);
  const std::string byte = text.substr(0, text.find('\t'));
  const std::string tabs(kRecord, '\t');
  for (const std::string& nonsense : {"nonsense" + tabs, tabs, byte + tabs,
                                      byte + "\t7\tDW_SEC_COMP" + std::string(kRecord, ' ')}) {
    write_record(0, nonsense.substr(0, kRecord));
    EXPECT_THAT(second_.held_rows(), IsEmpty()) << nonsense.substr(0, 40);
  }
  std::filesystem::resize_file(file_, 0);
  EXPECT_THAT(second_.held_rows(), IsEmpty());
  write_record(0, text);
  EXPECT_EQ(second_.held_rows().size(), 1u);
}

TEST_F(RowLocksTest, AreListedOnceAndOnlyAsLongAsTheyAreHeld) {
  Set set(first_, Set::Listing::kListed);
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(first_.try_lock(set, comp_, key(i)));
  write_record(1, record(0));
  std::string text = record(2);
  text[text.find('\t') - 1] ^= 1;  // another row, which nobody holds
  write_record(2, text);
  const auto rows = second_.held_rows();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].key, u"0");
}

TEST_F(RowLocksTest, TakeRecordsThatHaveBecomeFreeInWhateverOrder) {
  Set rows(first_, Set::Listing::kListed);
  {
    Set first_row(first_, Set::Listing::kListed);
    ASSERT_TRUE(first_.try_lock(first_row, comp_, key(0)));
    ASSERT_TRUE(first_.try_lock(rows, comp_, key(1)));
  }
  for (int i = 2; i < 5; ++i) ASSERT_TRUE(first_.try_lock(rows, comp_, key(i)));
  EXPECT_EQ(second_.held_rows().size(), 4u);
  EXPECT_EQ(std::filesystem::file_size(file_), 4u * kRecord);
}

TEST_F(RowLocksTest, AreStampedOnlyWhereTheyAreListed) {
  Set unlisted(first_, Set::Listing::kUnlisted);
  Set rows(first_, Set::Listing::kListed);
  ASSERT_TRUE(first_.try_lock(unlisted, comp_, key(1)));
  ASSERT_TRUE(first_.try_lock(rows, comp_, key(2)));
  first_.set_stamp(comp_, key(1), "HOST - now");
  first_.set_stamp(comp_, key(2), "HOST - now");
  rows.release();  // before the stamp was told to anybody
  first_.publish_stamps();
  EXPECT_THAT(second_.held_rows(), IsEmpty());
  EXPECT_FALSE(second_.foreign_locks(comp_).empty());
}

TEST_F(RowLocksTest, OfAWholeTableGoOverToAnotherSet) {
  Set keeper(first_, Set::Listing::kListed);
  Set other(second_, Set::Listing::kUnlisted);
  for (const int first : {0, 1000}) {  // the second time both have the whole table
    Set passing(first_, Set::Listing::kListed);
    for (int i = 0; i < 1000; ++i) ASSERT_TRUE(first_.try_lock(passing, comp_, key(first + i)));
    keeper.absorb(passing);
  }
  Set another(first_, Set::Listing::kListed);
  for (int i = 0; i < 1000; ++i) ASSERT_TRUE(first_.try_lock(another, pc_, key(i)));
  for (int i = 0; i < 1000; ++i) ASSERT_TRUE(first_.try_lock(another, comp_, key(3000 + i)));
  keeper.release();
  EXPECT_FALSE(second_.try_lock(other, comp_, key(-1)));
  EXPECT_THAT(second_.held_rows(), ::testing::Contains(::testing::Field(&HeldRow::key, u"*")));
  another.release();
  EXPECT_TRUE(second_.try_lock(other, comp_, key(-1)));
  EXPECT_TRUE(second_.try_lock(other, pc_, key(-1)));
  EXPECT_THAT(first_.held_rows(), IsEmpty());
}

TEST_F(RowLocksTest, OfNeighboursOutliveTheLockOfTheirTable) {
  constexpr std::int64_t kNeighbours[] = {6862672, 17560251};
  ASSERT_EQ(lock_byte(comp_.region, key(kNeighbours[0])) + 1,
            lock_byte(comp_.region, key(kNeighbours[1])));
  Set few(first_, Set::Listing::kUnlisted);
  Set other(second_, Set::Listing::kUnlisted);
  ASSERT_TRUE(first_.try_lock(few, pc_, key(1)));
  {
    Set many(first_, Set::Listing::kUnlisted);
    for (int i = 0; i < 1000; ++i) ASSERT_TRUE(first_.try_lock(many, comp_, key(i)));
    for (const auto neighbour : kNeighbours) {
      ASSERT_TRUE(first_.try_lock(few, comp_, key(neighbour)));
    }
  }
  for (const auto neighbour : kNeighbours) {
    EXPECT_FALSE(second_.try_lock(other, comp_, key(neighbour)));
  }
  EXPECT_FALSE(second_.try_lock(other, pc_, key(1)));
  EXPECT_TRUE(second_.try_lock(other, comp_, key(1)));
}

class RowLocking : public SessionTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_Reports (ReportName, Title) VALUES ('A', 'Old'), ('B', 'Old'), ('C', "
        "'Old')");
  }
  static std::vector<Text> keys(ado::EngineSession& session) {
    std::vector<Text> result;
    for (const auto& row : session.held_rows()) result.push_back(row.key);
    std::sort(result.begin(), result.end());
    return result;
  }

  std::unique_ptr<ado::EngineSession> session_ = open_session();
  std::unique_ptr<ado::EngineSession> other_ = open_session();
};

TEST_F(RowLocking, OutsideATransactionLastsUntilTheNextFetch) {
  auto rows = hold(*session_, kAllReports);
  EXPECT_THAT(keys(*other_), ElementsAre(u"A"));
  rows.rowset->fetch(rows.rows, 1);
  EXPECT_THAT(keys(*other_), ElementsAre(u"B"));
  rows.rowset.reset();
  EXPECT_THAT(keys(*other_), IsEmpty());
}

TEST_F(RowLocking, OfOneRowByItsKeyOutsideATransactionLastsUntilTheNextFetch) {
  auto row = hold(*session_, u"Select * From DW_Reports Where ReportName = 'b'");
  EXPECT_THAT(keys(*other_), ElementsAre(u"b"));
  row.rowset->fetch(row.rows, 1);
  EXPECT_EQ(row.size(), 1u);
  EXPECT_THAT(keys(*other_), IsEmpty());
}

TEST_F(RowLocking, InsideATransactionLastsToItsEnd) {
  session_->begin();
  {
    auto rows = hold(*session_, kAllReports);
    rows.rowset->fetch(rows.rows, 1);
  }
  EXPECT_THAT(keys(*other_), ElementsAre(u"A", u"B"));
  session_->commit();
  EXPECT_THAT(keys(*other_), IsEmpty());
}

TEST_F(RowLocking, StopsAtARowThatCannotBeHad) {
  other_->begin();
  ASSERT_EQ(hold(*other_, u"Select * From DW_Reports Where ReportName = 'B'").size(), 1u);
  auto rows = hold(*session_, kAllReports);
  ASSERT_EQ(rows.size(), 1u);
  const auto error = error_of([&] {
    rows.rowset->fetch(rows.rows, 1);
    return 0;
  });
  EXPECT_EQ(error.native(), 1222);
  EXPECT_EQ(hold(*session_, kAllReports, kAll).size(), 1u);
  other_->rollback();
}

TEST_F(RowLocking, PassesOverARowThatWasDeletedBeforeItCouldBeHad) {
  auto rows = hold(*session_, kAllReports);
  database_.run("DELETE FROM DW_Reports WHERE ReportName = 'B'");
  rows.rowset->fetch(rows.rows, 1);
  EXPECT_EQ(rows.value(u"ReportName", 1), Variant(Text(u"C")));
}

TEST_F(RowLocking, ShowsTheRowAsItIsWhenItIsHad) {
  auto rows = hold(*session_, kAllReports);
  database_.run("UPDATE DW_Reports SET Title = 'New' WHERE ReportName = 'B'");
  rows.rowset->fetch(rows.rows, 1);
  EXPECT_EQ(rows.value(u"Title", 1), Variant(Text(u"New")));
}

TEST_F(RowLocking, FollowsAKeyThatGotOtherLetters) {
  auto rows = hold(*session_, kAllReports);
  database_.run("UPDATE DW_Reports SET ReportName = 'b' WHERE ReportName = 'B'");
  rows.rowset->fetch(rows.rows, 1);
  EXPECT_EQ(rows.value(u"ReportName", 1), Variant(Text(u"b")));
}

TEST_F(RowLocking, FindsARowWhoseKeyIsWrittenAsAnotherType) {
  database_.run("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (7, 0, 2)");
  session_->begin();
  EXPECT_EQ(hold(*session_, u"Select * From DW_SEC_COMP Where CompID = '7'").size(), 1u);
  EXPECT_EQ(hold(*other_, u"Select * From DW_SEC_COMP Where CompID = 7").size(), 0u);
  session_->rollback();
}

TEST_F(RowLocking, HoldsNothingForARowThatIsNotThere) {
  session_->begin();
  EXPECT_EQ(hold(*session_, u"Select * From DW_Reports Where ReportName = 'X'").size(), 0u);
  EXPECT_THAT(keys(*other_), IsEmpty());
  session_->rollback();
}

TEST_F(RowLocking, ThroughTheShorterNameLocksTheTablesRow) {
  session_->begin();
  EXPECT_EQ(hold(*session_, u"Select * From DW_Report Where ReportName = 'A'").size(), 1u);
  EXPECT_EQ(hold(*other_, u"Select * From DW_Reports Where ReportName = 'A'").size(), 0u);
  session_->rollback();
}

TEST_F(RowLocking, IsRefusedForRowsWithoutAKey) {
  database_.run("CREATE TABLE T (a)");
  for (const TextView statement : {u"Select * From T", u"Select Title From DW_Reports",
                                   u"Select ReportName, CompID From DW_Reports, DW_SEC_COMP"}) {
    const auto error = error_of([&] { return hold(*session_, statement); });
    EXPECT_EQ(error.number(), 3251);
    EXPECT_EQ(error.description(),
              u"The rows cannot be locked: the columns that are read do not hold the whole primary "
              u"key of one table.");
  }
}

TEST_F(RowLocking, CoversEveryRowThatAStatementWrites) {
  session_->begin();
  session_->execute(u"Update DW_Reports Set ReportName = 'D' Where ReportName = 'A'");
  session_->execute(u"Delete From DW_Report Where ReportName = 'B'");
  session_->execute(u"Insert Or Replace Into DW_Reports (ReportName) Values ('E')");
  EXPECT_THAT(keys(*other_), ElementsAre(u"A", u"B", u"D", u"E"));
  for (const TextView statement :
       {u"Delete From DW_Reports Where ReportName = 'A'", u"Delete From DW_Reports",
        u"Update DW_Reports Set Title = 'x' Where ReportName = 'b'",
        u"Insert Into DW_Reports (ReportName) Values ('d')",
        u"Replace Into DW_Reports (ReportName) Values ('E')"}) {
    EXPECT_EQ(error_of([&] {
                other_->execute(statement);
                return 0;
              }).native(),
              1222)
        << to_utf8(statement);
  }
  other_->execute(u"Update DW_Reports Set Title = 'free' Where ReportName = 'C'");
  session_->rollback();
  EXPECT_THAT(keys(*other_), IsEmpty());
  other_->execute(u"Delete From DW_Reports");
}

TEST_F(RowLocking, OfAnInsertedRowKeepsAnotherInsertFromItsKey) {
  session_->begin();
  read(*session_, kAllReports).insert({{u"ReportName", Text(u"New")}});
  other_->begin();
  EXPECT_EQ(error_of([&] {
              read(*other_, kAllReports).insert({{u"ReportName", Text(u"NEW")}});
              return 0;
            }).native(),
            1222);
  session_->commit();
  EXPECT_EQ(error_of([&] {
              read(*other_, kAllReports).insert({{u"ReportName", Text(u"NEW")}});
              return 0;
            }).number(),
            kIntegrityViolation);
  other_->rollback();
}

TEST_F(RowLocking, IsGivenUpAgainByAStatementThatFailed) {
  session_->begin();
  EXPECT_EQ(error_of([&] {
              session_->execute(u"Insert Into DW_Reports (ReportName) Values ('X'), ('A')");
              return 0;
            }).number(),
            kIntegrityViolation);
  EXPECT_THAT(keys(*other_), IsEmpty());
  session_->rollback();
}

TEST_F(RowLocking, OfAWriteOutsideATransactionIsOverWithIt) {
  session_->execute(u"Update DW_Reports Set Title = 'x'");
  EXPECT_THAT(keys(*other_), IsEmpty());
  other_->execute(u"Update DW_Reports Set Title = 'y'");
}

TEST_F(RowLocking, StopsAStatementThatWouldReplaceTheRowOfAnother) {
  other_->begin();
  ASSERT_EQ(hold(*other_, u"Select * From DW_Reports Where ReportName = 'A'").size(), 1u);
  EXPECT_EQ(error_of([&] {
              session_->execute(u"Replace Into DW_Reports (ReportName) Values ('A')");
              return 0;
            }).native(),
            1222);
  other_->rollback();
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports WHERE ReportName = 'A'"), "Old");
}

TEST_F(RowLocking, CoversTheRowsOfAStatementThatReturnsThemToo) {
  session_->begin();
  session_->execute(u"Update DW_Reports Set Title = 'x' Where ReportName < 'C' Returning Title");
  EXPECT_THAT(keys(*other_), ElementsAre(u"A", u"B"));
  session_->rollback();
}

TEST_F(RowLocking, StopsALoadAtTheRowOfAnother) {
  other_->begin();
  ASSERT_EQ(hold(*other_, u"Select * From DW_Reports Where ReportName = 'B'").size(), 1u);
  session_->begin_load();
  EXPECT_EQ(error_of([&] {
              session_->execute(u"Update DW_Reports Set Title = 'New'");
              return 0;
            }).native(),
            1222);
  session_->rollback();
  other_->rollback();
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_Reports WHERE Title = 'Old'"), "3");
}

// The transaction's statements are carried out anew with each further one.
TEST_F(RowLocking, StopsATransactionWhoseStatementMeetsANewRowOfAnother) {
  session_->begin();
  session_->execute(u"Update DW_Reports Set Title = 'New' Where Title = 'Old'");
  database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('D', 'Old')");
  other_->begin();
  ASSERT_EQ(hold(*other_, u"Select * From DW_Reports Where ReportName = 'D'").size(), 1u);
  const auto add = [&] {
    session_->execute(u"Insert Into DW_Reports (ReportName) Values ('E')");
    return 0;
  };
  EXPECT_EQ(error_of(add).native(), 1222);
  other_->rollback();
  add();
  session_->commit();
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_Reports WHERE Title = 'New'"), "4");
}

TEST_F(RowLocking, IsNotMeantByATemporaryTableOfTheSameName) {
  other_->begin();
  ASSERT_EQ(hold(*other_, u"Select * From DW_Reports Where ReportName = 'A'").size(), 1u);
  session_->execute(u"Create Temp Table DW_Reports (ReportName Primary Key, Title)");
  session_->execute(u"Insert Into temp.DW_Reports Values ('A', 'Mine')");
  const auto rows = read(*session_, u"Select * From temp.DW_Reports");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows.value(u"Title"), Variant(Text(u"Mine")));
  other_->rollback();
}

TEST_F(RowLocking, HasNothingMoreBehindTheLastRow) {
  auto rows = hold(*session_, kAllReports, kAll);
  EXPECT_EQ(rows.size(), 3u);
  rows.rowset->fetch(rows.rows, kAll);
  EXPECT_EQ(rows.size(), 3u);
  EXPECT_THAT(keys(*other_), IsEmpty());
}

// A flag, a number with a fraction and a day are kept as numbers, and locked as what they are kept
// as.
TEST_F(RowLocking, OfAKeyOfAnyType) {
  database_.run(
      "CREATE TABLE T (Flag BIT, Size REAL, Day DATETIME, Title, PRIMARY KEY (Flag, Size, Day));"
      "INSERT INTO T VALUES (1, 1.5, 45000.5, 'Old')");
  session_->begin();
  const auto row = hold(*session_, u"Select * From T");
  ASSERT_EQ(row.size(), 1u);
  EXPECT_THAT(keys(*other_), ElementsAre(u"1, 1.5, 45000.5"));
  EXPECT_EQ(hold(*other_, u"Select * From T").size(), 0u);
  row.update({{u"Title", Text(u"New")}});
  EXPECT_EQ(read(*session_, u"Select * From T").value(u"Title"), Variant(Text(u"New")));
  session_->commit();
  EXPECT_EQ(database_.value("SELECT Title FROM T"), "New");
}

TEST_F(RowLocking, KnowsTheStampThatWasWrittenByAnyStatement) {
  session_->begin();
  session_->execute(u"Update DW_Reports Set SoftLock = 'HOST - now' Where ReportName = 'A'");
  auto held = other_->held_rows();
  ASSERT_EQ(held.size(), 1u);
  EXPECT_EQ(held[0].stamp, u"HOST - now");
  hold(*session_, u"Select * From DW_Reports Where ReportName = 'A'")
      .update({{u"SoftLock", Text()}});
  held = other_->held_rows();
  ASSERT_EQ(held.size(), 1u);
  EXPECT_EQ(held[0].stamp, u"");
  session_->rollback();
}

TEST_F(RowLocking, ReadersMeetTheRowsOfATableThatIsLockedWhole) {
  database_.run(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3000) "
      "INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) SELECT i, 0, 2 FROM n");
  session_->begin();
  session_->execute(u"Update DW_SEC_COMP Set Priority = 1");
  EXPECT_EQ(error_of([&] {
              return read(*other_, u"Select * From DW_SEC_COMP Where CompID = 3000");
            }).native(),
            1222);
  EXPECT_EQ(read(*other_, kAllReports).size(), 3u);
  EXPECT_EQ(other_->holder_of({u"DW_SEC_COMP", {u"3000"}}).value().key, u"*");
  EXPECT_FALSE(other_->holder_of({u"DW_Reports", {u"Sales"}}).has_value());
  session_->commit();
  EXPECT_EQ(read(*other_, u"Select * From DW_SEC_COMP Where Priority = 1").size(), 3000u);
}

}  // namespace
}  // namespace tarnwick::sqlite
