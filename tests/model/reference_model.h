#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tests/model/step.h"
#include "tests/model/vocabulary.h"

namespace tarnwick::model {

// The documented behaviour of the object model, once more and as simply as it can be said: tables
// as maps, transactions as notes of what they do, texts as UTF-8. Nothing of the system is used.

/// Null is monostate.
using Datum = std::variant<std::monostate, bool, std::int64_t, double, std::string>;

/// Stands in an expected text for any text: what an engine says in words of its own.
inline constexpr char kAnyText = '\x01';

enum Kind { kComponents, kPcs, kReports };

struct StoredRow {
  std::map<std::string, Datum> columns;  // without RowVersion
  std::string version;                   // a name for it: rows with equal versions have equal names
};

/// Rows in the order of their keys.
using Table = std::map<std::string, StoredRow>;
/// A row by its table and key.
using RowName = std::pair<Kind, std::string>;

struct Record;

/// The transaction of a connection: opened by a fetch for maintenance, ended by who owns it.
struct Transaction {
  const Record* owner = nullptr;
  std::optional<RowName> stamped;
  std::string stamped_version;    // that the row had when it was fetched
  std::string stamped_key;        // as it was spelt
  std::string unsettled_version;  // that it shows to its own process
  std::set<RowName> deleted;
};

struct Process;

struct Connection {
  const Process* process = nullptr;
  bool open = false;
  /// The database has dropped it, which is noticed when it is used next.
  bool cut = false;
  std::optional<Transaction> transaction;
};
using ConnectionPtr = std::shared_ptr<Connection>;

/// What the database and all its sessions are.
struct Database {
  std::array<Table, kKinds> tables;
  std::vector<std::weak_ptr<Connection>> connections;
  int versions = 0;

  [[nodiscard]] std::string next_version() { return "v" + std::to_string(++versions); }
  [[nodiscard]] const StoredRow* find(const RowName& name) const;
  /// The transaction of another connection that holds the row.
  [[nodiscard]] const Transaction* holder(const RowName& name, const Connection* but) const;
};

/// Of which kind a failure is, as programs are told it.
enum CauseKind {
  kNone,
  kOther,
  kLockTimeout,
  kDeadlock,
  kConnectionLost,
  kDiskFull,
  kTimeout,
  kChanged,
  kRefused
};

struct Failure {
  std::int32_t number;
  std::string text;
  CauseKind kind = kNone;  // where nothing is said, by its number
};

/// The cause of the last failure. Within one public call the first one counts.
struct Cause {
  int kind = kNone;
  std::int32_t number = 0;
  /// The connection went while something was committed.
  bool outcome_unknown = false;
};

/// The recordset that a record keeps of its last fetch.
struct Fetched {
  ConnectionPtr connection;
  bool adds = false;
  /// What columns were assigned: an update that fails leaves it to the next one.
  std::map<std::string, Datum> assigned;
};

struct Record {
  Record(Process& of, Kind what);
  ~Record();
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

  [[nodiscard]] std::string key() const;
  [[nodiscard]] bool initialized() const;
  [[nodiscard]] bool locked() const;
  [[nodiscard]] bool holds_row() const;
  [[nodiscard]] const std::string& text(const char* property) const;
  [[nodiscard]] std::int64_t number(const char* property) const;
  [[nodiscard]] RowName row() const;
  void set(const std::string& property, Datum value);

