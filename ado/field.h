#pragma once

#include <cstddef>

#include "runtime/variant.h"

namespace tarnwick::ado {

class Recordset;

/// A column of a recordset's current row. A light handle, for use while its recordset lives. All
/// members: error 3704 once the recordset is closed.
class Field {
 public:
  Field(Recordset& recordset, std::size_t index) : recordset_(&recordset), index_(index) {}

  [[nodiscard]] const Text& name() const;
  /// Error 3021 without a current row.
  [[nodiscard]] Variant value() const;
  /// Error 3021 without a current row.
  [[nodiscard]] bool is_null() const;
  /// Puts `value` as it is (Empty as Null) into the edit buffer of the current or new row, for
  /// Recordset::update. Errors: 3021, 3251 on a read-only recordset, 5 for a date outside the years
  /// 100 to 9999, which no engine keeps as one.
  void set_value(Variant value);

 private:
  Recordset* recordset_;
  std::size_t index_;
};

}  // namespace tarnwick::ado
