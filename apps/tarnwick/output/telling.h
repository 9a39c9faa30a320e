#pragma once

#include <cstdint>
#include <functional>
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
/// What that prints.
[[nodiscard]] std::string json_text(const nlohmann::ordered_json& json);
/// The same of an array of objects as CSV: a line with `headings`, and one for each object with its
/// values under them as they stand in JSON, null as nothing.
[[nodiscard]] std::string csv_text(const std::vector<std::string>& headings,
                                   const nlohmann::ordered_json& array);

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

/// A column of a listing that is no attribute: a number, where the row has one.
struct MoreColumn {
  std::string name;
  std::function<std::optional<std::int64_t>(const Row&)> of;
};

/// A table with the columns `first`, then those that are not in `without` either, then `more`; or,
/// as JSON or CSV, the rows with all their attributes and `more`. Throws Failure in the end if
/// those are not all.
void list(const Options& options, ClassId record_class, const Loaded& loaded, const Columns& first,
          const Columns& without, const std::vector<MoreColumn>& more = {});
/// The same lines for who has no table of them: JSON or CSV, with all attributes.
[[nodiscard]] std::string listing_text(const Options& options, ClassId record_class,
                                       const std::vector<Row>& rows,
                                       const std::vector<MoreColumn>& more = {});

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
