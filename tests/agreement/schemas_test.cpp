#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <regex>
#include <sstream>

#include "tests/agreement/agreement.h"
#include "tests/support/embedded_database.h"

namespace tarnwick::agreement {
namespace {

using ::testing::UnorderedElementsAreArray;

/// A column as both schemas are compared: the type without its length, in capitals.
struct Column {
  std::string type;
  bool null = true;
};
using Columns = std::map<std::string, Column>;

std::string plain_type(std::string declared) {
  std::ranges::transform(declared, declared.begin(),
                         [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return declared.substr(0, declared.find('('));
}

Columns embedded_columns(const std::string& table) {
  const test_support::EmbeddedDatabase database;
  Columns columns;
  for (const auto& row :
       database.run("SELECT name, type, \"notnull\" FROM pragma_table_info('" + table + "')")) {
    columns[row[0]] = {plain_type(row[1]), row[2] == "0"};
  }
  return columns;
}

Columns sql_server_columns(const std::string& table) {
  const std::string schema = content_of("schema/sqlserver.sql");
  const std::string opening = "CREATE TABLE dbo." + table + " (\n";
  const std::size_t begin = schema.find(opening);
  if (begin == std::string::npos) return {};
  static const std::regex described(R"re(  \[?(\w+)\]? (\w+)(?:\([^)]*\))? (NOT NULL|NULL),?)re");
  Columns columns;
  std::istringstream lines(schema.substr(begin + opening.size()));
  for (std::string line; std::getline(lines, line) && line != ");";) {
    std::smatch match;
    if (std::regex_match(line, match, described)) {
      columns[match[1]] = {plain_type(match[2]), match[3] == "NULL"};
    }
  }
  return columns;
}

std::vector<std::string> names_of(const Columns& columns) {
  std::vector<std::string> names;
  for (const auto& [name, column] : columns) names.push_back(name);
  return names;
}

template <class Record>
std::vector<std::string> needed_columns() {
  std::vector<std::string> names;
  for (const TextView column : required_columns<Record>()) names.push_back(to_utf8(column));
  return names;
}

/// The types that a column of the property may have; those of both schemas.
template <class Property>
std::vector<std::string> types_for(const Property& property) {
  using T = typename Property::Value;
  if (property.form == Form::kRowVersion) return {"BLOB", "ROWVERSION"};
  if (property.form == Form::kOwn) return {"IMAGE", "VARBINARY", "BLOB"};
  if (std::is_same_v<T, std::int16_t>) return {"SMALLINT"};
  if (std::is_same_v<T, std::int32_t>) return {"INT"};
  if (std::is_same_v<T, bool>) return {"BIT"};
  if (std::is_same_v<T, Date>) return {"DATETIME", "DATETIME REAL"};
  if (std::is_same_v<T, MaintTypeEnum>) return {"INT", "SMALLINT"};
  return {"NVARCHAR", "NTEXT"};  // also enumerations that are kept as text codes
}

template <class Record>
class SchemaOf : public ::testing::Test {
 protected:
  const std::string table_ = to_utf8(Properties<Record>::kTable);
};
using Records = ::testing::Types<Component, RegisteredPC, Report>;
TYPED_TEST_SUITE(SchemaOf, Records);

TYPED_TEST(SchemaOf, BothDatabasesHasTheColumnsOfTheTableOfPropertiesAndNoOthers) {
  EXPECT_THAT(names_of(embedded_columns(this->table_)),
              UnorderedElementsAreArray(needed_columns<TypeParam>()))
      << "schema/embedded.sql";
  EXPECT_THAT(names_of(sql_server_columns(this->table_)),
              UnorderedElementsAreArray(needed_columns<TypeParam>()))
      << "schema/sqlserver.sql";
}

TYPED_TEST(SchemaOf, BothDatabasesHasTheTypesOfTheProperties) {
  const Columns embedded = embedded_columns(this->table_);
  const Columns sql_server = sql_server_columns(this->table_);
  for_each_property<TypeParam>([&](const auto& property) {
    const std::string name = to_utf8(property.reading.column);
    ASSERT_TRUE(embedded.contains(name) && sql_server.contains(name)) << name;
    EXPECT_THAT(types_for(property), ::testing::Contains(embedded.at(name).type)) << name;
    EXPECT_THAT(types_for(property), ::testing::Contains(sql_server.at(name).type)) << name;
  });
}

TYPED_TEST(SchemaOf, BothDatabasesRefusesNullsWhereReadingDoes) {
  const Columns embedded = embedded_columns(this->table_);
  const Columns sql_server = sql_server_columns(this->table_);
  for_each_property<TypeParam>([&](const auto& property) {
    // Nobody writes a row version, and the class reads what has a form of its own.
    if (property.form == Form::kRowVersion || property.form == Form::kOwn) return;
    if (property.reading.place == 0) return;
    const std::string name = to_utf8(property.reading.column);
    ASSERT_TRUE(embedded.contains(name) && sql_server.contains(name)) << name;
    EXPECT_EQ(embedded.at(name).null, !property.reading.nulls.refused) << name;
    EXPECT_EQ(sql_server.at(name).null, !property.reading.nulls.refused) << name;
  });
}

TEST(SchemaOfTheCatalog, OffersEachColumnUnderBothNamesOfTheTable) {
  EXPECT_EQ(names_of(embedded_columns("DW_Report")), names_of(embedded_columns("DW_Reports")));
}

}  // namespace
}  // namespace tarnwick::agreement
