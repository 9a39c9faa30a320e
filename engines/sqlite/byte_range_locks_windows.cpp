#include <windows.h>

#include <algorithm>
#include <map>
#include <system_error>

#include "ado/error.h"
#include "engines/sqlite/byte_range_locks.h"

// Windows names nobody's locks: a range is free of others' locks if a shared lock can be had on it,
// which is given back at once. A lock can only be given back as it was taken, and exclusive locks
// must not overlap, not even one's own; so this keeps book of its own.

namespace tarnwick::sqlite {
namespace {

/// Somebody else's probe looks like a lock for a moment: an exclusive lock is asked for so often.
constexpr int kAttempts = 8;
/// So many locked bytes in a row count as one long lock.
constexpr std::int64_t kLongRun = 64;

[[noreturn]] void throw_system_error(TextView what, DWORD code) {
  const std::string message = std::system_category().message(static_cast<int>(code));
  throw ado::AdoError(ado::AdoErrorNumber::kUnspecified,
                      join({what, u": ", from_stored_utf8(message)}),
                      static_cast<std::int32_t>(code));
}

OVERLAPPED at(std::int64_t offset) {
  OVERLAPPED overlapped{};
  overlapped.Offset = static_cast<DWORD>(offset & 0xFFFFFFFF);
  overlapped.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return overlapped;
}

/// Disjoint ranges in order.
class Ranges {
 public:
  void add(ByteRange range) {
    remove(range);
    last_of_[range.first] = range.last;
  }

  void remove(ByteRange range) {
    auto next = first_touching(range);
    while (next != last_of_.end() && next->first <= range.last) {
      const ByteRange old{next->first, next->second};
      next = last_of_.erase(next);
      if (old.first < range.first) last_of_[old.first] = range.first - 1;
      if (old.last > range.last) last_of_[range.last + 1] = old.last;
    }
  }

  [[nodiscard]] std::vector<ByteRange> touching(ByteRange range) const {
    std::vector<ByteRange> found;
    for (auto next = first_touching(range); next != last_of_.end() && next->first <= range.last;
         ++next) {
      found.push_back({next->first, next->second});
    }
    return found;
  }

  /// What of `range` is in none of them.
  [[nodiscard]] std::vector<ByteRange> gaps(ByteRange range) const {
    std::vector<ByteRange> found;
    std::int64_t next = range.first;
    for (const ByteRange& held : touching(range)) {
      if (held.first > next) found.push_back({next, held.first - 1});
      next = held.last + 1;
    }
    if (next <= range.last) found.push_back({next, range.last});
    return found;
  }

 private:
  using Map = std::map<std::int64_t, std::int64_t>;

  [[nodiscard]] Map::const_iterator first_touching(ByteRange range) const {
    auto next = last_of_.upper_bound(range.first);
    if (next != last_of_.begin() && std::prev(next)->second >= range.first) --next;
    return next;
  }

  Map last_of_;
};

}  // namespace

struct ByteRangeLocks::System {
  HANDLE file = INVALID_HANDLE_VALUE;
  Ranges pieces;  // as Windows knows them
  Ranges wanted;  // what of them was not unlocked

  ~System() {
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
  }

  [[nodiscard]] bool lock_piece(ByteRange range, DWORD kind) const {
    OVERLAPPED where = at(range.first);
    const OVERLAPPED length = at(range.last - range.first + 1);
    if (LockFileEx(file, kind | LOCKFILE_FAIL_IMMEDIATELY, 0, length.Offset, length.OffsetHigh,
                   &where) != 0) {
      return true;
    }
    const DWORD code = GetLastError();
    if (code == ERROR_LOCK_VIOLATION || code == ERROR_IO_PENDING) return false;
    throw_system_error(u"The lock file", code);
  }

  void unlock_piece(ByteRange range) const {
    OVERLAPPED where = at(range.first);
    const OVERLAPPED length = at(range.last - range.first + 1);
    UnlockFileEx(file, 0, length.Offset, length.OffsetHigh, &where);
  }

  /// `range` holds none of the own pieces.
  [[nodiscard]] bool is_free(ByteRange range) const {
    if (!lock_piece(range, 0)) return false;
    unlock_piece(range);
    return true;
  }
  [[nodiscard]] bool is_free(std::int64_t byte) const { return is_free(ByteRange{byte, byte}); }

