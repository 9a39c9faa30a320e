#include "apps/tarnwick/completion/names.h"

#include <algorithm>
#include <exception>
#include <filesystem>

#include "ado/recordset.h"
#include "apps/common/engines.h"
#include "apps/tarnwick/database/role_connection.h"
#include "apps/tarnwick/options.h"
#include "apps/tarnwick/session/connect.h"
#include "platform/file_system.h"
#include "runtime/conversions.h"

namespace tarnwick::cli {
namespace {

using Kind = Values::Kind;

bool is_plain(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-';
}

// Where nothing in a text means anything to a statement, and letter case means the same to all
// databases, the database may choose; otherwise it is asked for all rows.
bool may_stand_in_statement(const std::string& text) {
  return !text.empty() && std::ranges::all_of(text, is_plain);
}

Text condition(TextView column, TextView comparison, const std::string& text, TextView wildcard) {
  if (!may_stand_in_statement(text)) return {};
  return join({u" And ", column, comparison, u"'", from_utf8(text), wildcard, u"'"});
}

Text begins(TextView column, const std::string& typed) {
  return condition(column, u" Like ", typed, u"%");
}

Text is(TextView column, const std::string& text) { return condition(column, u" = ", text, u""); }

// The names, and perhaps what they are for.
Text statement_for(const WantedNames& wanted) {
  switch (wanted.kind) {
    case Kind::kComponent:
      return u"Select CompID, CompName From DW_SEC_COMP Order By CompID";
    case Kind::kComputer:
      return join({u"Select Distinct ComputerID From DW_SEC_PC Where 1 = 1",
                   begins(u"ComputerID", wanted.typed), is(u"CompID", wanted.component),
                   u" Order By ComputerID"});
    case Kind::kMacNumber:
      return join({u"Select Distinct MACNbr, ComputerID From DW_SEC_PC Where 1 = 1",
                   begins(u"MACNbr", wanted.typed), is(u"CompID", wanted.component),
                   is(u"ComputerID", wanted.computer), u" Order By MACNbr"});
    case Kind::kReport:
      return join({u"Select ReportName, Title From DW_Reports Where 1 = 1",
                   begins(u"ReportName", wanted.typed), u" Order By ReportName"});
    default:
      return {};
  }
}

std::string text_in(ado::Recordset& rows, std::size_t column) {
  if (column >= rows.field_count() || rows.field(column).is_null()) return {};
  return to_display_utf8(to_text(rows.field(column).value()));
}

// No command takes a name with a quote, and no shell shows one with a line end.
bool can_be_typed(const std::string& name) {
  return !name.empty() && std::ranges::none_of(name, [](char c) {
    return c == '\'' || static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
  });
}

std::vector<Candidate> read(const std::shared_ptr<ado::Connection>& connection,
                            const WantedNames& wanted) {
  ado::Recordset rows;
  rows.set_active_connection(connection);
  rows.set_cursor_location(ado::CursorLocation::kServer);
  rows.set_cursor_type(ado::CursorType::kForwardOnly);
  rows.set_lock_type(ado::LockType::kReadOnly);
  rows.set_held_rows(ado::HeldRowReading::kAsItStands);
  rows.open(statement_for(wanted), ado::kCommandText);
  std::vector<Candidate> names;
  for (; !rows.eof(); rows.move_next()) {
    Candidate name{text_in(rows, 0), text_in(rows, 1)};
    if (can_be_typed(name.text)) names.push_back(std::move(name));
  }
  return beginning_with(wanted.typed, std::move(names));
}

// A password is neither asked for nor taken out of a pipe that somebody else waits for.
bool is_complete(const Options& options) {
  std::error_code error;
  return !options.connect.empty() && !options.role.empty() &&
         std::filesystem::is_regular_file(platform::path_from_utf8(options.password_file), error);
}

}  // namespace

std::vector<Candidate> stored_names(const Options& options, const WantedNames& wanted) noexcept {
  try {
    if (!is_complete(options)) return {};
    const Login login = login_of(options);
    apps::ProgramEngines engines;
    const auto connection =
        open_in_role(engines.list(), login.connect_string, login.role, login.password);
    auto names = read(connection, wanted);
    if (!names.empty() || wanted.kind != Kind::kComputer || wanted.typed.empty()) return names;
    // Commands take the one for the other.
    WantedNames by_number = wanted;
    by_number.kind = Kind::kMacNumber;
    return read(connection, by_number);
  } catch (const std::exception&) {
    return {};
  }
}

}  // namespace tarnwick::cli
