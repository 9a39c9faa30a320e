#include "engines/sqlite/query.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarnwick::sqlite {
namespace {

using ::testing::ElementsAre;

TEST(Query, TakesTheLiteralsOutOfALookUp) {
  const auto query = parameterized(
      "Select * From DW_SEC_PC Where MACNbr = '00-1A' And ComputerID = 'O''Brien' And CompID = -7");
  ASSERT_TRUE(query);
  EXPECT_EQ(query->sql,
            "Select * From DW_SEC_PC Where MACNbr = ? And ComputerID = ? And CompID = ?");
  EXPECT_THAT(query->columns, ElementsAre("MACNbr", "ComputerID", "CompID"));
  EXPECT_THAT(query->values, ElementsAre(StoredValue("00-1A"), StoredValue("O'Brien"),
                                         StoredValue(std::int64_t{-7})));
}

TEST(Query, TakesAnyBlanksAndLetterCase) {
  const auto query = parameterized("select*from dbo.DW_Reports\n\twhere ReportName='' ");
  ASSERT_TRUE(query);
  EXPECT_EQ(query->sql, "select*from dbo.DW_Reports\n\twhere ReportName=? ");
  EXPECT_THAT(query->values, ElementsAre(StoredValue("")));
}

TEST(Query, TakesTheLiteralsOutOfALookUpOfSomeColumns) {
  const auto query = parameterized("Select a,  b From T Where c = 'x'");
  ASSERT_TRUE(query.has_value());
  EXPECT_EQ(query->sql, "Select a,  b From T Where c = ?");
  EXPECT_THAT(query->values, ElementsAre(StoredValue("x")));
  EXPECT_THAT(query->columns, ElementsAre("c"));
}

TEST(Query, LeavesEverythingElseAlone) {
  for (const char* statement : {"",
                                "Select * From T",
                                "Select a b From T Where c = 1",
                                "Select a, From T Where c = 1",
                                "Select From T Where c = 1",
                                "Select T.a From T Where c = 1",
                                "Select count(*) From T Where c = 1",
                                "Select * From T Where",
                                "Select * From T Where a = 'x' Order By a",
                                "Select * From T Where a = 'x' Or b = 'y'",
                                "Select * From T Where a = 'x",
                                "Select * From T Where a = 'x';",
                                "Select * From T Where a = 1.5",
                                "Select * From T Where a = 1e3",
                                "Select * From T Where a = 0x1F",
                                "Select * From T Where a = - 5",
                                "Select * From T Where a = 99999999999999999999",
                                "Select * From T Where a = b",
                                "Select * From T Where a > 1",
                                "Select * From T, U Where a = 1",
                                "Select * From T Where \"a\" = 1",
                                "Select * From T Where a = 'x' -- c",
                                "Select * From T Where a = x'00'",
                                "Select * From T Where a = 'x' collate nocase",
                                "Select * From T Where a = 'x' And",
                                "Select * From T Where a == 1",
                                "Delete From T Where a = 1",
                                "Select * From T Where T.a = 1"}) {
    EXPECT_FALSE(parameterized(statement)) << statement;
  }
}

}  // namespace
}  // namespace tarnwick::sqlite