  Process& process;
  Kind kind;
  std::map<std::string, Datum> values;
  bool changed = false;
  bool marked_locked = false;
  std::optional<Fetched> fetched;
  // The key under which the row was first known.
  std::string first_mac, first_computer, first_name;
  std::int64_t first_id = -1;
  std::vector<std::shared_ptr<Record>> pcs;
};
using RecordPtr = std::shared_ptr<Record>;

/// Keys compare in any letter case.
struct Store {
  std::vector<std::pair<std::string, RecordPtr>> entries;
  [[nodiscard]] RecordPtr find(const std::string& key) const;
  void add(const std::string& key, RecordPtr record);  // 457
  void remove(const std::string& key);                 // 5
};

struct CachedReport {
  std::string name;
  Datum file;
};

/// The answer to one question of a locked row.
struct Answer {
  bool retry = false;
  /// Who gives the row back before: a place of a process.
  std::optional<std::pair<int, int>> released;
  /// Which process is killed before.
  std::optional<int> killed;
};

/// In what the forms differ that processes are played in.
struct ProcessTraits {
  /// A record that its client gives up gives back its row, though a collection may keep the record.
  bool ends_locks_of_dropped = false;
  /// Nobody is asked about locked rows: it cancels.
  bool asks_nobody = false;
  /// An error that a call raises becomes the last cause, too.
  bool raising_tells_the_cause = false;
  /// What can be done to it.
  bool can_be_killed = false;
  bool can_refuse_commits = false;
  bool can_be_cut = false;
};

/// In what the databases differ.
struct DatabaseTraits {
  bool takes_any_value = true;
  /// Nobody writes a row that another one holds, and whoever reads it all the same sees what is not
  /// committed.
  bool locks_bind_everybody = false;
  /// Statements find keys in any spelling, those with letters beyond ASCII too.
  bool folds_all_letters = false;
  /// A row that is deleted and not yet committed holds up whoever comes by it.
  bool deleted_rows_are_held = true;
};

struct Traits {
  DatabaseTraits database;
  std::array<ProcessTraits, kProcesses> processes;
};

struct World;

struct ServerObject {
  bool initialized = false;
};

struct Process {
  Process(World& of, const ProcessTraits& what) : world(of), traits(what) {}

  [[nodiscard]] bool connected() const { return connection != nullptr && connection->open; }
  [[nodiscard]] Connection& require_connection() const;
  [[nodiscard]] Store& require_store(Kind kind) const;

  World& world;
  ProcessTraits traits;
  ConnectionPtr connection;
  std::string message;
  std::int32_t number = 0;
  Cause cause;
  int calls = 0;  // that are going on, one within the other
  bool has_noted = false;
  std::array<std::shared_ptr<Store>, kKinds> stores;
  std::optional<CachedReport> cached;
  std::array<std::optional<ServerObject>, kServers> servers;
  std::array<RecordPtr, kPlaces> places;
  bool refuses_next_commit = false;
};

/// Whether the stamped row is still the one that was fetched. It is not where another program did
/// not care for the lock; then the transaction can neither be read in nor committed.
[[nodiscard]] bool is_as_fetched(const Database& database, const Transaction& transaction);
/// Ahead of every read: error -2147217864 where that is not so.
void require_own_row(const Database& database, const Connection& connection);

/// Everything, and what questions of locked rows are answered in the step that is played.
struct World {
  explicit World(const Traits& of);
  DatabaseTraits traits;
  Database database;
  std::map<std::string, std::string> files;  // payloads, by their names in the folder
  int answer_plan = 0;
  std::vector<Answer> answers;
  std::vector<std::unique_ptr<Process>> processes;  // last: records need the database when they end
};

/// Whether whoever is asked about a row that `holder` (null: nobody) holds wants to try again. By
/// the plan of the step: 0 no; 1 yes, and no the next time; 2 yes, once the row was given back; 3
/// yes, once the holder's process was killed.
bool ask(Process& asking, const Transaction* holder);
/// What another program does to a row, in one of the steps from kInsertRow to kSpoilRow.
void write_from_outside(World& world, const Step& step);
/// The process is gone with all that it held, and another one begins in its place.
void kill_process(World& world, int number);

/// What can be seen of a side: names and values.
using Sight = std::vector<std::pair<std::string, std::string>>;

/// The model as something that steps are played on.
class ReferenceModel {
 public:
  explicit ReferenceModel(const Traits& traits) : world_(traits) {}

  /// Whether the step can be played as things stand.
  [[nodiscard]] bool can(const Step& step) const;
  /// What came of it.
  Sight play(const Step& step);
  [[nodiscard]] Sight look() const;
  /// How the questions of the last step were answered.
  [[nodiscard]] const std::vector<Answer>& answers() const { return world_.answers; }

 private:
  [[nodiscard]] StoredRow as_read_outside(const RowName& name, const StoredRow& stored) const;
  Sight of_server(Process& process, const Step& step);
  Sight of_collection(Process& process, const Step& step);
  Sight of_record(Process& process, const Step& step);
  void from_outside(Process& process, const Step& step);

