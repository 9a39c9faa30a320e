#include "records/column_values.h"

#include <gtest/gtest.h>

#include "records/recordset_access.h"
#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

class ColumnValues : public test_support::ConnectedTest {
 protected:
  /// A row with the one column V.
  std::shared_ptr<ado::Recordset> row(TextView value) {
    return get_recordset(state(), join({u"Select ", value, u" As V"}), ado::LockType::kReadOnly);
  }

  template <class Read>
  std::int32_t error_of(Read&& read) {
    try {
      (void)read();
    } catch (const Error& error) {
      return error.number();
    }
    return 0;
  }
};

TEST_F(ColumnValues, StandInForNull) {
  const auto null = row(u"Null");
  EXPECT_EQ(column_value<Text>(*null, u"V", kNullIsEmpty), u"");
  EXPECT_EQ(column_value<std::int16_t>(*null, u"V", null_is(11)), 11);
  EXPECT_EQ(column_value<std::int32_t>(*null, u"V", null_is(12)), 12);
  EXPECT_EQ(column_value<Date>(*null, u"V", kNullIsEmpty), Date{});
}

TEST_F(ColumnValues, AreConverted) {
  EXPECT_EQ(column_value<Text>(*row(u"'abc'"), u"V", kNullIsEmpty), u"abc");
  EXPECT_EQ(column_value<Text>(*row(u"12"), u"V", kNullIsEmpty), u"12");
  EXPECT_EQ(column_value<std::int16_t>(*row(u"'12'"), u"V", null_is(0)), 12);
  EXPECT_EQ(column_value<std::int16_t>(*row(u"2.5"), u"V", null_is(0)), 2);
  EXPECT_EQ(column_value<std::int32_t>(*row(u"'70000'"), u"V", null_is(0)), 70000);
  EXPECT_EQ(column_value<Date>(*row(u"45284.5"), u"V", kNullIsEmpty), Date{45284.5});
}

TEST_F(ColumnValues, ThatDoNotConvertAreErrors) {
  EXPECT_EQ(error_of([&] { return column_value<std::int16_t>(*row(u"40000"), u"V", null_is(0)); }),
            6);
  EXPECT_EQ(error_of([&] { return column_value<std::int16_t>(*row(u"'abc'"), u"V", null_is(0)); }),
            13);
  EXPECT_EQ(
      error_of([&] { return column_value<std::int32_t>(*row(u"3000000000"), u"V", null_is(0)); }),
      6);
}

TEST_F(ColumnValues, OfAMissingColumnAreErrors) {
  EXPECT_EQ(error_of([&] { return column_value<Text>(*row(u"1"), u"W", kNullIsEmpty); }), 3265);
}

}  // namespace
}  // namespace tarnwick
