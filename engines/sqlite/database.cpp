#include "engines/sqlite/database.h"

#include <optional>
#include <system_error>

#include "engines/sqlite/files.h"

namespace tarnwick::sqlite {
namespace {

constexpr const char* kSchema = "dbo";

/// So many steps of SQLite's machine are done between two looks at the clock: well below a
/// millisecond of work.
constexpr int kStepsPerLook = 10'000;

int wait_while_busy(void* time, int /*times*/) {
  return static_cast<CallTime*>(time)->pause() ? 1 : 0;
}

int stop_when_over(void* time) { return static_cast<const CallTime*>(time)->is_over() ? 1 : 0; }

void ignore_change(void*, sqlite3*, int, const char*, const char*, sqlite3_int64, sqlite3_int64) {}

ado::AdoErrorNumber number_of(int code) {
  switch (code & 0xff) {
    case SQLITE_ERROR:
    // Untaken: the tables would have to change during each of fifty attempts.
    case SQLITE_SCHEMA:
    case SQLITE_TOOBIG:
    case SQLITE_MISMATCH:
      return ado::AdoErrorNumber::kCommandError;
    case SQLITE_CONSTRAINT:
      return ado::AdoErrorNumber::kIntegrityViolation;
    case SQLITE_READONLY:
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
  std::string result;
  result.reserve(name.size() + 2);
  result.append("\"").append(name);
  for (auto mark = result.find('"', 1); mark != std::string::npos;
       mark = result.find('"', mark + 2)) {
    result.insert(mark, 1, '"');
  }
  return result += '"';
}

void throw_sqlite_error(sqlite3* handle, int code) {
  const int primary = code & 0xff;
  if (primary == SQLITE_BUSY) throw ado::lock_timeout();
  const bool last = handle != nullptr && (sqlite3_errcode(handle) & 0xff) == primary;
  Text text = from_stored_utf8(last ? sqlite3_errmsg(handle) : sqlite3_errstr(code));
  const bool by_system = primary == SQLITE_IOERR || primary == SQLITE_CANTOPEN;
  const int system = handle != nullptr && by_system ? sqlite3_system_errno(handle) : 0;
  if (system != 0) {
    text += join({u" (", from_stored_utf8(std::system_category().message(system)), u")"});
  }
  const bool full = primary == SQLITE_FULL || (system != 0 && is_disk_full(system));
  throw ado::AdoError(number_of(code), std::move(text), code, {},
                      full ? std::optional(ado::FailureKind::kDiskFull) : std::nullopt);
}

Database::Database(const std::filesystem::path& file) : time_(std::make_shared<CallTime>()) {
  time_->start(kOpeningWait, CallTime::kUnlimited);
  open(file, nullptr);
  prepare_transactions();
  static_cast<void>(
      schema_version());  // reads the file's first page: fails where it is no database
  if (sqlite3_db_readonly(handle(), kSchema) != 0) throw_sqlite_error(nullptr, SQLITE_READONLY);
}

Database::Database(const std::filesystem::path& file, const char* layer,
                   std::shared_ptr<CallTime> time)
    : time_(std::move(time)) {
  open(file, layer);
  // The first makes SQLite keep the index of the write-ahead log in its own memory, the second keep
  // every page that was written there, the third leave the file as it is at the end.
  step(prepare("PRAGMA dbo.locking_mode=EXCLUSIVE").get());
  step(prepare("PRAGMA dbo.cache_spill=OFF").get());
  sqlite3_db_config(handle(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  prepare_transactions();
}

void Database::open(const std::filesystem::path& file, const char* layer) {
  sqlite3* handle = nullptr;
  // One thread at a time uses a session: SQLite need not guard the connection.
  const int opened = sqlite3_open_v2(sqlite_file_name(file).c_str(), &handle,
                                     SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, layer);
  handle_.reset(handle);
  if (opened != SQLITE_OK) throw_sqlite_error(handle, opened);
  sqlite3_extended_result_codes(handle, 1);
  sqlite3_busy_handler(handle, wait_while_busy, time_.get());
  sqlite3_progress_handler(handle, kStepsPerLook, stop_when_over, time_.get());
  sqlite3_db_config(handle, SQLITE_DBCONFIG_MAINDBNAME, kSchema);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_set_authorizer(handle, ClientRules::authorize, &rules_);
  hook_changes(nullptr, nullptr);
}

void Database::prepare_transactions() {
  schema_version_ = prepare("PRAGMA dbo.schema_version");
  begin_reading_ = prepare("BEGIN");
  begin_ = prepare("BEGIN IMMEDIATE");
  commit_ = prepare("COMMIT");
  rollback_ = prepare("ROLLBACK");
}

void Database::use_write_ahead_log() {
  for (;;) {
    try {
      switch_to_write_ahead_log();
      break;
    } catch (const ado::AdoError& error) {
      // Two programs that switch a file at the same time stand in each other's way, and SQLite lets
      // neither of them wait: each reads already when it wants the file to itself.
      if (error.native() != ado::kNativeLockTimeout || !time_->pause()) throw;
    }
  }
  // The log is brought to the disk by `sync_log`, not inside the transaction.
  step(prepare("PRAGMA dbo.synchronous=NORMAL").get());
  static_cast<void>(schema_version());  // opens the log's files, which cannot be had later
}

void Database::switch_to_write_ahead_log() {
  const StatementHandle mode = prepare("PRAGMA dbo.journal_mode=WAL");
  Execution execution(*this, mode.get());
  execution.next();
  // SQLite says so without an error where the file's place does not allow it.
  // Untaken: each file system of the systems that tests run on does.
  if (sqlite3_stricmp(reinterpret_cast<const char*>(sqlite3_column_text(mode.get(), 0)), "wal") !=
      0) {
    throw ado::AdoError(ado::AdoErrorNumber::kUnspecified,
                        u"The database cannot keep a write-ahead log where it lies.");
  }
}

StatementHandle Database::prepare(std::string_view sql, const char** tail) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(handle(), sql.data(), static_cast<int>(sql.size()),
                                      SQLITE_PREPARE_PERSISTENT, &statement, tail);
  if (code != SQLITE_OK) fail(code);
  return StatementHandle(statement);
}

sqlite3_stmt* Database::statement(std::string_view sql) {
  if (sqlite3_stmt* kept = own_statements_.find(sql)) return kept;
  return own_statements_.keep(sql, prepare(sql));
}

sqlite3_stmt* Database::client_statement(std::string_view sql) {
  if (sqlite3_stmt* kept = client_statements_.find(sql)) return kept;
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
  return client_statements_.keep(sql, std::move(found));
}

void Database::begin_reading() {
  step(begin_reading_.get());
  static_cast<void>(schema_version());  // SQLite begins with the first look at the file
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

void Database::sync_log() {
  sqlite3_file* log = nullptr;
  sqlite3_file_control(handle(), kSchema, SQLITE_FCNTL_JOURNAL_POINTER, &log);
  const int code = log->pMethods->xSync(log, SQLITE_SYNC_NORMAL);
  if (code == SQLITE_OK) return;
  throw ado::ConnectionLost(ado::AdoErrorNumber::kUnspecified,
                            join({u"The write-ahead log cannot be brought to the disk (",
                                  from_stored_utf8(sqlite3_errstr(code)),
                                  u"): nobody knows whether what was committed will last."}),
                            code);
}

void Database::rollback() noexcept {
  if (!in_transaction()) return;
  sqlite3_step(rollback_.get());
  sqlite3_reset(rollback_.get());
}

void Database::hook_changes(ChangeHook hook, void* context) {
  sqlite3_preupdate_hook(handle(), hook != nullptr ? hook : ignore_change, context);
}

void Database::unhook_changes() { sqlite3_preupdate_hook(handle(), nullptr, nullptr); }

std::int64_t Database::schema_version() {
  Execution execution(*this, schema_version_.get());
  execution.next();
  return sqlite3_column_int64(schema_version_.get(), 0);
}

void Database::step(sqlite3_stmt* statement) {
  Execution execution(*this, statement);
  while (execution.next()) {
  }
}

void Database::fail(int code) const {
  if ((code & 0xff) == SQLITE_INTERRUPT) {
    throw ado::AdoError(ado::AdoErrorNumber::kTimeout,
                        Text(description_of(ado::AdoErrorNumber::kTimeout)), code);
  }
  throw_sqlite_error(handle(), code);
}

bool Execution::next() {
  const int code = sqlite3_step(statement_);
  if (code != SQLITE_ROW && code != SQLITE_DONE) database_.fail(code);
  return code == SQLITE_ROW;
}

}  // namespace tarnwick::sqlite
