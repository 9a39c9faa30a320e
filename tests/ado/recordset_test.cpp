#include "ado/recordset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/ado/recordset_fixture.h"
#include "tests/support/thrown_error.h"

namespace tarnwick::ado {
namespace {

using test_support::error_number_of;
using testing::ElementsAre;
using testing::IsEmpty;

INSTANTIATE_TEST_SUITE_P(Cursor, AnyCursorTest,
                         testing::Values(CursorLocation::kServer, CursorLocation::kClient),
                         [](const auto& location) {
                           return location.param == CursorLocation::kServer ? "Server" : "Client";
                         });

// --- Open and closed ---------------------------------------------------------------------------

TEST_F(RecordsetTest, TakesOverTheCursorLocationOfItsConnection) {
  Recordset recordset;
  EXPECT_EQ(recordset.cursor_location(), CursorLocation::kServer);
  connection->set_cursor_location(CursorLocation::kClient);
  recordset.set_active_connection(connection);
  EXPECT_EQ(recordset.cursor_location(), CursorLocation::kClient);
  connection->set_cursor_location(CursorLocation::kServer);
  EXPECT_EQ(recordset.cursor_location(), CursorLocation::kClient);
  recordset.set_cursor_location(CursorLocation::kServer);
  EXPECT_EQ(recordset.cursor_location(), CursorLocation::kServer);
}

TEST_F(RecordsetTest, NeedsAnOpenConnection) {
  Recordset recordset;
  EXPECT_EQ(error_number_of([&] { recordset.open(u"Select"); }), 3709);
  recordset.set_active_connection(std::make_shared<Connection>(Engines{&engine}));
  EXPECT_EQ(error_number_of([&] { recordset.open(u"Select"); }), 3709);
}

TEST_P(AnyCursorTest, WhatNeedsItClosedIsRefusedWhileOpen) {
  Recordset recordset;
  open(recordset, LockType::kReadOnly);
  EXPECT_EQ(error_number_of([&] { recordset.open(u"Select"); }), 3705);
  EXPECT_EQ(error_number_of([&] { recordset.set_active_connection(connection); }), 3705);
  EXPECT_EQ(error_number_of([&] { recordset.set_cursor_location(CursorLocation::kClient); }), 3705);
  EXPECT_EQ(error_number_of([&] { recordset.set_cursor_type(CursorType::kStatic); }), 3705);
  EXPECT_EQ(error_number_of([&] { recordset.set_lock_type(LockType::kReadOnly); }), 3705);
  EXPECT_EQ(recordset.state(), ObjectState::kOpen);
}

TEST_F(RecordsetTest, WhatNeedsItOpenIsRefusedWhileClosed) {
  Recordset recordset;
  EXPECT_EQ(recordset.state(), ObjectState::kClosed);
  EXPECT_EQ(error_number_of([&] { recordset.close(); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)recordset.bof(); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)recordset.eof(); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)recordset.record_count(); }), 3704);
  EXPECT_EQ(error_number_of([&] { recordset.move_first(); }), 3704);
  EXPECT_EQ(error_number_of([&] { recordset.move_next(); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)recordset.field_count(); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)recordset.field(u"Name"); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)recordset.field(0); }), 3704);
  EXPECT_EQ(error_number_of([&] { recordset.add_new(); }), 3704);
  EXPECT_EQ(error_number_of([&] { recordset.update(); }), 3704);
  EXPECT_EQ(error_number_of([&] { recordset.cancel_update(); }), 3704);
}

TEST_F(RecordsetTest, OptionsThatDoNotMeanTextAreRefused) {
  Recordset recordset;
  recordset.set_active_connection(connection);
  EXPECT_EQ(error_number_of([&] { recordset.open(u"Things", 2); }), 3001);
  EXPECT_EQ(recordset.state(), ObjectState::kClosed);
  EXPECT_THAT(engine.calls, IsEmpty());
}

TEST_P(AnyCursorTest, AStatementWithoutRecordsLeavesItClosed) {
  Recordset recordset;
  recordset.set_active_connection(connection);
  recordset.set_cursor_location(GetParam());
  recordset.open(u"Delete");
  EXPECT_EQ(recordset.state(), ObjectState::kClosed);
  EXPECT_THAT(engine.calls, ElementsAre("open Delete", "end-rowset"));
}

