#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engines/sqlite/catalog.h"
#include "engines/sqlite/database.h"
#include "engines/sqlite/stored_value.h"

namespace tarnwick::sqlite {

// The key columns compare without regard to the case of ASCII letters, so that any SQLite tool can
// open the file; names of records compare without regard to the case of all letters. Between the
// two lie keys that differ in the case of other letters: to SQLite they are two, to everybody else
// one.

/// A key's text with the case of all letters folded, by Unicode: the same for all spellings.
[[nodiscard]] std::string folded_key_text(std::string_view text);

/// Whether the key could be spelt otherwise: only where it has a letter beyond ASCII.
[[nodiscard]] bool has_other_spellings(std::span<const StoredValue> key);

/// The key of the row that a look-up by `key` means and SQLite did not find: one that differs from
/// it in the case of letters alone. The first such key in the order of the keys; nothing where
/// `key` holds no letter beyond ASCII.
[[nodiscard]] std::optional<std::vector<StoredValue>> other_spelling(
    Database& database, const Table& table, std::span<const StoredValue> key);

}  // namespace tarnwick::sqlite
