#include "ado/recordset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/ado/fake_engine.h"
#include "tests/support/thrown_error.h"

namespace tarnwick::ado {
namespace {

using test_support::error_description_of;
using test_support::error_number_of;

using testing::ElementsAre;
using testing::IsEmpty;

Variant text(TextView value) { return Text(value); }

class RecordsetTest : public testing::Test {
 protected:
  RecordsetTest() {
    engine.rows = {{text(u"a"), text(u"A"), std::int32_t{1}},
                   {text(u"b"), Null{}, std::int32_t{2}},
                   {text(u"c"), text(u"C"), std::int32_t{3}}};
    connection->open(u"Provider=Fake");
    forget();
  }
  ~RecordsetTest() override { EXPECT_EQ(engine.orphaned_rowsets, 0); }

  void open(Recordset& recordset, CursorLocation location, LockType lock,
            CursorType type = CursorType::kDynamic) {
    recordset.set_active_connection(connection);
    recordset.set_cursor_location(location);
    recordset.set_cursor_type(type);
    recordset.set_lock_type(lock);
    recordset.open(u"Select", kCommandText);
    forget();
  }

  void forget() {
    engine.calls.clear();
    trace.lines.clear();
  }

  static Variant value(Recordset& recordset, TextView name) {
    return recordset.field(name).value();
  }

  FakeEngine engine;
  TraceLines trace;
  std::shared_ptr<Connection> connection = std::make_shared<Connection>(Engines{&engine}, &trace);
};

/// The same with either location of the cursor: what both have in common.
class AnyCursorTest : public RecordsetTest, public testing::WithParamInterface<CursorLocation> {
 protected:
  void open(Recordset& recordset, LockType lock) {
    RecordsetTest::open(recordset, GetParam(), lock);
  }
};

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

// --- Edits -------------------------------------------------------------------------------------

TEST_P(AnyCursorTest, AnUpdateHandsOverTheAssignedColumnsOnly) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.field(u"Version").set_value(std::int32_t{9});
  recordset.field(u"Title").set_value(Text(u"first"));
  recordset.field(u"Title").set_value(Text(u"new"));
  EXPECT_EQ(recordset.edit_mode(), EditMode::kInProgress);
  recordset.update();
  EXPECT_EQ(recordset.edit_mode(), EditMode::kNone);
  EXPECT_THAT(engine.calls, ElementsAre("update where a Title=new Version=9"));
  EXPECT_THAT(trace.lines, ElementsAre("Update Title, Version"));
}

TEST_P(AnyCursorTest, WhatWasWrittenReadsBackAsWritten) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.field(u"Title").set_value(std::int16_t{5});
  EXPECT_EQ(value(recordset, u"Title"), Variant(std::int16_t{5}));
  recordset.update();
  EXPECT_EQ(value(recordset, u"Title"), Variant(std::int16_t{5}));
  recordset.field(u"Title").set_value(Date{2.5});
  recordset.update();
  EXPECT_EQ(value(recordset, u"Title"), Variant(Date{2.5}));
  recordset.field(u"Title").set_value(Null{});
  recordset.update();
  EXPECT_TRUE(recordset.field(u"Title").is_null());
  recordset.field(u"Title").set_value(Empty{});
  EXPECT_EQ(value(recordset, u"Title"), Variant(Null{}));
}

TEST_P(AnyCursorTest, WhatWasNotWrittenKeepsTheValueThatWasFetched) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  engine.rows[0][2] = std::int32_t{77};
  recordset.field(u"Title").set_value(Text(u"new"));
  recordset.update();
  EXPECT_EQ(value(recordset, u"Version"), Variant(std::int32_t{1}));
}

TEST_P(AnyCursorTest, ALaterUpdateSpeaksOfTheRowUnderItsWrittenKey) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.field(u"Name").set_value(Text(u"renamed"));
  recordset.update();
  recordset.field(u"Title").set_value(Text(u"new"));
  recordset.update();
  EXPECT_THAT(engine.calls,
              ElementsAre("update where a Name=renamed", "update where renamed Title=new"));
}

TEST_F(RecordsetTest, AClientCursorFindsItsWrittenValuesAgainWhenItComesBack) {
  Recordset recordset;
  open(recordset, CursorLocation::kClient, LockType::kOptimistic);
  recordset.move_next();
  recordset.field(u"Title").set_value(Text(u"new"));
  recordset.update();
  recordset.move_first();
  EXPECT_EQ(value(recordset, u"Title"), text(u"A"));
  recordset.move_next();
  EXPECT_EQ(value(recordset, u"Title"), text(u"new"));
  EXPECT_EQ(value(recordset, u"Name"), text(u"b"));
}

