#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include "runtime/name.h"

namespace tarnwick {

template <class Record>
class LoadedRows;

/// The values of a record: a struct of them, or the plain row that they are made of once something
/// in the record is changed. `Values` of a new record are its defaults.
template <class Record, class Values>
class RowValues {
 public:
  RowValues() : values_(std::make_unique<Values>()) {}
  RowValues(std::shared_ptr<const LoadedRows<Record>> rows, const std::byte* row)
      : rows_(std::move(rows)), row_(row) {}

  /// The value of the property `kName`, which is `member` where the values were made.
  template <Name kName, class T>
  [[nodiscard]] T get(T Values::*member) const {
    return values_ != nullptr ? (*values_).*member : rows_->template value<kName>(row_);
  }

  /// The values, made of the row if need be. `record` is the one whose values these are; its
  /// setters lead here.
  Values& made_for(Record& record) {
    if (values_ == nullptr) make_for(record);
    return *values_;
  }

 private:
  void make_for(Record& record) {
    values_ = std::make_unique<Values>();
    try {
      rows_->load(row_, record);
    } catch (...) {
      values_.reset();
      throw;
    }
    rows_.reset();
  }

  // One of the two.
  std::unique_ptr<Values> values_;
  std::shared_ptr<const LoadedRows<Record>> rows_;
  const std::byte* row_ = nullptr;
};

}  // namespace tarnwick
