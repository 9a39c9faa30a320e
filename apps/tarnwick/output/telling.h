#pragma once

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "apps/tarnwick/maintenance/loading.h"
#include "apps/tarnwick/options.h"
#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

// What commands print about records, on standard output: for people, or as JSON.

/// To standard output, with a line end.
void print_json(const nlohmann::ordered_json& json);

/// All attributes, one below the other; of one alone (by its name, in any letter case) the bare
/// value. Throws Failure (kUsage) for a name that is no attribute's.
void show(const Options& options, const Row& row, const std::string& name);

/// The attributes with these names.
using Columns = std::vector<const Attribute*>;
template <class T, Name... kNames>
requires(client::HasAttribute<T, kNames>&&...) [[nodiscard]] Columns columns() {
  const auto all = client::attributes_of(automation::kClassOf<T>);
  return {&all[client::place_of_attribute<T>(kNames.view())]...};
}

/// A table with the columns `first` and then those that are not in `without` either, or a JSON
/// array of the rows with all their attributes. Throws Failure in the end if those are not all.
void list(const Options& options, const Loaded& loaded, const Columns& first,
          const Columns& without);

/// What a line of a table shows of the row.
[[nodiscard]] std::vector<std::string> cells(const Row& row, const Columns& columns);

/// Which values differ between the two. `stored`: the row as it is now, for --json and --verbose.
void tell_changes(const Options& options, const Row& before, const Row& after,
                  const std::optional<Row>& stored);

/// Column by column what was read, what is stored now (nothing when the row is gone) and what was
/// to be written, where any of them differ.
void explain_conflict(const Options& options, const Row& read, const std::optional<Row>& stored,
                      const Row& to_write);

}  // namespace tarnwick::cli
