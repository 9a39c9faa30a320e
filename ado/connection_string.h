#pragma once

#include <optional>
#include <vector>

#include "runtime/text.h"

namespace tarnwick::ado {

/// An OLE DB connection string taken apart: items "name=value" separated by ";". A value may stand
/// in single or double quotes (the quote doubled inside) and then hold any character; a name holds
/// "=" doubled. Behind Provider=MSDASQL a value may also stand in braces, as ODBC writes it (a
/// closing one doubled inside); the braces stay part of the value. Empty items are left out, blanks
/// around names and values too. A name given twice: the last one counts. Rules: the public OLE DB
/// reference, "connection string syntax"; ODBC's reference, SQLDriverConnect.
class ConnectionString {
 public:
  struct Item {
    Text name;
    Text value;
  };

  /// Throws AdoError 3001 (with a description that says what is wrong and in which item, counted
  /// from 1, never a value) for an item without "=", without a name, with an unclosed quote or with
  /// text behind a closed one.
  [[nodiscard]] static ConnectionString parse(TextView text);

  /// The value of the item `name` (any letter case), or nothing.
  [[nodiscard]] std::optional<Text> find(TextView name) const;
  /// Gives the item `name` (any letter case) the value `value`, adding it if it is not there.
  void set(TextView name, Text value);
  /// Each name once.
  [[nodiscard]] const std::vector<Item>& items() const { return items_; }

  /// Whether an item speaks to the OLE DB run-time alone ("OLE DB Services", "Persist Security
  /// Info", "Prompt", ...), which has no part here: every engine passes over it.
  [[nodiscard]] static bool is_for_ole_db(TextView name);

  /// The string with the value of every item whose name or value speaks of a password ("Password",
  /// "PWD") replaced by ***; of a malformed string all from the first malformed item on is *** too.
  /// For logs.
  [[nodiscard]] static Text without_passwords(TextView text);

 private:
  std::vector<Item> items_;
};

}  // namespace tarnwick::ado
