#pragma once

#include <string>

#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

// What names a record, and its version.

/// The record's name in sentences: "Component 7", "PC VEL-SAL-001 (02-5A-10-00-00-01) of component
/// 10", "Report 'Open Orders'".
[[nodiscard]] std::string describe(const Row& row);

/// A row that knows nothing but the key of this one.
[[nodiscard]] Row key_of(const Row& row);

/// Whether the two are one row of the database, which does not tell letter case apart.
[[nodiscard]] bool same_key(const Row& a, const Row& b);

/// Whether the two values are one to the database, which does not tell letter case apart.
[[nodiscard]] bool same_value(const AttributeValue& a, const AttributeValue& b);

/// The row version that the row was read with; empty when it was not read.
[[nodiscard]] Text version_of(const Row& row);

/// Who maintains a row, since when.
struct Stamp {
  std::string computer;
  std::string since;  // "" where the stamp is not made like that
};
[[nodiscard]] Stamp parse_stamp(TextView stamp);

/// Throws Failure (kUsage) when a part of a key holds a single quote. Keys go into statements as
/// they stand: with a quote they would reach other rows than their own.
void require_plain_key(const Row& row);

}  // namespace tarnwick::cli
