#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "apps/tarnwick/fields.h"
#include "apps/tarnwick/options.h"
#include "apps/tarnwick/rows.h"

namespace tarnwick::cli {

// What commands print about records, on standard output: for people, or as JSON. All of it exists
// for ComponentRow, PcRow and ReportRow.

/// To standard output, with a line end.
void print_json(const nlohmann::ordered_json& json);

/// All properties, one below the other; of one alone (by its name, in any letter case) the bare
/// value. Throws Failure (kUsage) for a name that is no property's.
template <class Row>
void show(const Options& options, const Row& row, const std::string& field_name);

/// A table with the columns `names`, or a JSON array of the rows with all their properties.
template <class Row>
void list(const Options& options, const std::vector<Row>& rows,
          const std::vector<std::string_view>& names);

/// That the row was locked, and the row version that it was read with.
template <class Row>
void tell_locked(const Row& row);

/// Which values differ between the two. `stored`: the row as it is now, for --json and --verbose.
template <class Row>
void tell_changes(const Options& options, const Row& before, const Row& after,
                  const std::optional<Row>& stored);

/// Column by column what was read, what is stored now (nothing when the row is gone) and what was
/// to be written, where any of them differ.
template <class Row>
void explain_conflict(const Options& options, const Row& read, const std::optional<Row>& stored,
                      const Row& to_write);

}  // namespace tarnwick::cli
