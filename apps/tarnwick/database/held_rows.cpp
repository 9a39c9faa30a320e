#include "apps/tarnwick/database/held_rows.h"

#include <utility>

#include "apps/tarnwick/database/embedded_folder.h"
#include "apps/tarnwick/database/role_connection.h"
#include "apps/tarnwick/database/server_sessions.h"
#include "engines/sqlite/holder.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

void name_processes(std::vector<Hold>& holds, const std::filesystem::path& folder) {
  const auto holders = sqlite::holders_of(folder, kDatabase);
  for (Hold& hold : holds) {
    const auto holder = holders.find(hold.row.process_id.value_or(0));
    if (holder == holders.end()) continue;
    hold.program = from_stored_utf8(holder->second.program);
    hold.user = from_stored_utf8(holder->second.user);
  }
}

}  // namespace

HeldRows::HeldRows(ado::Engines engines, Login login)
    : engines_(std::move(engines)),
      login_(std::move(login)),
      connection_(open_in_role(engines_, login_.connect_string, login_.role, login_.password)),
      folder_(embedded_folder(login_.connect_string)) {}

std::vector<Hold> HeldRows::read() {
  std::vector<Hold> holds;
  for (ado::HeldRow& row : connection_->held_rows()) holds.push_back({.row = std::move(row)});
  if (holds.empty()) return holds;
  if (folder_) {
    name_processes(holds, *folder_);
  } else {
    name_sessions(holds);
  }
  return holds;
}

void HeldRows::name_sessions(std::vector<Hold>& holds) {
  if (!note_.empty()) return;
  try {
    if (outside_ == nullptr) {
      outside_ = std::make_shared<ado::Connection>(engines_);
      outside_->open(login_.connect_string);
      outside_->set_default_database(kDatabase);
    }
    cli::name_sessions(holds, connection_, outside_);
  } catch (const Error& error) {
    note_ = "The sessions of the server are not shown: " + to_display_utf8(error.description());
  }
}

}  // namespace tarnwick::cli
