#include "engines/sqlite/row_locks.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "engines/sqlite/row_key.h"

namespace tarnwick::sqlite {
namespace {

/// So many rows of one table, and the set tries to lock the table: the system keeps the locks of a
/// file in a list, which is slow to search when it is long.
constexpr std::size_t kManyRows = 1000;

constexpr std::size_t kRecordSize = 1024;
constexpr std::size_t kLongestTable = 128;
constexpr std::size_t kLongestKey = 512;
constexpr std::size_t kLongestStamp = 256;
constexpr std::size_t kLongestProgram = 32;
constexpr std::size_t kLongestUser = 40;

ByteRange single(std::int64_t byte) { return {byte, byte}; }
ByteRange record_lock(int record) { return single(RowLocks::kRecordLocks.first + record); }
ByteRange record_place(int record) { return single(RowLocks::kRecordPlaces.first + record); }
std::int64_t record_offset(int record) { return static_cast<std::int64_t>(kRecordSize) * record; }

/// The text of a record, from its beginning to its end; nothing is allocated for it.
class RecordText {
  static constexpr std::size_t kLongestNumber = 20;
  static constexpr std::size_t kParts = 7;
  static_assert(2 * kLongestNumber + kLongestTable + kLongestKey + kLongestStamp + kLongestProgram +
                    kLongestUser + kParts <
                kRecordSize);

 public:
  RecordText() { text_.fill(' '); }

  void add(std::int64_t number) {
    end_ = std::to_chars(end_, text_.end(), number).ptr;
    *end_++ = '\t';
  }

  /// Control characters blanked, cut at the end of a character.
  void add(std::string_view field, std::size_t longest) {
    std::size_t size = std::min(field.size(), longest);
    const auto continues = [&](std::size_t at) {
      return (static_cast<unsigned char>(field[at]) & 0xc0u) == 0x80u;
    };
    while (size > 0 && size < field.size() && continues(size)) --size;
    end_ = std::replace_copy_if(
        field.begin(), field.begin() + static_cast<std::ptrdiff_t>(size), end_,
        [](unsigned char c) { return c < 0x20 || c == 0x7f; }, ' ');
    *end_++ = '\t';
  }

  [[nodiscard]] std::string_view line() {
    text_.back() = '\n';
    return {text_.data(), text_.size()};
  }

