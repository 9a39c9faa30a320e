#pragma once

#include "tests/model/played_system.h"

namespace tarnwick::model {

// What another program does and sees, which knows nothing of the system.

/// The conditions of a statement that mean the row with that key.
[[nodiscard]] std::string condition_of(Kind kind, int number);
/// As it stands between quotes.
[[nodiscard]] std::string quoted(std::string_view text);

inline constexpr std::array<const char*, kKinds> kTables{"DW_SEC_COMP", "DW_SEC_PC", "DW_Reports"};
/// The columns of a table, in the order in which they are compared.
[[nodiscard]] std::vector<std::string> columns_of(Kind kind);

/// With an observer who sees what is committed.
[[nodiscard]] std::unique_ptr<PlayedDatabase> make_embedded_database();

}  // namespace tarnwick::model
