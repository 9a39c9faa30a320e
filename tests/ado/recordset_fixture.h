#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "ado/recordset.h"
#include "tests/ado/fake_engine.h"

namespace tarnwick::ado {

[[nodiscard]] inline Variant text(TextView value) { return Text(value); }

/// A connection over three rows: a, b (without a title) and c.
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

}  // namespace tarnwick::ado
