#pragma once

#include "runtime/variant.h"

namespace tarnwick::ado {

class Recordset;

/// A column of a recordset's current row. A light handle: valid while its recordset is open.
class Field {
 public:
  Field(Recordset& recordset, std::size_t index) : recordset_(&recordset), index_(index) {}

  [[nodiscard]] const Text& name() const;
  /// Error 3021 without a current row.
  [[nodiscard]] Variant value() const;
  [[nodiscard]] bool is_null() const;
  /// Puts `value` into the edit buffer of the current or new row, for `update`. Errors: 3021, 3251
  /// on a read-only recordset.
  void set_value(Variant value);

 private:
  Recordset* recordset_;
  std::size_t index_;
};

}  // namespace tarnwick::ado