TEST_P(AnyCursorTest, AnOpenThatFailsLeavesItClosedAndUsable) {
  Recordset recordset;
  recordset.set_active_connection(connection);
  recordset.set_cursor_location(GetParam());
  for (const char* step : {"open", "fetch"}) {
    engine.failures = {{step, [] { throw lock_timeout(); }}};
    EXPECT_EQ(error_number_of([&] { recordset.open(u"Select"); }), -2147467259);
    EXPECT_EQ(recordset.state(), ObjectState::kClosed);
    EXPECT_EQ(connection->state(), ObjectState::kOpen);
  }
  engine.failures.clear();
  recordset.open(u"Select");
  EXPECT_EQ(value(recordset, u"Name"), text(u"a"));
}

TEST_P(AnyCursorTest, IsOpenedAgainAfterItsClose) {
  Recordset recordset;
  open(recordset, LockType::kReadOnly);
  recordset.move_next();
  recordset.close();
  EXPECT_EQ(recordset.state(), ObjectState::kClosed);
  engine.rows.resize(1);
  recordset.open(u"Select");
  EXPECT_EQ(value(recordset, u"Name"), text(u"a"));
  recordset.move_next();
  EXPECT_TRUE(recordset.eof());
}

TEST_P(AnyCursorTest, HoldsItsConnectionAlive) {
  Recordset recordset;
  open(recordset, LockType::kReadOnly);
  connection.reset();
  recordset.move_next();
  EXPECT_EQ(value(recordset, u"Name"), text(u"b"));
  EXPECT_EQ(engine.live_sessions, 1);
  recordset.close();
  recordset.set_active_connection(nullptr);
  EXPECT_EQ(engine.live_sessions, 0);
}

// --- Rows --------------------------------------------------------------------------------------

TEST_P(AnyCursorTest, StandsOnTheFirstRowAndWalksToTheEnd) {
  Recordset recordset;
  open(recordset, LockType::kReadOnly);
  Text names;
  while (!recordset.eof()) {
    EXPECT_FALSE(recordset.bof());
    names += std::get<Text>(value(recordset, u"Name"));
    recordset.move_next();
  }
  EXPECT_EQ(names, u"abc");
  EXPECT_FALSE(recordset.bof());
  EXPECT_EQ(error_number_of([&] { recordset.move_next(); }), 3021);
  EXPECT_EQ(error_number_of([&] { (void)value(recordset, u"Name"); }), 3021);
  EXPECT_EQ(error_number_of([&] { (void)recordset.field(u"Name").is_null(); }), 3021);
}

TEST_P(AnyCursorTest, WithoutRowsIsAtBothEndsAtOnce) {
  engine.rows.clear();
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  EXPECT_TRUE(recordset.bof());
  EXPECT_TRUE(recordset.eof());
  EXPECT_EQ(error_number_of([&] { recordset.move_first(); }), 3021);
  EXPECT_EQ(error_number_of([&] { recordset.move_next(); }), 3021);
  EXPECT_EQ(error_number_of([&] { recordset.field(u"Name").set_value(Null{}); }), 3021);
  EXPECT_EQ(recordset.field(u"Name").name(), u"Name");
}

TEST_F(RecordsetTest, AClientCursorGoesBackToItsFirstRowFromAnywhere) {
  Recordset recordset;
  open(recordset, CursorLocation::kClient, LockType::kReadOnly);
  while (!recordset.eof()) recordset.move_next();
  recordset.move_first();
  EXPECT_EQ(value(recordset, u"Name"), text(u"a"));
  EXPECT_FALSE(recordset.eof());
}

TEST_F(RecordsetTest, AForwardCursorGoesBackToItsFirstRowOnlyWhileThere) {
  Recordset recordset;
  open(recordset, CursorLocation::kServer, LockType::kReadOnly);
  recordset.move_first();
  EXPECT_EQ(value(recordset, u"Name"), text(u"a"));
  recordset.move_next();
  EXPECT_EQ(error_number_of([&] { recordset.move_first(); }), 3219);
  EXPECT_EQ(value(recordset, u"Name"), text(u"b"));
}

TEST_F(RecordsetTest, AForwardCursorWithOneRowDoesNotComeBackFromItsEnd) {
  engine.rows.resize(1);
  Recordset recordset;
  open(recordset, CursorLocation::kServer, LockType::kReadOnly);
  recordset.move_next();
  EXPECT_TRUE(recordset.eof());
  EXPECT_EQ(error_number_of([&] { recordset.move_first(); }), 3219);
}