TEST_F(RecordsetTest, AServerCursorForgetsWrittenValuesWithTheirRow) {
  Recordset recordset;
  open(recordset, CursorLocation::kServer, LockType::kOptimistic);
  recordset.field(u"Title").set_value(Text(u"new"));
  recordset.update();
  recordset.move_next();
  EXPECT_TRUE(recordset.field(u"Title").is_null());
}

TEST_P(AnyCursorTest, AnUpdateWithoutAnEditDoesNothing) {
  Recordset recordset;
  open(recordset, LockType::kReadOnly);
  recordset.update();
  recordset.cancel_update();
  EXPECT_THAT(engine.calls, IsEmpty());
  EXPECT_THAT(trace.lines, IsEmpty());
}

TEST_P(AnyCursorTest, AnUpdateThatFailsKeepsTheEditPending) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.field(u"Title").set_value(Text(u"new"));
  engine.fail("update", AdoErrorNumber::kIntegrityViolation);
  EXPECT_EQ(error_number_of([&] { recordset.update(); }), -2147217873);
  EXPECT_EQ(recordset.edit_mode(), EditMode::kInProgress);
  EXPECT_EQ(value(recordset, u"Title"), text(u"new"));
  EXPECT_EQ(error_number_of([&] { recordset.move_next(); }), -2147217873);
  EXPECT_EQ(value(recordset, u"Name"), text(u"a"));
  engine.failures.clear();
  recordset.update();
  EXPECT_EQ(engine.rows[0][1], text(u"new"));
}

TEST_P(AnyCursorTest, ACancelledEditIsForgotten) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.field(u"Title").set_value(Text(u"new"));
  recordset.cancel_update();
  EXPECT_EQ(recordset.edit_mode(), EditMode::kNone);
  EXPECT_EQ(value(recordset, u"Title"), text(u"A"));
  recordset.update();
  EXPECT_THAT(engine.calls, IsEmpty());
}

TEST_P(AnyCursorTest, MovingOnWritesThePendingEdit) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.field(u"Title").set_value(Text(u"one"));
  recordset.move_first();
  EXPECT_EQ(engine.rows[0][1], text(u"one"));
  recordset.field(u"Title").set_value(Text(u"two"));
  recordset.move_next();
  EXPECT_EQ(engine.rows[0][1], text(u"two"));
  EXPECT_EQ(value(recordset, u"Name"), text(u"b"));
}

TEST_P(AnyCursorTest, ACloseDuringAnEditIsRefused) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.field(u"Title").set_value(Text(u"new"));
  EXPECT_EQ(error_number_of([&] { recordset.close(); }), 3219);
  EXPECT_EQ(recordset.state(), ObjectState::kOpen);
  recordset.cancel_update();
  recordset.close();
  open(recordset, LockType::kOptimistic);
  recordset.add_new();
  EXPECT_EQ(error_number_of([&] { recordset.close(); }), 3219);
}

TEST_P(AnyCursorTest, AReadOnlyRecordsetRefusesEdits) {
  for (const LockType lock : {LockType::kReadOnly, LockType::kBatchOptimistic}) {
    Recordset recordset;
    open(recordset, lock);
    EXPECT_EQ(error_number_of([&] { recordset.field(u"Title").set_value(Null{}); }), 3251);
    EXPECT_EQ(error_number_of([&] { recordset.add_new(); }), 3251);
    EXPECT_EQ(recordset.edit_mode(), EditMode::kNone);
  }
}

// --- New rows ----------------------------------------------------------------------------------

TEST_P(AnyCursorTest, ANewRowIsInsertedWithTheAssignedColumns) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.add_new();
  EXPECT_EQ(recordset.edit_mode(), EditMode::kAdd);
  EXPECT_TRUE(recordset.field(u"Name").is_null());
  recordset.field(u"Name").set_value(Text(u"d"));
  EXPECT_EQ(value(recordset, u"Name"), text(u"d"));
  EXPECT_EQ(value(recordset, u"Title"), Variant(Null{}));
  recordset.update();
  EXPECT_THAT(engine.calls, ElementsAre("insert Name=d"));
  EXPECT_THAT(trace.lines, ElementsAre("Insert Name"));
  EXPECT_EQ(recordset.edit_mode(), EditMode::kNone);
  EXPECT_EQ(value(recordset, u"Name"), text(u"d"));
  EXPECT_TRUE(recordset.field(u"Version").is_null());
}

