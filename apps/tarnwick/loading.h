#pragma once

#include <string>
#include <vector>

#include "apps/tarnwick/client.h"

namespace tarnwick::cli {

/// The rows of a collection. A load can leave rows out: the account says why.
template <class Row>
struct Loaded {
  std::vector<Row> rows;
  bool complete = true;
  Text account;
  FailureCause cause;
};

// Each loads its collection, with a progress bar where that takes long. They throw Failure when
// there is something wrong and not a single row.
[[nodiscard]] Loaded<ComponentRow> load_components(Client& client);
[[nodiscard]] Loaded<PcRow> load_pcs(Client& client);
/// Those of one component, which must exist (Failure, kMissing).
[[nodiscard]] Loaded<PcRow> load_pcs_of(Client& client, std::int16_t comp_id);
[[nodiscard]] Loaded<ReportRow> load_reports(Client& client);

/// Throws the Failure of a load of `what` ("the components") that left `cause` and `account`.
[[noreturn]] void refuse_load(const std::string& what, const FailureCause& cause, TextView account);

/// To be called when all that was loaded has been shown: throws Failure if that was not all.
template <class Row>
void require_complete(const Loaded<Row>& loaded) {
  if (!loaded.complete) refuse_load("some of the rows", loaded.cause, loaded.account);
}

}  // namespace tarnwick::cli
