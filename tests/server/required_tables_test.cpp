#include "server/required_tables.h"

#include <gtest/gtest.h>

#include "components/component_properties.h"
#include "pcs/registered_pc_properties.h"
#include "reports/report_properties.h"
#include "tests/ado/fake_engine.h"

namespace tarnwick {
namespace {

/// What the check says of a database all of whose tables have these columns.
Text complaint_about(std::optional<std::vector<Text>> columns) {
  ado::FakeEngine engine;
  engine.table_columns = std::move(columns);
  ado::Connection connection({&engine});
  connection.open(u"Provider=Fake");
  try {
    require_tables(connection);
    return {};
  } catch (const ado::AdoError& error) {
    EXPECT_EQ(error.number(), -2147217900);
    EXPECT_EQ(error.kind(), ado::FailureKind::kRefused);
    return error.description();
  }
}

std::vector<Text> all_columns() {
  std::vector<Text> columns;
  for (const TextView name : required_columns<Component>()) columns.emplace_back(name);
  for (const TextView name : required_columns<RegisteredPC>()) columns.emplace_back(name);
  for (const TextView name : required_columns<Report>()) columns.emplace_back(name);
  return columns;
}

TEST(RequiredTables, AreTakenAsTheyAreWhereAllIsThere) {
  EXPECT_EQ(complaint_about(all_columns()), u"");
}

TEST(RequiredTables, MayHaveMoreColumnsThanAreNeeded) {
  auto columns = all_columns();
  columns.emplace_back(u"Remark");
  EXPECT_EQ(complaint_about(columns), u"");
}

TEST(RequiredTables, AreTakenToBeThereWhereNothingCanBeTold) {
  EXPECT_EQ(complaint_about(std::nullopt), u"");
}

TEST(RequiredTables, AreNamedOnceWhereTheyAreMissing) {
  EXPECT_EQ(complaint_about(std::vector<Text>()),
            u"The table DW_SEC_COMP is missing. The table DW_SEC_PC is missing. "
            u"The table DW_Reports is missing.");
}

TEST(RequiredTables, AreNamedWithTheColumnsThatTheyLack) {
  auto columns = all_columns();
  std::erase(columns, u"LastUser");
  std::erase(columns, u"TotalLogins");
  std::erase(columns, u"Report_Binary");
  EXPECT_EQ(complaint_about(columns),
            u"The table DW_SEC_PC lacks: LastUser, TotalLogins. "
            u"The table DW_Reports lacks: Report_Binary.");
}

TEST(RequiredTables, HaveColumnsInAnyLetterCase) {
  auto columns = all_columns();
  std::erase(columns, u"LastUser");
  columns.emplace_back(u"LASTUSER");
  EXPECT_EQ(complaint_about(columns), u"");
}

}  // namespace
}  // namespace tarnwick
