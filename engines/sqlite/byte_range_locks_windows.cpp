#include <windows.h>

#include <map>
#include <new>
#include <system_error>
#include <utility>

#include "ado/error.h"
#include "engines/sqlite/byte_range_locks.h"
#include "engines/sqlite/database_file.h"
#include "engines/sqlite/files.h"

// Windows names nobody's locks: a range is free of others' locks if a shared lock can be had on it,
// which is given back at once. A lock can only be given back as it was taken, and exclusive locks
// must not overlap, not even one's own; so this keeps book of its own.

namespace tarnwick::sqlite {
namespace {

/// So often an exclusive lock is asked for.
constexpr int kAttempts = 8;
/// So many locked bytes in a row count as one long lock.
constexpr std::int64_t kLongRun = 64;

[[noreturn]] void throw_system_error(TextView what, DWORD code) {
  const std::string message = std::system_category().message(static_cast<int>(code));
  throw ado::AdoError(
      ado::AdoErrorNumber::kUnspecified, join({what, u": ", from_stored_utf8(message)}),
      static_cast<std::int32_t>(code), {},
      is_disk_full(static_cast<int>(code)) ? std::optional(ado::FailureKind::kDiskFull)
                                           : std::nullopt);
}

[[noreturn]] void refuse(TextView what, TextView why) {
  throw ado::AdoError(ado::AdoErrorNumber::kPermissionDenied, join({what, u" ", why, u"."}));
}

bool is_refusal(DWORD code) { return code == ERROR_LOCK_VIOLATION || code == ERROR_IO_PENDING; }

OVERLAPPED at(std::int64_t offset) {
  OVERLAPPED overlapped{};
  overlapped.Offset = static_cast<DWORD>(offset & 0xFFFFFFFF);
  overlapped.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return overlapped;
}

/// Disjoint ranges in order.
class Ranges {
 public:
  using Map = std::map<std::int64_t, std::int64_t>;  // from the first byte to the last

  /// Takes over ranges that touch none of these. Needs no memory.
  void add(Map&& ranges) noexcept { last_of_.merge(ranges); }

  /// Where there is no memory to make two of one, that one stays as it was.
  void remove(ByteRange range) noexcept {
    auto next = first_touching(range);
    while (next != last_of_.end() && next->first <= range.last) {
      const std::int64_t last = next->second;
      if (last > range.last && next->first < range.first && !try_add(range.last + 1, last)) return;
      if (next->first < range.first) {
        next->second = range.first - 1;
        ++next;
      } else if (last > range.last) {
        auto rest = last_of_.extract(next);
        rest.key() = range.last + 1;
        last_of_.insert(std::move(rest));
        return;
      } else {
        next = last_of_.erase(next);
      }
    }
  }

  [[nodiscard]] bool touch(ByteRange range) const noexcept {
    const auto found = first_touching(range);
    return found != last_of_.end() && found->first <= range.last;
  }

  /// Removes every range that touches `range` and that `leaves` returns true for.
  template <class Leaves>
  void remove_touching(ByteRange range, Leaves&& leaves) noexcept {
    auto next = first_touching(range);
    while (next != last_of_.end() && next->first <= range.last) {
      const ByteRange found{next->first, next->second};
      next = leaves(found) ? last_of_.erase(next) : std::next(next);
    }
  }

  /// What of `range` is in none of them.
  [[nodiscard]] Map gaps(ByteRange range) const {
    Map found;
    std::int64_t next = range.first;
    for (auto held = first_touching(range); held != last_of_.end() && held->first <= range.last;
         ++held) {
      if (held->first > next) found[next] = held->first - 1;
      if (held->second >= range.last) return found;
      next = held->second + 1;
    }
    found[next] = range.last;
    return found;
  }

 private:
  [[nodiscard]] Map::const_iterator first_touching(ByteRange range) const noexcept {
    auto next = last_of_.upper_bound(range.first);
    if (next != last_of_.begin() && std::prev(next)->second >= range.first) --next;
    return next;
  }
  [[nodiscard]] Map::iterator first_touching(ByteRange range) noexcept {
    const auto found = std::as_const(*this).first_touching(range);
    return last_of_.erase(found, found);  // only makes it writable
  }

