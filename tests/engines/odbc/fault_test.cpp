#include <gtest/gtest.h>

#include "ado/error.h"
#include "engines/odbc/engine.h"
#include "engines/odbc/result.h"
#include "tests/engines/odbc/faulty_odbc.h"
#include "tests/engines/odbc/sqlite_driver.h"

// Every ODBC call of a session's life fails in turn, on a real driver.

namespace tarnwick::odbc_test {
namespace {

constexpr TextView kAll = u"Select * From T Order By Nr";

class OdbcFaultTest : public testing::Test {
 protected:
  static void make_table(ado::EngineSession& session) {
    session.execute(
        u"Create Table T (Nr smallint Not Null Primary Key, Name nvarchar(20), "
        u"Definition text, Payload longvarbinary)");
  }

  std::unique_ptr<ado::EngineSession> connect(odbc::OdbcEngine& engine) {
    return engine.connect(ado::ConnectionString::parse(driver_.connection_string()));
  }

  static std::unique_ptr<ado::Rowset> open(ado::EngineSession& session) {
    return session.open({.statement = kAll,
                         .location = ado::CursorLocation::kClient,
                         .type = ado::CursorType::kStatic,
                         .lock = ado::LockType::kOptimistic});
  }

  /// Reads two rows, adds one and changes one in a transaction; true when all of it was done.
  void maintain(ado::EngineSession& session) {
    const auto beside = session.open({.statement = u"Select Nr, Name From T"});
    ado::RowBuffer some(2);
    beside->fetch(some, 1);

    session.begin();
    const auto rowset = open(session);
    ado::RowBuffer rows(4);
    rowset->fetch(rows, odbc::kAllRows);
    ASSERT_EQ(rows.rows(), 2u);
    std::vector<ado::Cell> row(4);
    rows.read_row(1, row);
    const Variant name = Text(u"new");
    const Variant payload = Bytes(2'000'000, std::byte{7});
    const Variant number = std::int16_t{3};
    rowset->update(row, {{{1, &name}, {3, &payload}}});
    rowset->insert({{{0, &number}, {1, &name}}});
    session.commit();
    beside->fetch(some, odbc::kAllRows);
    EXPECT_EQ(some.rows(), 2u);
  }

  void fill(ado::EngineSession& session) {
    session.execute(u"Delete From T");
    session.execute(u"Insert Into T Values (1, 'one', 'text', x'01'), (2, 'two', Null, Null)");
  }

  struct State {
    std::size_t rows;
    Variant second_name;
    friend bool operator==(const State&, const State&) = default;
  };
  static State state(ado::EngineSession& session) {
    const auto rowset = open(session);
    ado::RowBuffer rows(4);
    rowset->fetch(rows, odbc::kAllRows);
    std::vector<ado::Cell> row(4);
    rows.read_row(1, row);
    return {rows.rows(), row[1].to_variant()};
  }

  /// Runs `maintain` with each of its calls failing in turn.
  void fail_in_turn(bool all_from_there) {
    odbc::OdbcEngine sound;
    const auto observer = connect(sound);
    make_table(*observer);
    const State before{2, Text(u"two")};
    const State after{3, Text(u"new")};
    std::size_t errors = 0;
    for (std::size_t call = 1;; ++call) {
      SCOPED_TRACE(call);
      fill(*observer);
      FaultyOdbc api;
      api.failing_call = call;
      api.all_from_there = all_from_there;
      bool done = false;
      try {
        odbc::OdbcEngine engine(api);
        const auto session = connect(engine);
        maintain(*session);
        done = true;
      } catch (const ado::AdoError& error) {
        // An error has a number and says something.
        EXPECT_NE(error.number(), 0);
        EXPECT_FALSE(error.description().empty());
        ++errors;
      }
      EXPECT_EQ(api.open_handles, 0);
      // The transaction took place as a whole or not at all; a failure behind the commit alone
      // may be told beside a change that was made.
      const State now = state(*observer);
      EXPECT_TRUE(now == before || now == after) << now.rows;
      EXPECT_TRUE(!done || now == after);
      if (!api.has_failed()) break;
      ASSERT_LT(call, 1000u);
    }
    // Far the most calls matter.
    EXPECT_GT(errors, 50u);
  }

  SqliteDriver driver_;
};

TEST_F(OdbcFaultTest, ACallThatFailsEndsInAnErrorOrDoesNotMatter) { fail_in_turn(false); }

TEST_F(OdbcFaultTest, ADriverThatFailsForGoodEndsInAnError) { fail_in_turn(true); }

}  // namespace
}  // namespace tarnwick::odbc_test
