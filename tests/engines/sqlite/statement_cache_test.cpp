#include "engines/sqlite/statement_cache.h"

#include <gtest/gtest.h>

namespace tarnwick::sqlite {
namespace {

class StatementsKept : public ::testing::Test {
 protected:
  void SetUp() override {
    sqlite3* handle = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &handle), SQLITE_OK);
    handle_.reset(handle);
  }
  sqlite3_stmt* keep(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(handle_.get(), sql.c_str(), -1, &statement, nullptr), SQLITE_OK);
    return cache_.keep(sql, StatementHandle(statement));
  }
  static std::string number(int i) { return "SELECT " + std::to_string(i); }
  /// A statement of more than `bytes`.
  static std::string large(int i, std::size_t bytes) {
    return number(i) + " -- " + std::string(bytes, 'x');
  }

  struct Close {
    void operator()(sqlite3* handle) const { sqlite3_close(handle); }
  };
  std::unique_ptr<sqlite3, Close> handle_;
  StatementCache cache_;
};

TEST_F(StatementsKept, AreFoundByTheirText) {
  sqlite3_stmt* const one = keep(number(1));
  sqlite3_stmt* const two = keep(number(2));
  EXPECT_EQ(cache_.find(number(1)), one);
  EXPECT_EQ(cache_.find(number(2)), two);
  EXPECT_EQ(cache_.find("select 1"), nullptr);
}

TEST_F(StatementsKept, AreTheOnesUsedLast) {
  keep(number(-1));
  keep(number(-2));
  for (int i = 0; i < 46; ++i) keep(number(i));
  EXPECT_NE(cache_.find(number(-1)), nullptr);
  keep(number(46));
  EXPECT_EQ(cache_.statements(), StatementCache::kMostStatements);
  EXPECT_EQ(cache_.find(number(-2)), nullptr);
  EXPECT_NE(cache_.find(number(-1)), nullptr);
}

TEST_F(StatementsKept, AreBoundedByTheirBytes) {
  for (int i = 0; i < 48; ++i) {
    keep(large(i, 300'000));
    EXPECT_LE(cache_.bytes(), StatementCache::kMostBytes);
  }
  EXPECT_NE(cache_.find(large(47, 300'000)), nullptr);
  EXPECT_EQ(cache_.find(large(0, 300'000)), nullptr);
  EXPECT_LT(cache_.statements(), 8u);
}

TEST_F(StatementsKept, AreOneAloneWhereThatIsTooLarge) {
  keep(number(1));
  sqlite3_stmt* const huge = keep(large(2, 10'000'000));
  EXPECT_EQ(cache_.find(large(2, 10'000'000)), huge);
  EXPECT_EQ(cache_.statements(), 1u);
  keep(number(1));
  EXPECT_EQ(cache_.find(large(2, 10'000'000)), nullptr);
  EXPECT_LT(cache_.bytes(), 100'000u);
}

}  // namespace
}  // namespace tarnwick::sqlite