 private:
  std::array<char, kRecordSize> text_;
  char* end_ = text_.data();
};

struct Record {
  std::int64_t byte = 0;
  std::int64_t process = 0;
  ado::HeldRow row;
  Holder holder;
};

std::optional<Record> parse_record(std::string_view text) {
  constexpr std::size_t kNeeded = 5;
  std::string_view fields[kNeeded + 2];
  std::size_t found = 0;
  for (auto& part : fields) {
    const auto end = text.find('\t');
    if (end == std::string_view::npos) break;
    part = text.substr(0, end);
    text.remove_prefix(end + 1);
    ++found;
  }
  if (found < kNeeded) return std::nullopt;
  Record record;
  const auto number = [](std::string_view digits, std::int64_t& value) {
    const auto end = digits.data() + digits.size();
    return std::from_chars(digits.data(), end, value).ptr == end && !digits.empty();
  };
  if (!number(fields[0], record.byte) || !number(fields[1], record.process)) return std::nullopt;
  record.row = {from_stored_utf8(fields[2]), from_stored_utf8(fields[3]),
                from_stored_utf8(fields[4]), record.process};
  record.holder = {std::string(fields[5]), std::string(fields[6])};
  return record;
}

}  // namespace

RowLocks::RowLocks(const std::filesystem::path& file, const std::filesystem::path& database)
    : file_(file, database) {}

RowLocks::Set::TableCount& RowLocks::Set::count_of(std::int64_t region) {
  for (auto& count : tables_) {
    if (count.region == region) return count;
  }
  return tables_.emplace_back(TableCount{region, 0, false});
}

void RowLocks::Set::release() noexcept {
  for (const auto byte : rows_) locks_->release_row(byte);
  rows_.clear();
  for (const auto& count : tables_) {
    if (count.whole) locks_->release_table(count.region);
  }
  tables_.clear();
}

void RowLocks::Set::absorb(Set& other) {
  // Room for all first: a row that both sets held on to would be freed twice.
  rows_.reserve(rows_.size() + other.rows_.size());
  tables_.reserve(tables_.size() + other.tables_.size());
  for (const auto& theirs : other.tables_) {
    auto& ours = count_of(theirs.region);
    ours.rows += theirs.rows;
    if (theirs.whole && ours.whole) locks_->release_table(theirs.region);
    ours.whole = ours.whole || theirs.whole;
  }
  other.tables_.clear();
  rows_.merge(other.rows_);
  for (const auto byte : other.rows_) locks_->release_row(byte);
  other.rows_.clear();
}

template <class Keep, class Forget>
bool RowLocks::try_lock_bytes(std::optional<ByteRange> range, Keep&& keep, Forget&& forget) {
  // Noted first: a lock that could not be noted for want of memory would stay until the session
  // ends.
  bool locked = false;
  try {
    keep();
    locked = !range || file_.try_lock(*range);
  } catch (...) {
    forget();
    throw;
  }
  if (!locked) forget();
  return locked;
}

bool RowLocks::try_lock(Set& set, const Table& table, std::span<const ado::Cell> key) {
  const auto byte = lock_byte(table.region, key);
  auto& count = set.count_of(table.region.first);
  if (count.whole || set.rows_.contains(byte)) return true;

  const bool known = rows_.contains(byte);
  const bool locked = known || tables_.contains(table.region.first);
  const auto keep = [&] {
    rows_.try_emplace(byte);
    set.rows_.insert(byte);
  };
  const auto forget = [&] {
    set.rows_.erase(byte);
    if (!known) rows_.erase(byte);
  };
  if (!try_lock_bytes(locked ? std::nullopt : std::optional(single(byte)), keep, forget)) {
    return false;
  }
  auto& held = rows_.at(byte);
  ++held.sets;
  if (set.listing_ == Set::Listing::kListed && held.record == kNoRecord) {
    list(held, byte, table, key_text(key));
  }
  if (++count.rows % kManyRows == 0) try_lock_whole_table(set, count, table);
  return true;
}

void RowLocks::try_lock_whole_table(Set& set, Set::TableCount& count, const Table& table) {
  const auto region = table.region.first;
  if (!tables_.contains(region) &&
      !try_lock_bytes(
          table.region, [&] { tables_.try_emplace(region); }, [&] { tables_.erase(region); })) {
    return;
  }
  count.whole = true;
  auto& held = tables_.at(region);
  ++held.sets;
  if (set.listing_ == Set::Listing::kListed && held.record == kNoRecord) {
    list(held, region, table, "*");
  }
}

void RowLocks::list(Held& held, std::int64_t byte, const Table& table, std::string key) {
  held.table = table.name;
  held.key = std::move(key);
  for (int record = first_free_record_; record < kRecords; ++record) {
    if (records_.contains(record)) continue;
    const bool kept = record == kept_place_;
    if (!try_lock_bytes(
            kept ? std::nullopt : std::optional(record_place(record)),
            [&] { records_.insert(record); }, [&] { records_.erase(record); })) {
      continue;
    }
    if (kept) kept_place_ = kNoRecord;
    held.record = record;
    first_free_record_ = record + 1;
    write_record(held, byte);
    if (file_.try_lock(record_lock(record))) return;
    // A program of Windows is looking at it (foreign_lock takes it for a moment there).
    free_record(std::exchange(held.record, kNoRecord));
  }
}

// A record is one line: byte of the lock, process, table, key, stamp, program and user between tab
// stops. The last two came later: older programs leave them out, and pass over them.
void RowLocks::write_record(const Held& held, std::int64_t byte) {
  RecordText text;
  text.add(byte);
  text.add(process_);
  text.add(held.table, kLongestTable);
  text.add(held.key, kLongestKey);
  text.add(held.stamp, kLongestStamp);
  text.add(holder_.program, kLongestProgram);
  text.add(holder_.user, kLongestUser);
  file_.write_at(record_offset(held.record), text.line());
}

void RowLocks::free_record(int record) noexcept {
  if (record == kNoRecord) return;
  file_.unlock(record_lock(record));
  // One place is kept, and need not be found again: most sessions hold one row after the other.
  if (kept_place_ == kNoRecord) {
    kept_place_ = record;
  } else {
    file_.unlock(record_place(record));
  }
  records_.erase(record);
  first_free_record_ = std::min(first_free_record_, record);
}

void RowLocks::release_row(std::int64_t byte) noexcept {
  const auto found = rows_.find(byte);
  if (--found->second.sets != 0) return;
  free_record(found->second.record);  // before the row can be another's
  if (!tables_.contains(region_around(byte).first)) file_.unlock(single(byte));
  rows_.erase(found);
}

void RowLocks::release_table(std::int64_t region) noexcept {
  const auto found = tables_.find(region);
  if (--found->second.sets != 0) return;
  free_record(found->second.record);
  // The table's lock has swallowed those of its rows; the ones still wanted stay.
  std::vector<std::int64_t> kept;
  for (const auto& [byte, held] : rows_) {
    if (region_around(byte).first == region) kept.push_back(byte);
  }
  std::sort(kept.begin(), kept.end());
  std::int64_t next = region;
  for (const auto byte : kept) {
    if (byte > next) file_.unlock({next, byte - 1});
    next = byte + 1;
  }
  file_.unlock({next, region_around(region).last});
  tables_.erase(found);
}

void RowLocks::set_stamp(const Table& table, std::span<const ado::Cell> key,
                         std::string_view stamp) {
  const auto byte = lock_byte(table.region, key);
  const auto found = rows_.find(byte);
  if (found == rows_.end() || found->second.stamp == stamp) return;
  found->second.stamp = stamp;
  new_stamps_.push_back(byte);
}

void RowLocks::publish_stamps() {
  for (const auto byte : std::exchange(new_stamps_, {})) {
    const auto found = rows_.find(byte);
    if (found != rows_.end() && found->second.record != kNoRecord) {
      write_record(found->second, byte);
    }
  }
}

std::vector<ByteRange> RowLocks::foreign_locks(const Table& table) const {
  return file_.foreign_locks(table.region);
}

bool RowLocks::is_foreign(std::int64_t byte) const {
  return file_.foreign_lock(single(byte)).has_value();
}

template <class Visit>
void RowLocks::for_each_foreign_record(Visit&& visit) const {
  std::unordered_set<std::int64_t> seen;
  for (const auto& locked : file_.foreign_locks(kRecordLocks)) {
    for (auto lock = locked.first; lock <= locked.last; ++lock) {
      std::string text(kRecordSize, ' ');
      if (!file_.read_at(record_offset(static_cast<int>(lock - kRecordLocks.first)), text))
        continue;
      // Meanwhile it may have been given back, and the row be free.
      auto record = parse_record(text);
      if (record && is_foreign(record->byte) && seen.insert(record->byte).second) {
        visit(std::move(*record));
      }
    }
  }
}

std::vector<ado::HeldRow> RowLocks::held_rows() const {
  std::vector<ado::HeldRow> result;
  const auto add_own = [&](const Held& held) {
    if (held.record == kNoRecord) return;
    result.push_back({from_stored_utf8(held.table), from_stored_utf8(held.key),
                      from_stored_utf8(held.stamp), process_});
  };
  for (const auto& [region, held] : tables_) add_own(held);
  for (const auto& [byte, held] : rows_) add_own(held);
  for_each_foreign_record([&](Record record) { result.push_back(std::move(record.row)); });
  return result;
}

std::map<std::int64_t, Holder> RowLocks::holders() const {
  std::map<std::int64_t, Holder> result;
  for_each_foreign_record([&](Record record) {
    if (!record.holder.program.empty() || !record.holder.user.empty()) {
      result[record.process] = std::move(record.holder);
    }
  });
  return result;
}

}  // namespace tarnwick::sqlite
