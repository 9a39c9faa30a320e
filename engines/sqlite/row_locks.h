#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "ado/engine.h"
#include "engines/sqlite/byte_range_locks.h"
#include "engines/sqlite/catalog.h"
#include "engines/sqlite/holder.h"

namespace tarnwick::sqlite {

/// The row locks of one session. A lock is a byte of the lock file; who holds it is told by a
/// record in the same file, itself guarded by a lock, so that the record of a process that has died
/// is known by its free lock. Rows are locked on behalf of lock sets: a row is freed when no set
/// holds it any more.
class RowLocks final {
 public:
  /// At most so many rows are listed at a time, those of all sessions together.
  static constexpr int kRecords = 1 << 20;
  // The locks of the records lie apart from the records: where locks are mandatory, everybody still
  // has to read them.
  /// The bytes of the lock file that say that a record is its holder's.
  static constexpr ByteRange kRecordLocks{std::int64_t{1} << 61,
                                          (std::int64_t{1} << 61) + kRecords - 1};
  /// Those that keep a record's place for a holder, also before he has written it: until then an
  /// earlier holder's stands there. A session that has listed a row keeps one place to its end.
  static constexpr ByteRange kRecordPlaces{kRecordLocks.last + 1, kRecordLocks.last + kRecords};

  RowLocks(const std::filesystem::path& file, const std::filesystem::path& database);

  /// Rows that are freed together.
  class Set final {
   public:
    enum class Listing { kListed, kUnlisted };
    /// kUnlisted is for locks that last no longer than a statement: nobody could read of them.
    Set(RowLocks& locks, Listing listing) : locks_(&locks), listing_(listing) {}
    ~Set() { release(); }
    Set(const Set&) = delete;
    Set& operator=(const Set&) = delete;

    void release() noexcept;
    [[nodiscard]] bool empty() const { return rows_.empty() && tables_.empty(); }
    /// Takes over all that `other` holds.
    void absorb(Set& other);

   private:
    friend class RowLocks;
    struct TableCount {
      std::int64_t region = 0;
      std::size_t rows = 0;
      bool whole = false;
    };
    [[nodiscard]] TableCount& count_of(std::int64_t region);

    RowLocks* locks_;
    Listing listing_;
    std::unordered_set<std::int64_t> rows_;
    std::vector<TableCount> tables_;
  };

  /// Locks the row of `table` with the key `key` for `set`, without waiting. False when another
  /// session holds it. A set that has grown to very many rows of one table locks the table instead,
  /// where no other session holds a row of it.
  [[nodiscard]] bool try_lock(Set& set, const Table& table, std::span<const ado::Cell> key);

  /// What has been written to the SoftLock column of a row that is held: appears in its record with
  /// the next `publish_stamps`.
  void set_stamp(const Table& table, std::span<const ado::Cell> key, std::string_view stamp);
  void publish_stamps();

  /// The locks of other sessions on rows of `table`, in order.
  [[nodiscard]] std::vector<ByteRange> foreign_locks(const Table& table) const;
  /// Whether another session holds the byte of a row.
  [[nodiscard]] bool is_foreign(std::int64_t byte) const;

  /// All rows that any session holds, this one's first.
  [[nodiscard]] std::vector<ado::HeldRow> held_rows() const;
  /// What the processes that hold rows through other sessions say of themselves, by their ids.
  /// Those of older programs say nothing.
  [[nodiscard]] std::map<std::int64_t, Holder> holders() const;

 private:
  static constexpr int kNoRecord = -1;
  struct Held {
    std::size_t sets = 0;
    int record = kNoRecord;
    std::string table;
    std::string key;
    std::string stamp;
  };

  /// Locks `range` in the file, where there is one to be locked. `keep` notes it beforehand,
  /// `forget` takes that back where there is no lock.
  template <class Keep, class Forget>
  [[nodiscard]] bool try_lock_bytes(std::optional<ByteRange> range, Keep&& keep, Forget&& forget);
  template <class Visit>
  void for_each_foreign_record(Visit&& visit) const;
  void try_lock_whole_table(Set& set, Set::TableCount& count, const Table& table);
  void list(Held& held, std::int64_t byte, const Table& table, std::string key);
  void write_record(const Held& held, std::int64_t byte);
  void free_record(int record) noexcept;
  void release_row(std::int64_t byte) noexcept;
  void release_table(std::int64_t region) noexcept;

  ByteRangeLocks file_;
  const Holder holder_ = present_process();
  const std::int64_t process_ = ByteRangeLocks::process_id();
  std::unordered_map<std::int64_t, Held> rows_;    // by byte
  std::unordered_map<std::int64_t, Held> tables_;  // by first byte of the region
  std::set<int> records_;                          // in use by this session
  int kept_place_ = kNoRecord;                     // locked, and in use by no row
  int first_free_record_ = 0;                      // where to look for the next one
  std::vector<std::int64_t> new_stamps_;
};

}  // namespace tarnwick::sqlite
