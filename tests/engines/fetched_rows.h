#pragma once

#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

#include "ado/engine.h"

namespace tarnwick::engine_contract {

/// A rowset with the rows fetched from it.
class FetchedRows {
 public:
  FetchedRows(std::unique_ptr<ado::Rowset> rowset, std::size_t limit);

  [[nodiscard]] std::size_t size() const { return rows_.rows(); }
  [[nodiscard]] Variant value(TextView column, std::size_t row = 0) const;
  [[nodiscard]] std::vector<ado::Cell> cells(std::size_t row = 0) const;
  [[nodiscard]] std::size_t column(TextView name) const;
  [[nodiscard]] ado::Rowset& rowset() { return *rowset_; }

  using Values = std::initializer_list<std::pair<TextView, Variant>>;
  void update(Values values, std::size_t row = 0);
  void insert(Values values);

 private:
  std::unique_ptr<ado::Rowset> rowset_;
  ado::RowBuffer rows_;
};

}  // namespace tarnwick::engine_contract
