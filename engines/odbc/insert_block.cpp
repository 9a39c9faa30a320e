#include "engines/odbc/insert_block.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace tarnwick::odbc {
namespace {

// SQL Server takes 2,100 parameters and 1,000 rows; long before that one more row saves next to
// nothing, while the time in which the server makes its plan of the statement goes on growing.
constexpr std::size_t kMostParameters = 1000;
constexpr std::size_t kMostBytes = std::size_t{1} << 20;
constexpr std::size_t kLongRow = kMostBytes / 4;

std::size_t bytes_of(const Variant& value) {
  if (const auto* text = std::get_if<Text>(&value)) return text->size() * sizeof(char16_t);
  if (const auto* bytes = std::get_if<Bytes>(&value)) return bytes->size();
  return sizeof value;
}

std::size_t bytes_of(std::span<const ado::Assignment> row) {
  std::size_t bytes = 0;
  for (const ado::Assignment& assignment : row) bytes += bytes_of(*assignment.value);
  return bytes;
}

/// A short value of the same type.
Variant like(const Variant& value) {
  return std::visit([](const auto& held) { return Variant(std::decay_t<decltype(held)>{}); },
                    value);
}

}  // namespace

Text insert_statement(TextView table, const std::vector<InsertColumn>& columns, std::size_t rows) {
  if (columns.empty()) return join({u"INSERT INTO ", table, u" DEFAULT VALUES"});
  Text names;
  Text marks;
  for (const InsertColumn& column : columns) {
    const TextView separator = names.empty() ? u"" : u", ";
    names.append(separator).append(column.name);
    marks.append(separator).append(u"?");
  }
  Text statement = join({u"INSERT INTO ", table, u" (", names, u") VALUES "});
  for (std::size_t row = 0; row < rows; ++row) {
    statement.append(row == 0 ? u"(" : u", (").append(marks).append(u")");
  }
  return statement;
}

InsertBlock::InsertBlock(Text table, std::vector<InsertColumn> columns)
    : table_(std::move(table)), columns_(std::move(columns)), kinds_(columns_.size(), Null{}) {}

bool InsertBlock::may_hold(std::span<const ado::Assignment> row) {
  return !row.empty() && bytes_of(row) <= kLongRow;
}

bool InsertBlock::fits(TextView table, std::span<const InsertColumn> columns,
                       std::span<const ado::Assignment> row) const {
  if (table != table_ ||
      !std::equal(columns.begin(), columns.end(), columns_.begin(), columns_.end())) {
    return false;
  }
  if (values_.size() + row.size() > kMostParameters || bytes_ + bytes_of(row) > kMostBytes) {
    return false;
  }
  // The server gives all rows' values of a column one type: a text beside a number would have to
  // be a number.
  return std::equal(row.begin(), row.end(), kinds_.begin(),
                    [](const ado::Assignment& assignment, const Variant& kind) {
                      return is_null(*assignment.value) || is_null(kind) ||
                             assignment.value->index() == kind.index();
                    });
}

void InsertBlock::add(std::span<const ado::Assignment> row) {
  bytes_ += bytes_of(row);
  for (std::size_t i = 0; i < row.size(); ++i) {
    const Variant& value = *row[i].value;
    if (!is_null(value)) kinds_[i] = like(value);
    values_.push_back(value);
  }
}

void InsertBlock::add_to(Parameters& parameters) const {
  for (std::size_t i = 0; i < values_.size(); ++i) {
    const std::size_t column = i % columns_.size();
    if (is_null(values_[i])) {
      parameters.add_null(kinds_[column], columns_[column].type);
    } else {
      parameters.add(values_[i], columns_[column].type);
    }
  }
}

}  // namespace tarnwick::odbc
