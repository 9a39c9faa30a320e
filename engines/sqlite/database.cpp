#include "engines/sqlite/database.h"

#include <algorithm>
#include <system_error>

namespace tarnwick::sqlite {
namespace {

constexpr std::size_t kKeptStatements = 48;
constexpr const char* kSchema = "dbo";

int wait_while_busy(void* wait, int /*times*/) {
  return static_cast<LockWait*>(wait)->pause() ? 1 : 0;
}

ado::AdoErrorNumber number_of(int code) {
  switch (code & 0xff) {
    case SQLITE_ERROR:
    case SQLITE_SCHEMA:
    case SQLITE_TOOBIG:
    case SQLITE_MISMATCH:
    case SQLITE_RANGE:
      return ado::AdoErrorNumber::kCommandError;
    case SQLITE_CONSTRAINT:
      return ado::AdoErrorNumber::kIntegrityViolation;
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return ado::AdoErrorNumber::kPermissionDenied;
    default:
      return ado::AdoErrorNumber::kUnspecified;
  }
}

[[noreturn]] void refuse_second_statement() {
  throw ado::AdoError(ado::AdoErrorNumber::kCommandError,
                      u"There is text behind the first statement; statements go one at a time.");
}

class ActiveRules final {
 public:
  explicit ActiveRules(ClientRules& rules) : rules_(rules) {
    rules_.active = true;
    rules_.refusal.clear();
  }
  ~ActiveRules() { rules_.active = false; }
  ActiveRules(const ActiveRules&) = delete;
  ActiveRules& operator=(const ActiveRules&) = delete;

 private:
  ClientRules& rules_;
};

}  // namespace

std::string sqlite_file_name(const std::filesystem::path& file) {
  const auto utf8 = file.u8string();
  return {utf8.begin(), utf8.end()};
}

std::string identifier(std::string_view name) {
  std::string result = "\"";
  for (const char c : name) {
    if (c == '"') result += '"';
    result += c;
  }
  return result += '"';
}

void throw_sqlite_error(sqlite3* handle, int code) {
  const int primary = code & 0xff;
  if (primary == SQLITE_BUSY || primary == SQLITE_LOCKED) throw ado::lock_timeout();
  const bool last = handle != nullptr && (sqlite3_errcode(handle) & 0xff) == primary;
  Text text = from_stored_utf8(last ? sqlite3_errmsg(handle) : sqlite3_errstr(code));
  const int system = handle != nullptr ? sqlite3_system_errno(handle) : 0;
  if (system != 0 && (primary == SQLITE_IOERR || primary == SQLITE_CANTOPEN)) {
    text += join({u" (", from_stored_utf8(std::generic_category().message(system)), u")"});
  }
  throw ado::AdoError(number_of(code), std::move(text), code);
}

Database::Database(const std::filesystem::path& file) {
  sqlite3* handle = nullptr;
  // One thread at a time uses a session: SQLite need not guard the connection.
  const int opened = sqlite3_open_v2(sqlite_file_name(file).c_str(), &handle,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  handle_.reset(handle);
  if (opened != SQLITE_OK) throw_sqlite_error(handle, opened);
  sqlite3_extended_result_codes(handle, 1);
  wait_.start(kOpeningWait);
  sqlite3_busy_handler(handle, wait_while_busy, &wait_);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_MAINDBNAME, kSchema);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_set_authorizer(handle, ClientRules::authorize, &rules_);

  schema_version_ = prepare("PRAGMA dbo.schema_version");
  static_cast<void>(
      schema_version());  // reads the file's first page: fails where it is no database
  if (sqlite3_db_readonly(handle, kSchema) != 0) throw_sqlite_error(nullptr, SQLITE_READONLY);
  // Readers and the writer do not wait for each other; a commit is on the disk when it returns.
  step(prepare("PRAGMA dbo.journal_mode=WAL").get());
  step(prepare("PRAGMA dbo.synchronous=FULL").get());
  begin_ = prepare("BEGIN IMMEDIATE");
  commit_ = prepare("COMMIT");
  rollback_ = prepare("ROLLBACK");
}

StatementHandle Database::prepare(std::string_view sql, const char** tail) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(handle(), sql.data(), static_cast<int>(sql.size()),
                                      SQLITE_PREPARE_PERSISTENT, &statement, tail);
  if (code != SQLITE_OK) fail(code);
  return StatementHandle(statement);
}

sqlite3_stmt* Database::find(std::string_view sql) {
  const auto kept = std::find_if(kept_.begin(), kept_.end(),
                                 [&](const Kept& candidate) { return candidate.sql == sql; });
  if (kept == kept_.end()) return nullptr;
  std::rotate(kept_.begin(), kept, kept + 1);
  return kept_.front().statement.get();
}

sqlite3_stmt* Database::keep(std::string_view sql, StatementHandle statement) {
  if (kept_.size() == kKeptStatements) kept_.pop_back();
  kept_.insert(kept_.begin(), Kept{std::string(sql), std::move(statement)});
  return kept_.front().statement.get();
}

sqlite3_stmt* Database::statement(std::string_view sql) {
  if (sqlite3_stmt* kept = find(sql)) return kept;
  return keep(sql, prepare(sql));
}

sqlite3_stmt* Database::client_statement(std::string_view sql) {
  if (sqlite3_stmt* kept = find(sql)) return kept;
  StatementHandle found;
  const char* rest = sql.data();
  const char* const end = sql.data() + sql.size();
  // Blanks, comments and semicolons around the statement do no harm: they make no statement.
  while (rest < end) {
    StatementHandle next;
    try {
      const ActiveRules active(rules_);
      next = prepare({rest, static_cast<std::size_t>(end - rest)}, &rest);
    } catch (const ado::AdoError& error) {
      if (found != nullptr) refuse_second_statement();
      if (rules_.refusal.empty()) throw;
      throw ado::AdoError(ado::AdoErrorNumber::kPermissionDenied, rules_.refusal, error.native());
    }
    if (next == nullptr) continue;
    if (found != nullptr) refuse_second_statement();
    found = std::move(next);
  }
  if (found == nullptr) {
    throw ado::AdoError(ado::AdoErrorNumber::kCommandError, u"The statement is empty.");
  }
  return keep(sql, std::move(found));
}

void Database::begin_immediate() {
  int moved = 0;
  sqlite3_file_control(handle(), kSchema, SQLITE_FCNTL_HAS_MOVED, &moved);
  if (moved != 0) {
    throw ado::ConnectionLost(ado::AdoErrorNumber::kUnspecified,
                              u"The database file has been moved or deleted.",
                              SQLITE_READONLY_DBMOVED);
  }
  step(begin_.get());
}

void Database::commit() { step(commit_.get()); }

void Database::rollback() noexcept {
  if (!in_transaction()) return;
  sqlite3_step(rollback_.get());
  sqlite3_reset(rollback_.get());
}

std::int64_t Database::schema_version() {
  const ResetAtEnd reset(schema_version_.get());
  const int code = sqlite3_step(schema_version_.get());
  if (code != SQLITE_ROW) fail(code);
  return sqlite3_column_int64(schema_version_.get(), 0);
}

void Database::step(sqlite3_stmt* statement) {
  int code = sqlite3_step(statement);
  while (code == SQLITE_ROW) code = sqlite3_step(statement);
  sqlite3_reset(statement);
  if (code != SQLITE_DONE) fail(code);
}

void Database::fail(int code) const { throw_sqlite_error(handle(), code); }

}  // namespace tarnwick::sqlite
