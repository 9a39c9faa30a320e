#pragma once

#include <string>
#include <vector>

#include "apps/tarnwick/completion/candidate.h"
#include "apps/tarnwick/completion/values.h"

namespace tarnwick::cli {

struct Options;

/// Which names are wanted of a database.
struct WantedNames {
  Values::Kind kind = Values::Kind::kAny;
  std::string typed;      // how they begin
  std::string component;  // PCs of this one alone; empty: of any
  std::string computer;   // MAC numbers of this one alone; empty: of any
};

/// The names in the database that `options` name whole: with a role and a password in a regular
/// file. Reads the database itself and waits for no row. Whatever goes wrong, there are none.
[[nodiscard]] std::vector<Candidate> stored_names(const Options& options,
                                                  const WantedNames& wanted) noexcept;

}  // namespace tarnwick::cli
