#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

/// The rows of a collection. A load can leave rows out: the account says why.
struct Loaded {
  std::vector<Row> rows;
  bool complete = true;
  bool gaps = false;  // texts that could not be had are shown as empty
  Text account;
  FailureCause cause;
};

// Each loads its collection, with a progress bar where that takes long. They throw Failure when
// there is something wrong and not a single row.
[[nodiscard]] Loaded load_components(const Session& session);
/// `comp_id`: only those of this component, which must exist (Failure, kMissing).
[[nodiscard]] Loaded load_pcs(const Session& session,
                              std::optional<std::int16_t> comp_id = std::nullopt);
[[nodiscard]] Loaded load_reports(const Session& session);

/// Fills what is not known in rows that were fetched, and tells of each on standard error. Whether
/// there were any.
bool fill_gaps(std::vector<Row>& rows);

/// Throws the Failure of a load of `what` ("the components") that left `cause` and `account`.
[[noreturn]] void refuse_load(const std::string& what, const FailureCause& cause, TextView account);

/// To be called when all that was loaded has been shown: throws Failure if that was not all.
inline void require_complete(const Loaded& loaded) {
  if (!loaded.complete) refuse_load("some of the rows", loaded.cause, loaded.account);
}

}  // namespace tarnwick::cli
