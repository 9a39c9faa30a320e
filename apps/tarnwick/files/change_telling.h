#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "apps/tarnwick/files/comparison.h"

namespace tarnwick::cli {

// How changes are told: as they would be, and as they were done.

/// What becomes of a change.
enum class Outcome : std::uint8_t {
  kPlanned,
  kDone,
  kChanged,  // left alone: someone else changed the record meanwhile
  kHeld,     // left alone: another process maintains it
};

/// One line, without its end: "Report 'Open Orders' changed: Title."
[[nodiscard]] std::string line_of(const Change& change, Outcome outcome);
/// Field by field what would become of the record, a line each.
[[nodiscard]] std::string lines_of_fields(const Change& change);
/// The same for machines.
[[nodiscard]] nlohmann::ordered_json to_json(const Change& change, Outcome outcome);

/// How much is changed, and how much is not.
struct Totals {
  std::size_t added = 0;
  std::size_t changed = 0;
  std::size_t deleted = 0;
  std::size_t left_alone = 0;   // changed by someone else, or held
  std::size_t only_stored = 0;  // not in the folder, and not deleted
  std::size_t not_written = 0;  // values, by the object model

  void count(const Change& change, Outcome outcome);
  [[nodiscard]] bool nothing_to_do() const { return added + changed + deleted + left_alone == 0; }
};

/// Ends the output of a command: one line for each kind of which there are any.
[[nodiscard]] std::string lines_of(const Totals& totals, Outcome outcome);
[[nodiscard]] nlohmann::ordered_json to_json(const Totals& totals);

}  // namespace tarnwick::cli
