#include <gmock/gmock.h>

#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::sqlite {
namespace {

// Values of a megabyte and more, which go into their rows and out of them in pieces.
class Payload : public SessionTest {
 protected:
  static constexpr TextView kLookUp = u"Select * From DW_Reports Where ReportName = 'Sales'";
  static constexpr std::size_t kLong = (std::size_t{2} << 20) + 77;

  void SetUp() override {
    database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
    session_ = open_session();
  }

  static Bytes bytes(std::size_t size, int seed) {
    ByteBuffer made(size);
    for (std::size_t i = 0; i < size; ++i) {
      made[i] = static_cast<std::byte>((i * 31 + i / 4096) % 251 + static_cast<std::size_t>(seed));
    }
    return made;
  }
  void store(const Bytes& payload, TextView statement = kLookUp) {
    session_->begin();
    hold(*session_, statement).update({{u"Report_Binary", payload}, {u"Title", Text(u"New")}});
    session_->commit();
  }
  Variant look(TextView statement = kLookUp) {
    return read(*session_, statement).value(u"Report_Binary");
  }
  [[nodiscard]] std::string row(const std::string& columns) const {
    return database_.value("SELECT " + columns + " FROM DW_Reports");
  }
  [[nodiscard]] std::string version() const { return row("hex(RowVersion)"); }