  World world_;
};

// What the sources of the model share.

/// A property of a record class, and the column that it is read from.
struct Property {
  enum class Type {
    kText,
    kShort,
    kLong,
    kBoolean,
    kDate,
    kVersion,
    kMetaId,
    kReportCode,
    kReportType,
    kTtx
  };
  const char* name;
  const char* column;
  Type type;
  bool null_refused = false;
  std::int64_t null_number = 0;
};
/// In the order of reading.
[[nodiscard]] const std::vector<Property>& properties_of(Kind kind);
/// The properties that are written, in the order of writing.
[[nodiscard]] const std::vector<const char*>& written_of(Kind kind);
[[nodiscard]] const Property& property_of(Kind kind, const std::string& name);

/// As a message names a file of the folder of payloads.
[[nodiscard]] std::string path_of(const std::string& file);
/// As the tables compare keys: small and capital letters of ASCII are the same.
[[nodiscard]] std::string lower(std::string text);
/// As collections compare keys: those of any alphabet are.
[[nodiscard]] std::string folded(const std::string& text);
/// What FindPCs is asked for.
[[nodiscard]] std::string name_to_find(const Step& step);
[[nodiscard]] std::string printed(const Datum& value);
[[nodiscard]] RowName row_of_pc(const std::string& mac, const std::string& computer,
                                std::int64_t id);
[[nodiscard]] RowName row_of_component(std::int64_t id);
[[nodiscard]] RowName row_of_report(const std::string& name);
[[nodiscard]] std::string pc_key(const std::string& mac, const std::string& computer,
                                 std::int64_t id);

[[noreturn]] void fail(std::int32_t number, const char* text);
[[noreturn]] void raise(Process& process, const std::string& message, CauseKind kind = kRefused);
void note(Process& process, const Cause& cause);
[[nodiscard]] Cause cause_of(const Failure& failure);
/// Runs `body` as a part of a public call.
void in_call(Process& process, const std::function<void()>& body);
/// The one handler: runs `body`, and records what it throws. `extra` stands before the number.
void guarded(Process& process, const char* component, const char* procedure,
             const std::function<void()>& body, const std::function<std::string()>& extra = {});

/// The row as the connection sees it, with what its own transaction has done to it; nothing where
/// there is none.
[[nodiscard]] std::optional<StoredRow> as_seen(const Database& database,
                                               const Connection& connection, const RowName& name);

/// The rows that a read of a whole table shows; none where it failed, which stands in the account.
[[nodiscard]] std::optional<std::vector<StoredRow>> read_table(Process& process, Kind kind);
/// What a reader who waits for nobody sees of the table, by a statement in which `name` stands.
/// Throws Failure, none of which is recorded.
[[nodiscard]] std::vector<StoredRow> rows_as_they_stand(Process& process, Kind kind,
                                                        const std::string& name = {});
/// Ahead of everything that is asked of the database: an error where the connection is cut, which
/// is closed then.
void require_database(Connection& connection);
/// Error 3709 where no recordset can be opened.
void require_open_for_reading(const Process& process);
/// Names stand in statements as they are.
void require_no_quote(const std::string& name);
/// GetRecordset with a statement that no engine takes.
void read_with_syntax_error(Process& process);
/// RefreshComponent, RefreshPC, RefreshReport. `row`: null for a recordset that shows no row.
bool load(Record& record, const StoredRow* row);

[[nodiscard]] bool refresh_collection(Process& process, Kind kind);
/// Nothing where it was refused.
[[nodiscard]] RecordPtr add(Process& process, Kind kind, const Step& step);
[[nodiscard]] bool add_object(Process& process, const RecordPtr& record);
[[nodiscard]] bool refresh_record(Record& record);
/// Ends the transaction that the record has opened.
void end_transaction(Record& record);
[[nodiscard]] bool lock_record(Record& record);
[[nodiscard]] bool release_record(Record& record);
[[nodiscard]] int update(Record& record, const std::string& file);
/// As update(), but a row that is there is refused.
[[nodiscard]] int insert(Record& record, const std::string& file);
[[nodiscard]] Sight look_at(Record& record);
[[nodiscard]] bool delete_record(Record& record);
[[nodiscard]] bool import_ttx(Record& record, const std::string& file);
[[nodiscard]] bool extract_ttx(Record& record, const std::string& file);
[[nodiscard]] bool extract_report(Record& record, const std::string& file);

[[nodiscard]] std::string to_latin1(const std::string& utf8);  // throws int where it cannot
[[nodiscard]] std::string from_latin1(const std::string& bytes);

}  // namespace tarnwick::model
