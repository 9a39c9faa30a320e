#pragma once

#include <filesystem>

#include "benchmarks/floor_pc.h"
#include "runtime/keyed_list.h"

namespace tarnwick::benchmarks {

using FloorPcs = KeyedList<std::shared_ptr<FloorPc>>;

/// What anybody would write by hand on ODBC itself: every PC of the database that `connect` names,
/// fetched in blocks of rows into bound columns. Throws std::runtime_error.
[[nodiscard]] FloorPcs load_by_odbc(const Text& connect);

}  // namespace tarnwick::benchmarks