  bool try_add(std::int64_t first, std::int64_t last) noexcept {
    try {
      last_of_[first] = last;
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
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

  /// 0, or the code of the error.
  [[nodiscard]] DWORD lock_piece(ByteRange range, DWORD kind) const noexcept {
    OVERLAPPED where = at(range.first);
    const OVERLAPPED length = at(range.last - range.first + 1);
    const BOOL locked = LockFileEx(file, kind | LOCKFILE_FAIL_IMMEDIATELY, 0, length.Offset,
                                   length.OffsetHigh, &where);
    return locked != 0 ? 0 : GetLastError();
  }

  /// As somebody's probe looks like a lock for a moment.
  [[nodiscard]] DWORD lock_exclusively(ByteRange range) const noexcept {
    DWORD code = lock_piece(range, LOCKFILE_EXCLUSIVE_LOCK);
    for (int attempt = 1; attempt < kAttempts && is_refusal(code); ++attempt) {
      Sleep(1);
      code = lock_piece(range, LOCKFILE_EXCLUSIVE_LOCK);
    }
    return code;
  }

  void unlock_piece(ByteRange range) const noexcept {
    OVERLAPPED where = at(range.first);
    const OVERLAPPED length = at(range.last - range.first + 1);
    UnlockFileEx(file, 0, length.Offset, length.OffsetHigh, &where);
  }

  /// `range` holds none of the own pieces.
  [[nodiscard]] bool is_free(ByteRange range) const {
    const DWORD code = lock_piece(range, 0);
    if (code == 0) unlock_piece(range);
    if (code != 0 && !is_refusal(code)) throw_system_error(u"The lock file", code);
    return code == 0;
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
    while (!is_free(range)) {
      const std::int64_t first = first_locked(range);
      // A lock that was given back meanwhile has led astray, past others that are there.
      if (!is_free(first)) return ByteRange{first, last_locked(first, range)};
    }
    return std::nullopt;
  }
};

ByteRangeLocks::ByteRangeLocks(const std::filesystem::path& file, const std::filesystem::path&)
    : system_(std::make_unique<System>()) {
  // Owner and permissions are those of the folder, as the database's are. A link in the file's
  // place is opened itself, and refused: whoever may write to the folder can put one there.
  system_->file =
      CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE,
                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_ALWAYS,
                  FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  const Text what = join({u"The lock file ", file_text(file)});
  if (system_->file == INVALID_HANDLE_VALUE) throw_system_error(what, GetLastError());
  BY_HANDLE_FILE_INFORMATION there{};
  if (GetFileInformationByHandle(system_->file, &there) == 0) {
    throw_system_error(what, GetLastError());
  }
  if (GetFileType(system_->file) != FILE_TYPE_DISK ||
      (there.dwFileAttributes & (FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY)) != 0) {
    refuse(what, u"is no regular file");
  }
  if (there.nNumberOfLinks > 1) refuse(what, u"has a second name");
}

ByteRangeLocks::~ByteRangeLocks() = default;

bool ByteRangeLocks::try_lock(ByteRange range) {
  // All memory is had before the first lock: none may be held that is not in the books.
  Ranges::Map pieces = system_->pieces.gaps(range);
  Ranges::Map wanted = system_->wanted.gaps(range);
  for (auto piece = pieces.begin(); piece != pieces.end(); ++piece) {
    const DWORD code = system_->lock_exclusively({piece->first, piece->second});
    if (code == 0) continue;
    while (piece != pieces.begin()) {
      --piece;
      system_->unlock_piece({piece->first, piece->second});
    }
    if (is_refusal(code)) return false;
    throw_system_error(u"The lock file", code);
  }
  system_->pieces.add(std::move(pieces));
  system_->wanted.add(std::move(wanted));
  return true;
}

void ByteRangeLocks::unlock(ByteRange range) noexcept {
  system_->wanted.remove(range);
  system_->pieces.remove_touching(range, [&](ByteRange piece) {
    if (system_->wanted.touch(piece)) return false;
    system_->unlock_piece(piece);
    return true;
  });
}

std::optional<ByteRange> ByteRangeLocks::foreign_lock(ByteRange range) const {
  for (const auto& [first, last] : system_->pieces.gaps(range)) {
    if (const auto found = system_->foreign_in({first, last})) return found;
  }
  return std::nullopt;
}

std::vector<ByteRange> ByteRangeLocks::foreign_locks(ByteRange range) const {
  std::vector<ByteRange> found;
  for (const auto& [first, last] : system_->pieces.gaps(range)) {
    ByteRange rest{first, last};
    while (const auto lock = system_->foreign_in(rest)) {
      found.push_back(*lock);
      if (lock->last == last) break;
      rest.first = lock->last + 1;
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
