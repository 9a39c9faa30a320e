#include "engines/sqlite/session.h"

#include "engines/sqlite/application_role.h"
#include "engines/sqlite/database_file.h"
#include "engines/sqlite/locking_rowset.h"
#include "engines/sqlite/read_rowset.h"

namespace tarnwick::sqlite {
namespace {

using ado::AdoError;
using ado::AdoErrorNumber;

// SQL Server's native numbers for the same situations.
constexpr std::int32_t kNativePermissionDenied = 229;
constexpr std::int32_t kNativeUnknownDatabase = 911;
constexpr std::int32_t kNativeCannotSetRole = 15161;

std::string utf8_of(TextView statement) {
  if (statement.find(u'\0') != TextView::npos) {
    throw AdoError(AdoErrorNumber::kCommandError, u"The statement holds a NUL character.");
  }
  try {
    return to_utf8(statement);
  } catch (const Error&) {
    throw AdoError(AdoErrorNumber::kCommandError, u"The statement holds an unpaired surrogate.");
  }
}

/// What a statement without records leaves behind.
class NoRecords final : public ado::Rowset {
 public:
  [[nodiscard]] const std::vector<ado::Column>& columns() const override { return columns_; }
  void fetch(ado::RowBuffer& /*rows*/, std::size_t /*limit*/) override {}
  void update(std::span<const ado::Cell> /*row*/,
              std::span<const ado::Assignment> /*assigned*/) override {
    refuse();
  }
  void insert(std::span<const ado::Assignment> /*assigned*/) override { refuse(); }

 private:
  [[noreturn]] static void refuse() { throw AdoError(AdoErrorNumber::kFeatureNotAvailable); }

  const std::vector<ado::Column> columns_;
};

}  // namespace

void Session::set_default_database(TextView name) {
  const auto file = database_file(folder_, name);
  if (database_ != nullptr) {
    if (name == name_) return;
    if (admitted_ || database_->log.in_transaction()) {
      throw AdoError(AdoErrorNumber::kPermissionDenied,
                     u"The database cannot be changed any more: an application role or a "
                     u"transaction ties the session to it.",
                     kNativePermissionDenied);
    }
  }
  std::error_code error;
  if (!std::filesystem::is_regular_file(file, error)) {
    throw AdoError(AdoErrorNumber::kUnspecified,
                   join({u"The database file ", file_text(file), u" does not exist."}),
                   kNativeUnknownDatabase);
  }
  try {
    auto opened = std::make_unique<OpenDatabase>(file, lock_file(file), lock_timeout_);
    if (!has_roles(opened->database)) {
      throw AdoError(AdoErrorNumber::kUnspecified,
                     u"it has no table DW_APP_ROLE and so no application role");
    }
    database_ = std::move(opened);
    name_ = name;
  } catch (const AdoError& failure) {
    if (failure.native() == ado::kNativeLockTimeout) throw;
    throw AdoError(
        static_cast<AdoErrorNumber>(failure.number()),
        join({u"The database ", file_text(file), u" cannot be opened: ", failure.description()}),
        failure.native());
  }
}

void Session::execute(TextView statement) {
  sqlite3_stmt* const prepared = prepare(statement);
  if (prepared == nullptr) return;
  auto& open = admitted();
  open.start_wait();
  const std::string sql = sqlite3_sql(prepared);
  if (sqlite3_stmt_readonly(prepared) == 0) {
    open.log.write({.statement = sql, .values = {}});
    return;
  }
  open.log.read([&] {
    sqlite3_stmt* const again = open.database.statement(sql);
    const ResetAtEnd reset(again);
    int code = sqlite3_step(again);
    while (code == SQLITE_ROW) code = sqlite3_step(again);
    if (code != SQLITE_DONE) open.database.fail(code);
  });
}

std::unique_ptr<ado::Rowset> Session::open(const ado::RowsetRequest& request) {
  sqlite3_stmt* const prepared = prepare(request.statement);
  if (prepared == nullptr) return std::make_unique<NoRecords>();
  auto& open = admitted();
  if (sqlite3_column_count(prepared) == 0) {
    execute(request.statement);
    return std::make_unique<NoRecords>();
  }
  if (sqlite3_stmt_readonly(prepared) == 0) {
    throw AdoError(AdoErrorNumber::kFeatureNotAvailable,
                   u"A statement that writes cannot return records here.");
  }
  std::string sql = sqlite3_sql(prepared);
  auto shape = Shape::of(prepared, open.catalog);
  if (request.locks_rows()) {
    return std::make_unique<LockingRowset>(open, std::move(sql), std::move(shape));
  }
  return std::make_unique<ReadRowset>(open, std::move(sql), std::move(shape));
}

void Session::begin() { database().log.begin(); }

void Session::commit() {
  database().start_wait();
  database().log.commit();
}

void Session::rollback() { database().log.rollback(); }

std::vector<ado::HeldRow> Session::held_rows() { return admitted().locks.held_rows(); }

sqlite3_stmt* Session::prepare(TextView statement) {
  const std::string sql = utf8_of(statement);
  if (const auto own = parse_session_statement(statement)) {
    run(*own);
    return nullptr;
  }
  auto& open = admitted();
  open.start_wait();
  open.catalog.refresh(open.database);
  return open.database.client_statement(sql);
}

void Session::run(const SessionStatement& statement) {
  if (const auto* timeout = std::get_if<SetLockTimeout>(&statement)) {
    lock_timeout_ = timeout->milliseconds;
  } else {
    enter_role(std::get<SetAppRole>(statement));
  }
}

void Session::enter_role(const SetAppRole& role) {
  auto& open = database();
  if (open.log.in_transaction()) {
    throw AdoError(AdoErrorNumber::kCommandError,
                   u"An application role cannot be entered inside a transaction.");
  }
  if (admitted_) {
    throw AdoError(AdoErrorNumber::kCommandError,
                   u"The session has entered an application role already.");
  }
  open.start_wait();
  if (!role_admits(open.database, to_utf8(role.role), to_utf8(role.password))) {
    throw AdoError(AdoErrorNumber::kAuthenticationFailed,
                   u"The application role does not exist, or the password is not its password.",
                   kNativeCannotSetRole);
  }
  admitted_ = true;
}

OpenDatabase& Session::database() {
  if (database_ == nullptr) {
    throw AdoError(AdoErrorNumber::kUnspecified, u"No database has been chosen.");
  }
  return *database_;
}

OpenDatabase& Session::admitted() {
  auto& open = database();
  if (!admitted_) {
    throw AdoError(AdoErrorNumber::kPermissionDenied,
                   u"Permission was denied: no application role has been entered.",
                   kNativePermissionDenied);
  }
  return open;
}

}  // namespace tarnwick::sqlite