TEST_F(RecordsetTest, RecordCountIsExactWhereAllRowsAreHeld) {
  struct Case {
    CursorLocation location;
    CursorType type;
    LockType lock;
    std::int64_t count;
  };
  for (const Case& c : {
           Case{CursorLocation::kClient, CursorType::kForwardOnly, LockType::kReadOnly, 3},
           Case{CursorLocation::kClient, CursorType::kKeyset, LockType::kOptimistic, 3},
           Case{CursorLocation::kClient, CursorType::kDynamic, LockType::kPessimistic, 3},
           Case{CursorLocation::kServer, CursorType::kStatic, LockType::kReadOnly, 3},
           Case{CursorLocation::kServer, CursorType::kKeyset, LockType::kOptimistic, 3},
           Case{CursorLocation::kServer, CursorType::kForwardOnly, LockType::kReadOnly, -1},
           Case{CursorLocation::kServer, CursorType::kDynamic, LockType::kOptimistic, -1},
           Case{CursorLocation::kServer, CursorType::kKeyset, LockType::kPessimistic, -1},
       }) {
    Recordset recordset;
    open(recordset, c.location, c.lock, c.type);
    EXPECT_EQ(recordset.record_count(), c.count);
  }
}

TEST_F(RecordsetTest, AClientCursorIsStaticWhateverWasAskedFor) {
  Recordset recordset;
  recordset.set_active_connection(connection);
  recordset.set_cursor_type(CursorType::kKeyset);
  EXPECT_EQ(recordset.cursor_type(), CursorType::kKeyset);
  recordset.set_cursor_location(CursorLocation::kClient);
  EXPECT_EQ(recordset.cursor_type(), CursorType::kStatic);
}

TEST_F(RecordsetTest, AClientCursorFetchesAtTheOpenOnly) {
  Recordset recordset;
  recordset.set_active_connection(connection);
  recordset.set_cursor_location(CursorLocation::kClient);
  recordset.open(u"Select");
  while (!recordset.eof()) recordset.move_next();
  EXPECT_THAT(engine.calls, ElementsAre("open Select", "fetch all"));
}

TEST_F(RecordsetTest, AServerCursorFetchesARowWhenItMovesThere) {
  Recordset recordset;
  recordset.set_active_connection(connection);
  recordset.set_lock_type(LockType::kPessimistic);
  recordset.open(u"Select");
  EXPECT_THAT(engine.calls, ElementsAre("open Select locking", "fetch 1"));
  recordset.move_next();
  EXPECT_EQ(engine.calls.size(), 3u);
}

TEST_F(RecordsetTest, AMoveThatFailsLeavesNoRowAndCanBeTriedAgain) {
  Recordset recordset;
  open(recordset, CursorLocation::kServer, LockType::kReadOnly);
  engine.failures["fetch"] = [] { throw lock_timeout(); };
  EXPECT_EQ(error_number_of([&] { recordset.move_next(); }), -2147467259);
  EXPECT_FALSE(recordset.eof());
  EXPECT_EQ(error_number_of([&] { (void)value(recordset, u"Name"); }), 3021);
  engine.failures.clear();
  recordset.move_next();
  EXPECT_EQ(value(recordset, u"Name"), text(u"b"));
}

// --- Fields ------------------------------------------------------------------------------------

TEST_P(AnyCursorTest, AFieldIsFoundInAnyLetterCaseAndByIndex) {
  Recordset recordset;
  open(recordset, LockType::kReadOnly);
  EXPECT_EQ(recordset.field_count(), 3u);
  EXPECT_EQ(value(recordset, u"TITLE"), text(u"A"));
  EXPECT_EQ(recordset.field(u"title").name(), u"Title");
  EXPECT_EQ(recordset.field(2).name(), u"Version");
  EXPECT_EQ(recordset.field(2).value(), Variant(std::int32_t{1}));
  EXPECT_EQ(error_number_of([&] { (void)recordset.field(u"Titles"); }), 3265);
  EXPECT_EQ(error_number_of([&] { (void)recordset.field(u""); }), 3265);
  EXPECT_EQ(error_number_of([&] { (void)recordset.field(3); }), 3265);
}

TEST_P(AnyCursorTest, AFieldFollowsTheCurrentRow) {
  Recordset recordset;
  open(recordset, LockType::kReadOnly);
  const Field title = recordset.field(u"Title");
  EXPECT_FALSE(title.is_null());
  recordset.move_next();
  EXPECT_TRUE(title.is_null());
  EXPECT_EQ(title.value(), Variant(Null{}));
}

