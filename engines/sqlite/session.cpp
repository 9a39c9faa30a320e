#include "engines/sqlite/session.h"

#include "engines/sqlite/application_role.h"
#include "engines/sqlite/database_file.h"
#include "engines/sqlite/locking_rowset.h"
#include "engines/sqlite/read_rowset.h"

namespace tarnwick::sqlite {
namespace {

using ado::AdoError;
using ado::AdoErrorNumber;

// SQL Server's native number for the same situation.
constexpr std::int32_t kNativePermissionDenied = 229;

/// Of look-ups; a program uses a handful of them, none of them long.
constexpr std::size_t kKnownShapes = 64;
constexpr std::size_t kLongestKnown = 1024;

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

  std::vector<ado::Column> columns_;
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
  require_database_file(file);
  try {
    auto opened = std::make_unique<OpenDatabase>(file, lock_timeout_, statement_limit_);
    shapes_.clear();
    database_ = std::move(opened);
    name_ = name;
  } catch (const AdoError& failure) {
    if (failure.native() == ado::kNativeLockTimeout) throw;
    throw AdoError(
        static_cast<AdoErrorNumber>(failure.number()),
        join({u"The database ", file_text(file), u" cannot be opened: ", failure.description()}),
        failure.native(), {}, failure.kind());
  } catch (const std::filesystem::filesystem_error& failure) {
    throw AdoError(AdoErrorNumber::kUnspecified,
                   join({u"The database ", file_text(file), u" cannot be opened: ",
                         from_stored_utf8(failure.code().message())}),
                   failure.code().value());
  }
}

void Session::execute(TextView statement) {
  if (const auto prepared = prepare(statement)) run(*prepared);
}

std::unique_ptr<ado::Rowset> Session::open(const ado::RowsetRequest& request) {
  auto prepared = prepare(request.statement);
  if (!prepared) return std::make_unique<NoRecords>();
  if (sqlite3_column_count(prepared->statement) == 0) {
    run(*prepared);
    return std::make_unique<NoRecords>();
  }
  if (sqlite3_stmt_readonly(prepared->statement) == 0) {
    throw AdoError(AdoErrorNumber::kFeatureNotAvailable,
                   u"A statement that writes cannot return records here.");
  }
  auto shape = shape_of(*prepared);
  if (request.locks_rows()) {
    return std::make_unique<LockingRowset>(admitted(), std::move(prepared->query),
                                           std::move(shape));
  }
  return std::make_unique<ReadRowset>(admitted(), std::move(prepared->query), std::move(shape),
                                      request.held_rows == ado::HeldRowReading::kWait);
}

void Session::begin() { database().log.begin(); }

void Session::begin_load() {
  database().start_call();
  database().log.begin_load();
}

void Session::commit() {
  database().start_call();
  database().log.commit();
}

void Session::rollback() { database().log.rollback(); }

std::optional<std::vector<Text>> Session::columns_of(TextView table) {
  auto& open = admitted();
  open.start_call();
  const StoredValue name[] = {utf8_of(table)};
  std::vector<Text> columns;
  open.log.read([&](Database& database) {
    columns.clear();
    // The schema's own name is "main" to the function, whatever statements call it.
    sqlite3_stmt* const statement =
        database.statement("SELECT name FROM pragma_table_xinfo(?, 'main') WHERE hidden <> 1");
    Execution rows(database, statement, name);
    while (rows.next()) {
      columns.push_back(
          from_stored_utf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0))));
    }
  });
  return columns;
}

std::vector<ado::HeldRow> Session::held_rows() { return admitted().locks.held_rows(); }

// SQLite knows it from the row's header, and leaves the pages of the value alone.
Text Session::byte_length_of(TextView column) { return join({u"length(", column, u")"}); }

std::optional<Session::Prepared> Session::prepare(TextView statement) {
  const std::string sql = utf8_of(statement);
  if (const auto own = parse_session_statement(sql)) {
    if (const auto* timeout = std::get_if<SetLockTimeout>(&*own)) {
      lock_timeout_ = timeout->milliseconds;
    } else {
      enter_role(std::get<SetAppRole>(*own));
    }
    return std::nullopt;
  }
  auto& open = admitted();
  open.start_call();
  open.catalog.refresh(open.database);
  if (auto query = parameterized(sql)) {
    try {
      return Prepared{open.database.client_statement(query->sql), std::move(*query)};
    } catch (const AdoError&) {
      // The error is that of the client's own words, below.
    }
  }
  sqlite3_stmt* const prepared = open.database.client_statement(sql);
  return Prepared{prepared, {sqlite3_sql(prepared), {}, {}}};
}

void Session::run(const Prepared& prepared) {
  auto& open = admitted();
  if (sqlite3_stmt_readonly(prepared.statement) == 0) {
    open.log.write({Write::Author::kClient, prepared.query.sql, prepared.query.values});
    return;
  }
  open.log.read([&](Database& database) {
    Execution execution(database, database.client_statement(prepared.query.sql),
                        prepared.query.values);
    while (execution.next()) {
    }
  });
}

std::shared_ptr<const Shape> Session::shape_of(const Prepared& prepared) {
  const auto& catalog = admitted().catalog;
  const auto make = [&] {
    return std::make_shared<const Shape>(Shape::of(prepared.statement, catalog));
  };
  if (prepared.query.values.empty() || prepared.query.sql.size() > kLongestKnown) return make();
  if (shapes_.size() > kKnownShapes) shapes_.clear();
  auto& known = shapes_[prepared.query.sql];
  if (known.shape == nullptr || known.schema_version != catalog.version()) {
    known = {catalog.version(), make()};
  }
  return known.shape;
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
  open.database.time().start(Database::kOpeningWait, statement_limit_);
  require_role(open.database, role.role, role.password);
  open.database.use_write_ahead_log();
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
