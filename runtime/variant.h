#pragma once

#include <cstdint>
#include <variant>

#include "runtime/bytes.h"
#include "runtime/date.h"
#include "runtime/text.h"

namespace tarnwick {

/// A variant without a value.
struct Empty {
  friend bool operator==(Empty, Empty) = default;
};
/// A database's Null.
struct Null {
  friend bool operator==(Null, Null) = default;
};

/// A value of any automation type that a database column or an argument may have.
using Variant = std::variant<Empty, Null, bool, std::int16_t, std::int32_t, std::int64_t, double,
                             Date, Text, Bytes>;

[[nodiscard]] inline bool is_null(const Variant& value) {
  return std::holds_alternative<Null>(value);
}

}  // namespace tarnwick