TEST_P(AnyCursorTest, NamesInOneBufferAreToldApartByTheirText) {
  Recordset recordset;
  open(recordset, LockType::kReadOnly);
  Text name = u"Name!";
  EXPECT_EQ(value(recordset, TextView(name).substr(0, 4)), text(u"a"));
  name = u"Title";
  EXPECT_EQ(value(recordset, name), text(u"A"));
  EXPECT_EQ(error_number_of([&] { (void)value(recordset, TextView(name).substr(0, 4)); }), 3265);
}

TEST_P(AnyCursorTest, AnyNumberOfNamesMadeUpAnewIsFound) {
  Recordset recordset;
  open(recordset, LockType::kReadOnly);
  std::vector<Text> names;
  for (int i = 0; i < 200; ++i) names.emplace_back(i % 2 == 0 ? u"NAME" : u"version");
  for (const Text& name : names) {
    EXPECT_EQ(value(recordset, name), name == u"NAME" ? text(u"a") : Variant(std::int32_t{1}));
  }
}

TEST_P(AnyCursorTest, AFieldOfAnEarlierOpenWithMoreColumnsIsNotFound) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  Field last = recordset.field(2);
  recordset.close();
  EXPECT_EQ(error_number_of([&] { (void)last.value(); }), 3704);
  engine.columns.resize(1);
  for (auto& row : engine.rows) row.resize(1);
  recordset.open(u"Select");
  EXPECT_EQ(error_number_of([&] { (void)last.value(); }), 3265);
  EXPECT_EQ(error_number_of([&] { (void)last.name(); }), 3265);
  EXPECT_EQ(error_number_of([&] { last.set_value(Null{}); }), 3265);
}

// --- Trace -------------------------------------------------------------------------------------

TEST_F(RecordsetTest, AnOpenIsTracedWithItsCursorAndStatement) {
  struct Case {
    CursorLocation location;
    CursorType type;
    LockType lock;
    const char* line;
  };
  for (const Case& c :
       {Case{CursorLocation::kClient, CursorType::kKeyset, LockType::kOptimistic,
             "Open client static optimistic: Select * From T"},
        Case{CursorLocation::kServer, CursorType::kDynamic, LockType::kPessimistic,
             "Open server dynamic pessimistic: Select * From T"},
        Case{CursorLocation::kServer, CursorType::kForwardOnly, LockType::kReadOnly,
             "Open server forward-only read-only: Select * From T"},
        Case{CursorLocation::kServer, CursorType::kKeyset, LockType::kBatchOptimistic,
             "Open server keyset batch: Select * From T"}}) {
    Recordset recordset;
    recordset.set_active_connection(connection);
    recordset.set_cursor_location(c.location);
    recordset.set_cursor_type(c.type);
    recordset.set_lock_type(c.lock);
    recordset.open(u"Select * From T");
    EXPECT_THAT(trace.lines, ElementsAre(c.line));
    forget();
  }
}

TEST_F(RecordsetTest, AStepThatFailsIsTracedToo) {
  Recordset recordset;
  recordset.set_active_connection(connection);
  engine.fail("open", AdoErrorNumber::kCommandError);
  EXPECT_EQ(error_number_of([&] { recordset.open(u"Selct"); }), -2147217900);
  EXPECT_THAT(trace.lines, ElementsAre("Open server forward-only read-only: Selct"));
}

using RowsOfARecordset = RecordsetTest;

TEST_F(RowsOfARecordset, StayAsTheyWereFetchedAfterItsEnd) {
  Recordset recordset;
  open(recordset, CursorLocation::kClient, LockType::kOptimistic);
  const auto rows = recordset.rows();
  ASSERT_EQ(rows->rows(), 3u);
  recordset.move_next();
  EXPECT_EQ(recordset.row(), 1u);
  EXPECT_EQ(recordset.cells()[recordset.position_of(recordset.field(2).name())].to_variant(),
            Variant(std::int32_t{2}));
  recordset.close();
  EXPECT_EQ(RowBuffer::cell_at(rows->place_of(2), 0).to_variant(), text(u"c"));
}

TEST_F(RowsOfARecordset, AreNotToBeHadOfACursorThatFetchesThemOneByOne) {
  Recordset recordset;
  open(recordset, CursorLocation::kServer, LockType::kReadOnly);
  try {
    (void)recordset.rows();
    FAIL() << "it holds one row alone";
  } catch (const AdoError& error) {
    EXPECT_EQ(error.number(), static_cast<std::int32_t>(AdoErrorNumber::kFeatureNotAvailable));
  }
}

}  // namespace
}  // namespace tarnwick::ado
