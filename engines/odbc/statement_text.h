#pragma once

#include <optional>
#include <vector>

#include "runtime/text.h"

namespace tarnwick::odbc {

/// A select statement over one table, taken apart as far as a row lock and a keyed write need it.
struct TableSelect {
  Text table;               // as written, with its database and schema
  std::vector<Text> parts;  // the names of `table` without brackets and quotes, the table last
  std::size_t hint_at = 0;  // where a table hint belongs: behind the table and its alias
};

/// Reads "SELECT ... FROM table [[AS] alias] [WHERE ...] [ORDER BY ...]" (Transact-SQL's quoting
/// and comments). Nothing for anything else: joins, groups, unions, hints of its own, further
/// statements. A statement that is malformed behind its table, such as one with an unclosed quote,
/// is still read: the server has the word on it.
[[nodiscard]] std::optional<TableSelect> parse_table_select(TextView statement);

/// `statement` with a hint on its table that holds the row for this session from the read on.
[[nodiscard]] Text with_row_lock(TextView statement, const TableSelect& select);

/// `statement` with a hint on its table that shows rows as they stand and waits for no lock.
[[nodiscard]] Text without_waiting(TextView statement, const TableSelect& select);

/// `statement` with a hint on its table that shows rows as they were committed, whatever the
/// session's isolation, and fails at once where that takes a lock that somebody else has.
[[nodiscard]] Text as_committed(TextView statement, const TableSelect& select);

/// Whether `statement` calls sp_setapprole with two texts and does nothing else.
[[nodiscard]] bool only_enters_role(TextView statement);

/// A statement with the columns of `statement` and no rows, which waits for no lock.
[[nodiscard]] Text columns_only(TextView statement, const TableSelect& select);

/// `text` between the marks `open` and `close`, the closing one doubled inside.
[[nodiscard]] Text in_marks(TextView text, char16_t open, char16_t close);

/// What a text from in_marks was made of.
[[nodiscard]] Text without_marks(TextView text);

/// `name` as an identifier in brackets.
[[nodiscard]] Text bracketed(TextView name);

/// `name` as an identifier in `quote` marks, doubled inside; as it stands where `quote` is a blank,
/// which is how a driver says that it knows no quoting.
[[nodiscard]] Text quoted(TextView name, TextView quote);

}  // namespace tarnwick::odbc
