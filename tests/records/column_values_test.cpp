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
  EXPECT_EQ(text_or_empty(*null, u"V"), u"");
  EXPECT_EQ(int16_or(*null, u"V", 11), 11);
  EXPECT_EQ(int32_or(*null, u"V", 12), 12);
  EXPECT_EQ(date_or_zero(*null, u"V"), Date{});
}

TEST_F(ColumnValues, AreConverted) {
  EXPECT_EQ(text_or_empty(*row(u"'abc'"), u"V"), u"abc");
  EXPECT_EQ(text_or_empty(*row(u"12"), u"V"), u"12");
  EXPECT_EQ(int16_or(*row(u"'12'"), u"V", 0), 12);
  EXPECT_EQ(int16_or(*row(u"2.5"), u"V", 0), 2);
  EXPECT_EQ(int32_or(*row(u"'70000'"), u"V", 0), 70000);
  EXPECT_EQ(date_or_zero(*row(u"45284.5"), u"V"), Date{45284.5});
}

TEST_F(ColumnValues, ThatDoNotConvertAreErrors) {
  EXPECT_EQ(error_of([&] { return int16_or(*row(u"40000"), u"V", 0); }), 6);
  EXPECT_EQ(error_of([&] { return int16_or(*row(u"'abc'"), u"V", 0); }), 13);
  EXPECT_EQ(error_of([&] { return int32_or(*row(u"3000000000"), u"V", 0); }), 6);
}

TEST_F(ColumnValues, OfAMissingColumnAreErrors) {
  EXPECT_EQ(error_of([&] { return text_or_empty(*row(u"1"), u"W"); }), 3265);
}

}  // namespace
}  // namespace tarnwick
