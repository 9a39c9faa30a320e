#pragma once

#include <chrono>
#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "ado/engine.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/sorting.h"
#include "runtime/date.h"

namespace tarnwick::cli {

// Rows that are held, for people and for machines.

/// A row that is held, and by whom.
struct Hold {
  ado::HeldRow row;
  Text program = {};  // the holder's; empty where it is not known
  Text user = {};
  /// The holder's session, where a server counts them and lets it be seen.
  std::optional<std::int32_t> session = {};
};

/// What the stamp of a held row says.
struct HoldStamp : Stamp {
  /// By the clocks of both computers; nothing where the stamp tells no time, or one to come.
  std::optional<std::chrono::seconds> held;
};
[[nodiscard]] HoldStamp read_stamp(const Text& stamp, Date now);

/// "45 s", "12 min", "3 h 05 min", "2 d 4 h".
[[nodiscard]] std::string duration(std::chrono::seconds time);

/// The whole holder in a sentence: "VEL-1 (process 815, tarnwick-server, of anna)".
[[nodiscard]] std::string holder_of(const Hold& hold, const Stamp& stamp);

[[nodiscard]] nlohmann::ordered_json to_json(const Hold& hold, Date now);

/// A table with at most `most` of them, and how many more there are; or "None.".
[[nodiscard]] std::string holds_text(const std::vector<Hold>& holds, Date now, std::size_t most);

/// What a list of held rows may be sorted by, and the key of a row in the column at that place.
[[nodiscard]] const std::vector<std::string>& hold_columns();
[[nodiscard]] SortKey sort_key(const Hold& hold, std::size_t column, Date now);

}  // namespace tarnwick::cli