TEST_P(AnyCursorTest, ANewRowIsTheLastOneAndCanBeUpdated) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.add_new();
  recordset.field(u"Name").set_value(Text(u"d"));
  recordset.update();
  recordset.field(u"Title").set_value(Text(u"D"));
  recordset.update();
  EXPECT_THAT(engine.calls, ElementsAre("insert Name=d", "update where d Title=D"));
  EXPECT_FALSE(recordset.eof());
  recordset.move_next();
  EXPECT_TRUE(recordset.eof());
  EXPECT_FALSE(recordset.bof());
}

TEST_P(AnyCursorTest, ANewRowFillsAnEmptyRecordset) {
  engine.rows.clear();
  Recordset recordset;
  open(recordset, LockType::kPessimistic);
  recordset.add_new();
  EXPECT_FALSE(recordset.eof());
  EXPECT_FALSE(recordset.bof());
  recordset.field(u"Name").set_value(Text(u"d"));
  recordset.update();
  EXPECT_FALSE(recordset.eof());
  EXPECT_FALSE(recordset.bof());
  recordset.move_first();
  EXPECT_EQ(value(recordset, u"Name"), text(u"d"));
}

TEST_F(RecordsetTest, ANewRowCountsInAClientCursor) {
  Recordset recordset;
  open(recordset, CursorLocation::kClient, LockType::kOptimistic);
  recordset.add_new();
  EXPECT_EQ(recordset.record_count(), 3);
  recordset.field(u"Name").set_value(Text(u"d"));
  recordset.update();
  EXPECT_EQ(recordset.record_count(), 4);
  recordset.move_first();
  EXPECT_EQ(value(recordset, u"Name"), text(u"a"));
}

TEST_P(AnyCursorTest, ACancelledNewRowGivesTheCurrentRowBack) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.move_next();
  recordset.add_new();
  recordset.field(u"Name").set_value(Text(u"d"));
  recordset.cancel_update();
  EXPECT_EQ(value(recordset, u"Name"), text(u"b"));
  recordset.move_next();
  EXPECT_EQ(value(recordset, u"Name"), text(u"c"));
  EXPECT_THAT(engine.rows, testing::SizeIs(3));
}

TEST_P(AnyCursorTest, ACancelledNewRowOfAnEmptyRecordsetLeavesItEmpty) {
  engine.rows.clear();
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.add_new();
  recordset.cancel_update();
  EXPECT_TRUE(recordset.bof());
  EXPECT_TRUE(recordset.eof());
}

TEST_P(AnyCursorTest, ANewRowDuringAnEditWritesThatEditFirst) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.field(u"Title").set_value(Text(u"new"));
  recordset.add_new();
  recordset.field(u"Name").set_value(Text(u"d"));
  recordset.add_new();
  EXPECT_THAT(engine.calls, ElementsAre("update where a Title=new", "insert Name=d"));
  EXPECT_EQ(recordset.edit_mode(), EditMode::kAdd);
  EXPECT_TRUE(recordset.field(u"Name").is_null());
}

TEST_P(AnyCursorTest, AnInsertThatFailsKeepsTheNewRowPending) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.add_new();
  recordset.field(u"Name").set_value(Text(u"a"));
  engine.fail("insert", AdoErrorNumber::kIntegrityViolation);
  EXPECT_EQ(error_number_of([&] { recordset.update(); }), -2147217873);
  EXPECT_EQ(recordset.edit_mode(), EditMode::kAdd);
  engine.failures.clear();
  recordset.field(u"Name").set_value(Text(u"d"));
  recordset.update();
  EXPECT_THAT(engine.calls, ElementsAre("insert Name=a", "insert Name=d"));
}

TEST_P(AnyCursorTest, ANewRowWithoutValuesIsInsertedAsItIs) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  recordset.add_new();
  recordset.update();
  EXPECT_THAT(engine.calls, ElementsAre("insert"));
  EXPECT_THAT(trace.lines, ElementsAre("Insert"));
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

}  // namespace
}  // namespace tarnwick::ado
