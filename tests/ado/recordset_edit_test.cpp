#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/ado/recordset_fixture.h"
#include "tests/support/thrown_error.h"

namespace tarnwick::ado {
namespace {

using test_support::error_number_of;
using testing::ElementsAre;
using testing::IsEmpty;

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
  EXPECT_FALSE(recordset.field(u"Title").is_null());
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

TEST_P(AnyCursorTest, ADateOutsideTheCalendarIsRefusedWhereItIsAssigned) {
  Recordset recordset;
  open(recordset, LockType::kOptimistic);
  constexpr double kNoDays[] = {-657'435.0,
                                2'958'466.0,
                                1e300,
                                std::numeric_limits<double>::infinity(),
                                -std::numeric_limits<double>::infinity(),
                                std::numeric_limits<double>::quiet_NaN()};
  for (const double days : kNoDays) {
    EXPECT_EQ(error_number_of([&] { recordset.field(u"Title").set_value(Date{days}); }), 5) << days;
  }
  EXPECT_EQ(recordset.edit_mode(), EditMode::kNone);
  for (const double days : {-657'434.0, 2'958'465.75}) {
    recordset.field(u"Title").set_value(Date{days});
    EXPECT_EQ(value(recordset, u"Title"), Variant(Date{days}));
  }
  recordset.cancel_update();
  EXPECT_THAT(engine.calls, IsEmpty());
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

}  // namespace
}  // namespace tarnwick::ado
