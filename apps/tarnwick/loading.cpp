#include "apps/tarnwick/loading.h"

#include <fmt/format.h>

#include <algorithm>

#include "apps/tarnwick/cause.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/kinds.h"
#include "apps/tarnwick/maintenance.h"
#include "apps/tarnwick/progress.h"

namespace tarnwick::cli {
namespace {

template <class Load>
auto load_rows(Client& client, const std::string& what, Load&& load) {
  const Progress progress("Loading " + what);
  client.clear_last_cause();
  auto loaded = load();
  loaded.account = client.last_error_msg();
  loaded.cause = client.last_cause();
  loaded.complete = loaded.complete && loaded.account.empty();
  if (!loaded.complete && loaded.rows.empty()) refuse_load(what, loaded.cause, loaded.account);
  return loaded;
}

}  // namespace

Loaded<ComponentRow> load_components(Client& client) {
  return load_rows(client, "the components", [&] {
    Loaded<ComponentRow> loaded;
    loaded.complete = client.refresh_components();
    loaded.rows = client.components();
    return loaded;
  });
}

Loaded<PcRow> load_pcs(Client& client) {
  return load_rows(client, "the PCs", [&] {
    Loaded<PcRow> loaded;
    loaded.complete = client.refresh_pcs();
    loaded.rows = client.pcs();
    return loaded;
  });
}

Loaded<PcRow> load_pcs_of(Client& client, std::int16_t comp_id) {
  const auto components = load_components(client).rows;
  const auto component = std::ranges::find(components, comp_id, &ComponentRow::comp_id);
  if (component == components.end()) {
    throw Failure(ExitCode::kMissing, fmt::format("Component {} does not exist.", comp_id));
  }
  return load_rows(client, "the PCs", [&] {
    Loaded<PcRow> loaded;
    loaded.rows = client.new_component(*component)->pcs();
    return loaded;
  });
}

Loaded<ReportRow> load_reports(Client& client) {
  return load_rows(client, "the reports", [&] {
    Loaded<ReportRow> loaded;
    loaded.complete = client.refresh_reports();
    loaded.rows = client.reports();
    return loaded;
  });
}

void refuse_load(const std::string& what, const FailureCause& cause, TextView account) {
  throw failure_of(cause, fmt::format("Cannot load {}", what), account);
}

}  // namespace tarnwick::cli
