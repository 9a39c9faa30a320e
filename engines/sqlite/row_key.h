#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "ado/row_buffer.h"
#include "engines/sqlite/byte_range_locks.h"

namespace tarnwick::sqlite {

// Where the lock of a row lies in the lock file: a hash of the table's name chooses a region of the
// upper half of all file offsets, a hash of the key a byte in that region. Rows whose bytes happen
// to be the same wait for each other without need, which is rare and does no harm. Texts count
// without regard to case, by Unicode: all spellings of a record's name are one row
// (key_spelling.h).

/// The region of `table`: locking it whole locks all of its rows.
[[nodiscard]] ByteRange lock_region(std::string_view table);

/// The byte of the row with the key `key` in the region `region`.
[[nodiscard]] std::int64_t lock_byte(ByteRange region, std::span<const ado::Cell> key);

/// The region that `byte` lies in.
[[nodiscard]] ByteRange region_around(std::int64_t byte);

/// The same key, exactly.
[[nodiscard]] bool same_key(std::span<const ado::Cell> a, std::span<const ado::Cell> b);

/// A key for people to read: its values separated by a comma and a blank.
[[nodiscard]] std::string key_text(std::span<const ado::Cell> key);

}  // namespace tarnwick::sqlite