  std::unique_ptr<ado::EngineSession> session_;
};

TEST_F(Payload, IsReadAsItWasWritten) {
  store(bytes(kLong, 1));
  EXPECT_TRUE(look() == Variant(bytes(kLong, 1)));
  EXPECT_TRUE(look(u"Select * From DW_Reports Order By ReportName") == Variant(bytes(kLong, 1)));
  EXPECT_TRUE(hold(*session_, kLookUp).value(u"Report_Binary") == Variant(bytes(kLong, 1)));
  EXPECT_EQ(row("Title || ' ' || typeof(Report_Binary) || ' ' || length(Report_Binary)"),
            "New blob " + std::to_string(kLong));
}

TEST_F(Payload, IsReadThroughTheShorterNameToo) {
  constexpr TextView kShorter = u"Select * From DW_Report Where ReportName = 'Sales'";
  store(bytes(kLong, 1), kShorter);
  EXPECT_TRUE(look(kShorter) == Variant(bytes(kLong, 1)));
  EXPECT_TRUE(look(u"Select * From dbo.DW_Reports Where ReportName = 'Sales'") ==
              Variant(bytes(kLong, 1)));
}

TEST_F(Payload, IsReadAsItIsAroundTheLengthFromWhichItGoesInPieces) {
  for (const std::size_t size : {(std::size_t{1} << 20) - 1, std::size_t{1} << 20, kLong}) {
    store(bytes(size, 2));
    EXPECT_TRUE(look() == Variant(bytes(size, 2))) << size;
  }
}

TEST_F(Payload, TakesThePlaceOfALongerAndOfAShorterOne) {
  for (const std::size_t size : {kLong, 2 * kLong, kLong, std::size_t{5}, kLong}) {
    store(bytes(size, 3));
    EXPECT_TRUE(look() == Variant(bytes(size, 3))) << size;
  }
  EXPECT_EQ(database_.value("PRAGMA integrity_check"), "ok");
}

TEST_F(Payload, GivesItsRowTheNextVersion) {
  const std::string before = version();
  store(bytes(kLong, 1));
  EXPECT_NE(version(), before);
  EXPECT_EQ(row("RowVersion = (SELECT Version FROM DW_ROW_VERSION)"), "1");
}

TEST_F(Payload, OfANewRowIsWrittenWithIt) {
  session_->begin();
  auto rows = hold(*session_, u"Select * From DW_Reports Where ReportName = 'New'");
  rows.insert({{u"ReportName", Text(u"New")}, {u"Report_Binary", bytes(kLong, 4)}});
  session_->commit();
  EXPECT_TRUE(look(u"Select * From DW_Reports Where ReportName = 'New'") ==
              Variant(bytes(kLong, 4)));
}

TEST_F(Payload, GoesIntoARowThatIsRenamedMeanwhile) {
  session_->begin();
  hold(*session_, kLookUp)
      .update({{u"ReportName", Text(u"Renamed")}, {u"Report_Binary", bytes(kLong, 5)}});
  session_->commit();
  EXPECT_EQ(row("ReportName"), "Renamed");
  EXPECT_TRUE(look(u"Select * From DW_Reports Where ReportName = 'Renamed'") ==
              Variant(bytes(kLong, 5)));
}

TEST_F(Payload, IsSeenByItsOwnSessionAloneBeforeTheCommit) {
  session_->begin();
  hold(*session_, kLookUp).update({{u"Report_Binary", bytes(kLong, 6)}});
  EXPECT_TRUE(look() == Variant(bytes(kLong, 6)));
  EXPECT_EQ(row("typeof(Report_Binary)"), "null");
  session_->rollback();
  EXPECT_EQ(row("typeof(Report_Binary)"), "null");
}

TEST_F(Payload, IsNotWrittenOverARowThatAnotherProgramHasChanged) {
  store(bytes(kLong, 7));
  session_->begin();
  hold(*session_, kLookUp).update({{u"Report_Binary", bytes(kLong, 8)}});
  database_.run("UPDATE DW_Reports SET Title = 'Theirs'");
  EXPECT_EQ(error_of([&] {
              session_->commit();
              return 0;
            }).number(),
            kRowNotLocated);
  session_->rollback();
  EXPECT_TRUE(look() == Variant(bytes(kLong, 7)));
  EXPECT_EQ(row("Title"), "Theirs");
}

TEST_F(Payload, IsNotWrittenWhereAnotherProgramHasDeletedTheRow) {
  session_->begin();
  hold(*session_, kLookUp).update({{u"Report_Binary", bytes(kLong, 8)}});
  database_.run("DELETE FROM DW_Reports");
  EXPECT_EQ(error_of([&] {
              session_->commit();
              return 0;
            }).number(),
            kRowNotLocated);
  session_->rollback();
}

TEST_F(Payload, IsReadByAnyListOfColumns) {
  store(bytes(kLong, 1));
  for (const TextView columns :
       {u"ReportName, Report_Binary", u"*, Report_Binary", u"Report_Binary"}) {
    EXPECT_TRUE(look(join({u"Select ", columns, u" From DW_Reports Where ReportName = 'Sales'"})) ==
                Variant(bytes(kLong, 1)))
        << to_utf8(columns);
  }
}

TEST_F(Payload, MayStandInAnotherColumn) {
  session_->begin();
  hold(*session_, kLookUp).update({{u"TTX_Binary", bytes(kLong, 12)}});
  session_->commit();
  EXPECT_TRUE(read(*session_, kLookUp).value(u"TTX_Binary") == Variant(bytes(kLong, 12)));
  EXPECT_EQ(row("typeof(Report_Binary)"), "null");
}

TEST_F(Payload, IsFoundUnderAnotherSpellingOfItsKey) {
  database_.run("UPDATE DW_Reports SET ReportName = 'Äpfel'");
  store(bytes(kLong, 9), u"Select * From DW_Reports Where ReportName = 'äpfel'");
  EXPECT_TRUE(look(u"Select * From DW_Reports Where ReportName = 'ÄPFEL'") ==
              Variant(bytes(kLong, 9)));
}

TEST_F(Payload, ThatIsATextStaysOne) {
  database_.run("UPDATE DW_Reports SET Report_Binary = printf('%.*c', 2000000, 'x')");
  EXPECT_TRUE(look() == Variant(Text(2'000'000, u'x')));
}

TEST_F(Payload, IsWrittenInALoadToo) {
  session_->begin_load();
  hold(*session_, kLookUp).update({{u"Report_Binary", bytes(kLong, 10)}});
  session_->commit();
  EXPECT_TRUE(look() == Variant(bytes(kLong, 10)));
}

TEST_F(Payload, IsReadFromATableThatWasMadeOtherwise) {
  database_.loosen("DW_Reports", "PRIMARY KEY (ReportName)");
  database_.run("INSERT INTO DW_Reports (ReportName, Report_Binary) VALUES ('Sales', x'0102')");
  session_ = open_session();
  store(bytes(kLong, 11));
  EXPECT_TRUE(look() == Variant(bytes(kLong, 11)));
}

}  // namespace
}  // namespace tarnwick::sqlite
