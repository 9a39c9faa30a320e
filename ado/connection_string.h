#pragma once

#include <optional>
#include <vector>

#include "runtime/text.h"

namespace tarnwick::ado {

/// An OLE DB connection string taken apart: items "name=value" separated by ";". A value may stand
/// in single or double quotes (the quote doubled inside) and then hold any character. Empty items
/// are left out, blanks around names and values too. A name given twice: the last one counts.
/// Rules: the public OLE DB reference, "connection string syntax".
class ConnectionString {
 public:
  struct Item {
    Text name;
    Text value;
  };

  /// Throws AdoError 3001 (with a description that says what is wrong, never a value) for an item
  /// without "=", without a name, or with an unclosed quote.
  [[nodiscard]] static ConnectionString parse(TextView text);

  /// The value of the item `name` (any letter case), or nothing.
  [[nodiscard]] std::optional<Text> find(TextView name) const;
  [[nodiscard]] const std::vector<Item>& items() const { return items_; }

  /// The string with every value of a password item ("Password", "PWD") replaced by ***; for logs.
  [[nodiscard]] static Text without_passwords(TextView text);

 private:
  std::vector<Item> items_;
};

}  // namespace tarnwick::ado
