#include "apps/tarnwick/database/server_sessions.h"

#include <array>
#include <map>
#include <optional>
#include <utility>

#include "ado/recordset.h"
#include "runtime/conversions.h"

namespace tarnwick::cli {
namespace {

struct Maintained {
  TextView table;
  TextView key;
};
constexpr std::array kMaintained{Maintained{u"DW_SEC_COMP", u"CompID"},
                                 Maintained{u"DW_SEC_PC", u"MACNbr, ComputerID, CompID"},
                                 Maintained{u"DW_Reports", u"ReportName"}};

// The locks of rows that keep others from reading or maintaining them.
constexpr TextView kOwners =
    u"Select l.request_session_id As Session, l.resource_description As LockName, "
    u"s.host_process_id As Process, s.program_name As Program, s.login_name As Login "
    u"From sys.dm_tran_locks l Join sys.dm_exec_sessions s On s.session_id = l.request_session_id "
    u"Where l.resource_database_id = DB_ID() And l.resource_type In ('KEY', 'RID') "
    u"And l.request_mode In ('U', 'X') And l.request_status = 'GRANT'";

std::unique_ptr<ado::Recordset> open(const std::shared_ptr<ado::Connection>& connection,
                                     TextView statement) {
  auto rows = std::make_unique<ado::Recordset>();
  rows->set_active_connection(connection);
  rows->set_cursor_location(ado::CursorLocation::kClient);
  rows->set_cursor_type(ado::CursorType::kStatic);
  rows->set_lock_type(ado::LockType::kReadOnly);
  rows->open(statement, ado::kCommandText);
  return rows;
}

using RowName = std::pair<Text, Text>;  // table and key, as held_rows tells them

// The server's name for the lock on each row that bears a stamp.
std::map<RowName, Text> lock_names(const std::shared_ptr<ado::Connection>& in_role) {
  std::map<RowName, Text> names;
  for (const auto& [table, key] : kMaintained) {
    const auto rows = open(in_role, join({u"Select %%lockres%% As LockName, ", key, u" From ",
                                          table, u" With (NoLock) Where SoftLock <> ''"}));
    for (; !rows->eof(); rows->move_next()) {
      Text row;
      for (std::size_t i = 1; i < rows->field_count(); ++i) {
        if (i > 1) row += u", ";
        row += to_text(rows->field(i).value());
      }
      names[{Text(table), row}] = trim(to_text(rows->field(u"LockName").value()));
    }
  }
  return names;
}

struct Owner {
  std::int32_t session = 0;
  std::optional<std::int64_t> process;
  Text program;
  Text login;
};

Text text_or_nothing(const Variant& value) { return is_null(value) ? Text() : to_text(value); }

std::map<Text, Owner> lock_owners(const std::shared_ptr<ado::Connection>& outside) {
  std::map<Text, Owner> owners;
  const auto rows = open(outside, kOwners);
  for (; !rows->eof(); rows->move_next()) {
    Owner owner{.session = to_int32(rows->field(u"Session").value()),
                .process = std::nullopt,
                .program = text_or_nothing(rows->field(u"Program").value()),
                .login = text_or_nothing(rows->field(u"Login").value())};
    const Variant process = rows->field(u"Process").value();
    if (!is_null(process)) owner.process = to_int32(process);
    owners[Text(trim(to_text(rows->field(u"LockName").value())))] = std::move(owner);
  }
  return owners;
}

}  // namespace

void name_sessions(std::vector<Hold>& holds, const std::shared_ptr<ado::Connection>& in_role,
                   const std::shared_ptr<ado::Connection>& outside) {
  const auto owners = lock_owners(outside);
  const auto names = lock_names(in_role);
  for (Hold& hold : holds) {
    const auto name = names.find({hold.row.table, hold.row.key});
    if (name == names.end()) continue;
    const auto owner = owners.find(name->second);
    if (owner == owners.end()) continue;
    hold.session = owner->second.session;
    hold.row.process_id = owner->second.process;
    hold.program = owner->second.program;
    hold.user = owner->second.login;
  }
}

}  // namespace tarnwick::cli
