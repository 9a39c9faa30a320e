#include "tests/engines/fetched_rows.h"

#include <algorithm>
#include <stdexcept>

#include "runtime/case_mapping.h"

namespace tarnwick::engine_contract {

FetchedRows::FetchedRows(std::unique_ptr<ado::Rowset> rowset, std::size_t limit)
    : rowset_(std::move(rowset)), rows_(rowset_->columns().size()) {
  rowset_->fetch(rows_, limit);
}

Variant FetchedRows::value(TextView name, std::size_t row) const {
  return cells(row).at(column(name)).to_variant();
}

std::vector<ado::Cell> FetchedRows::cells(std::size_t row) const {
  std::vector<ado::Cell> cells(rows_.columns());
  if (row >= rows_.rows()) throw std::out_of_range("no such row was fetched");
  rows_.read_row(row, cells);
  return cells;
}

std::size_t FetchedRows::column(TextView name) const {
  const auto& columns = rowset_->columns();
  const auto found = std::find_if(columns.begin(), columns.end(), [&](const ado::Column& column) {
    return equals_ignoring_case(column.name, name);
  });
  if (found == columns.end()) throw std::out_of_range(to_utf8(join({u"no column ", name})));
  return static_cast<std::size_t>(found - columns.begin());
}

void FetchedRows::update(Values values, std::size_t row) {
  std::vector<ado::Assignment> assigned;
  for (const auto& [name, value] : values) assigned.push_back({column(name), &value});
  rowset_->update(cells(row), assigned);
}

void FetchedRows::insert(Values values) {
  std::vector<ado::Assignment> assigned;
  for (const auto& [name, value] : values) assigned.push_back({column(name), &value});
  rowset_->insert(assigned);
}

}  // namespace tarnwick::engine_contract
