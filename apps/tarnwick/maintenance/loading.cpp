#include "apps/tarnwick/maintenance/loading.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/cause.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/output/progress.h"

namespace tarnwick::cli {
namespace {

using Filter = std::function<bool(const Row&)>;

// The rows of the list behind this member of Server, loaded anew, but for those that `leave_out`
// is true of.
template <Name kList>
Loaded load_rows(const Session& session, const std::string& what, const Filter& leave_out = {}) {
  const Progress progress("Loading " + what);
  session.clear_last_cause();
  const auto list = session.server().get<kList>();
  Loaded loaded;
  loaded.complete = list.template call<"Refresh">();
  loaded.rows = list.rows();
  loaded.gaps = fill_gaps(loaded.rows);
  if (leave_out) std::erase_if(loaded.rows, leave_out);
  loaded.account = session.last_error_msg();
  loaded.cause = session.last_cause();
  loaded.complete = loaded.complete && loaded.account.empty();
  if (!loaded.complete && loaded.rows.empty()) refuse_load(what, loaded.cause, loaded.account);
  return loaded;
}

}  // namespace

Loaded load_components(const Session& session) {
  return load_rows<"Components">(session, "the components");
}

Loaded load_pcs(const Session& session, std::optional<std::int16_t> comp_id) {
  if (!comp_id) return load_rows<"RegisteredPCs">(session, "the PCs");
  const auto components = load_components(session).rows;
  const bool exists = std::ranges::any_of(
      components, [&](const Row& row) { return row.get<Component, "CompID">() == *comp_id; });
  if (!exists) {
    throw Failure(ExitCode::kMissing, fmt::format("Component {} does not exist.", *comp_id));
  }
  return load_rows<"RegisteredPCs">(session, "the PCs", [&](const Row& row) {
    return row.get<RegisteredPC, "CompID">() != *comp_id;
  });
}

Loaded load_reports(const Session& session) { return load_rows<"Reports">(session, "the reports"); }

bool fill_gaps(std::vector<Row>& rows) {
  bool any = false;
  for (Row& row : rows) {
    if (row.complete()) continue;
    any = true;
    row.fill();
    tell_error(
        fmt::format("{} has a text that the bus cannot carry; it is shown as empty. With "
                    "--in-process the service is not needed.",
                    describe(row)));
  }
  return any;
}

void refuse_load(const std::string& what, const FailureCause& cause, TextView account) {
  throw failure_of(cause, fmt::format("Cannot load {}", what), account);
}

}  // namespace tarnwick::cli