  /// The first byte of `range` that is locked; one is.
  [[nodiscard]] std::int64_t first_locked(ByteRange range) const {
    while (range.first < range.last) {
      const std::int64_t middle = range.first + (range.last - range.first) / 2;
      if (is_free({range.first, middle})) {
        range.first = middle + 1;
      } else {
        range.last = middle;
      }
    }
    return range.first;
  }

  /// The last byte of the lock that begins at `first`, inside `range`. A long run of locked bytes
  /// is taken for one lock, up to its end.
  [[nodiscard]] std::int64_t last_locked(std::int64_t first, ByteRange range) const {
    std::int64_t last = first;
    while (last < range.last && !is_free(last + 1)) {
      if (++last - first < kLongRun) continue;
      if (!is_free(range.last)) return range.last;
      std::int64_t free = range.last;
      while (last + 1 < free) {
        const std::int64_t middle = last + (free - last) / 2;
        (is_free(middle) ? free : last) = middle;
      }
    }
    return last;
  }

  /// The first lock of others in `range`, which holds none of the own pieces.
  [[nodiscard]] std::optional<ByteRange> foreign_in(ByteRange range) const {
    if (is_free(range)) return std::nullopt;
    const std::int64_t first = first_locked(range);
    // It may have been given back meanwhile.
    if (is_free(first)) return std::nullopt;
    return ByteRange{first, last_locked(first, range)};
  }
};

ByteRangeLocks::ByteRangeLocks(const std::filesystem::path& file, const std::filesystem::path&)
    : system_(std::make_unique<System>()) {
  // Owner and permissions are those of the folder, as the database's are.
  system_->file = CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (system_->file == INVALID_HANDLE_VALUE) {
    const DWORD code = GetLastError();
    throw_system_error(join({u"The lock file '", from_stored_utf8(file.string()), u"'"}), code);
  }
}

ByteRangeLocks::~ByteRangeLocks() = default;

bool ByteRangeLocks::try_lock(ByteRange range) {
  std::vector<ByteRange> taken;
  for (const ByteRange& gap : system_->pieces.gaps(range)) {
    bool locked = false;
    for (int attempt = 0; attempt < kAttempts && !locked; ++attempt) {
      if (attempt > 0) Sleep(1);
      locked = system_->lock_piece(gap, LOCKFILE_EXCLUSIVE_LOCK);
    }
    if (!locked) {
      for (const ByteRange& piece : taken) system_->unlock_piece(piece);
      return false;
    }
    taken.push_back(gap);
  }
  for (const ByteRange& piece : taken) system_->pieces.add(piece);
  system_->wanted.add(range);
  return true;
}

void ByteRangeLocks::unlock(ByteRange range) noexcept {
  system_->wanted.remove(range);
  for (const ByteRange& piece : system_->pieces.touching(range)) {
    if (!system_->wanted.touching(piece).empty()) continue;
    system_->unlock_piece(piece);
    system_->pieces.remove(piece);
  }
}

std::optional<ByteRange> ByteRangeLocks::foreign_lock(ByteRange range) const {
  for (const ByteRange& gap : system_->pieces.gaps(range)) {
    if (const auto found = system_->foreign_in(gap)) return found;
  }
  return std::nullopt;
}

std::vector<ByteRange> ByteRangeLocks::foreign_locks(ByteRange range) const {
  std::vector<ByteRange> found;
  for (ByteRange gap : system_->pieces.gaps(range)) {
    while (gap.first <= gap.last) {
      const auto lock = system_->foreign_in(gap);
      if (!lock) break;
      found.push_back(*lock);
      gap.first = lock->last + 1;
    }
  }
  return found;
}

void ByteRangeLocks::write_at(std::int64_t offset, std::string_view bytes) {
  OVERLAPPED where = at(offset);
  DWORD written = 0;
  if (WriteFile(system_->file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, &where) ==
          0 ||
      written != bytes.size()) {
    throw_system_error(u"The lock file", GetLastError());
  }
}

bool ByteRangeLocks::read_at(std::int64_t offset, std::span<char> bytes) const {
  OVERLAPPED where = at(offset);
  DWORD read = 0;
  if (ReadFile(system_->file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, &where) == 0 &&
      GetLastError() != ERROR_HANDLE_EOF) {
    throw_system_error(u"The lock file", GetLastError());
  }
  return read == bytes.size();
}

std::int64_t ByteRangeLocks::process_id() { return GetCurrentProcessId(); }

}  // namespace tarnwick::sqlite
