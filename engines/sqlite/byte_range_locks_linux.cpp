#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>

#include "ado/error.h"
#include "engines/sqlite/byte_range_locks.h"
#include "engines/sqlite/files.h"
#include "runtime/descriptor_linux.h"

// Open-file-description locks: unlike the older record locks they belong to the open file and not
// to the process, so they hold between two sessions of one process and are not lost when some other
// part of the process closes the same file.

namespace tarnwick::sqlite {
namespace {

struct flock description_of(ByteRange range, short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = range.first;
  lock.l_len = range.last - range.first + 1;
  return lock;
}

[[noreturn]] void throw_system_error(TextView what, int code) {
  throw ado::AdoError(
      ado::AdoErrorNumber::kUnspecified,
      join({what, u": ", from_stored_utf8(std::generic_category().message(code))}), code, {},
      is_disk_full(code) ? std::optional(ado::FailureKind::kDiskFull) : std::nullopt);
}

[[noreturn]] void refuse(TextView what, TextView why) {
  throw ado::AdoError(ado::AdoErrorNumber::kPermissionDenied, join({what, u" ", why, u"."}));
}

/// Whether the owner of the lock file is one of those who could have made it in good faith: whoever
/// may write the database. In a folder that a group shares it is made by the first of them to come,
/// and bears their group, as far as that user could give it.
bool may_own(const struct stat& lock_file, const struct stat& database) {
  if (lock_file.st_uid == database.st_uid || lock_file.st_uid == 0 ||
      lock_file.st_uid == ::geteuid()) {
    return true;
  }
  if ((database.st_mode & S_IWOTH) != 0) return true;
  return (database.st_mode & S_IWGRP) != 0 && lock_file.st_gid == database.st_gid;
}

// Whoever may write to the folder can put something else in the lock file's place: a link, whose
// target would be written to, or a pipe, which would not open before somebody reads from it.
constexpr int kFlags = O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;

/// Whoever may write the database has to be able to lock its rows: the process's own mask and group
/// must not count.
void share(const Descriptor& lock_file, const struct stat& database) {
  if (::fchown(lock_file.get(), database.st_uid, database.st_gid) != 0 &&
      ::fchown(lock_file.get(), static_cast<uid_t>(-1), database.st_gid) != 0) {
    // To give a file away takes root, or membership in the group: so it stays this user's own.
  }
  ::fchmod(lock_file.get(), database.st_mode & 0777);
}

/// A lock file where there is none; nothing, and errno, where it cannot be made or somebody else
/// has just made it.
Descriptor make(const std::filesystem::path& file, const struct stat& database) {
  const mode_t mode = database.st_mode & 0777;
  // It gets its name when all may use it: otherwise others would be refused meanwhile, and for good
  // where this process ends in between.
  Descriptor made(::open(file.parent_path().c_str(), O_RDWR | O_CLOEXEC | O_TMPFILE, mode));
  if (made) {
    share(made, database);
    const std::string opened = "/proc/self/fd/" + std::to_string(made.get());
    if (::linkat(AT_FDCWD, opened.c_str(), AT_FDCWD, file.c_str(), AT_SYMLINK_FOLLOW) == 0) {
      return made;
    }
    if (errno == EEXIST) return {};
  }
  // A file system on which files have names from the beginning.
  made = Descriptor(::open(file.c_str(), kFlags | O_CREAT | O_EXCL, mode));
  if (made) share(made, database);
  return made;
}

}  // namespace

struct ByteRangeLocks::System {
  Descriptor file;
};

ByteRangeLocks::ByteRangeLocks(const std::filesystem::path& file, const std::filesystem::path& like)
    : system_(std::make_unique<System>()) {
  struct stat model {};
  if (::stat(like.c_str(), &model) != 0) throw_system_error(u"The database file", errno);
  const Text what = join({u"The lock file '", from_stored_utf8(file.native()), u"'"});
  system_->file = Descriptor(::open(file.c_str(), kFlags));
  if (!system_->file && errno == ENOENT) {
    system_->file = make(file, model);
    if (system_->file) return;
    if (errno == EEXIST) system_->file = Descriptor(::open(file.c_str(), kFlags));
  }
  if (!system_->file && errno == ELOOP) refuse(what, u"is a link");
  if (!system_->file) throw_system_error(what, errno);
  struct stat there {};
  if (::fstat(system_->file.get(), &there) != 0) throw_system_error(what, errno);
  if (!S_ISREG(there.st_mode)) refuse(what, u"is no regular file");
  if (there.st_nlink > 1) refuse(what, u"has a second name");
  if (!may_own(there, model)) refuse(what, u"belongs to somebody who may not write the database");
}

ByteRangeLocks::~ByteRangeLocks() = default;

bool ByteRangeLocks::try_lock(ByteRange range) {
  struct flock lock = description_of(range, F_WRLCK);
  if (::fcntl(system_->file.get(), F_OFD_SETLK, &lock) == 0) return true;
  if (errno == EAGAIN || errno == EACCES) return false;
  throw_system_error(u"The lock file", errno);
}

void ByteRangeLocks::unlock(ByteRange range) noexcept {
  struct flock lock = description_of(range, F_UNLCK);
  ::fcntl(system_->file.get(), F_OFD_SETLK, &lock);
}

std::optional<ByteRange> ByteRangeLocks::foreign_lock(ByteRange range) const {
  struct flock lock = description_of(range, F_WRLCK);
  if (::fcntl(system_->file.get(), F_OFD_GETLK, &lock) != 0) {
    throw_system_error(u"The lock file", errno);
  }
  if (lock.l_type == F_UNLCK) return std::nullopt;
  const ByteRange found{lock.l_start,
                        lock.l_len == 0 ? range.last : lock.l_start + (lock.l_len - 1)};
  return ByteRange{std::max(found.first, range.first), std::min(found.last, range.last)};
}

std::vector<ByteRange> ByteRangeLocks::foreign_locks(ByteRange range) const {
  // The system names any one lock: what lies before and behind it has to be asked for.
  std::vector<ByteRange> found;
  std::vector<ByteRange> open{range};
  while (!open.empty()) {
    const ByteRange next = open.back();
    open.pop_back();
    const auto lock = foreign_lock(next);
    if (!lock) continue;
    found.push_back(*lock);
    if (lock->first > next.first) open.push_back({next.first, lock->first - 1});
    if (lock->last < next.last) open.push_back({lock->last + 1, next.last});
  }
  std::sort(found.begin(), found.end(),
            [](const ByteRange& a, const ByteRange& b) { return a.first < b.first; });
  return found;
}

void ByteRangeLocks::write_at(std::int64_t offset, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::pwrite(system_->file.get(), bytes.data(), bytes.size(), offset);
    if (count < 0) {
      if (errno == EINTR) continue;
      throw_system_error(u"The lock file", errno);
    }
    bytes.remove_prefix(static_cast<std::size_t>(count));
    offset += count;
  }
}

bool ByteRangeLocks::read_at(std::int64_t offset, std::span<char> bytes) const {
  while (!bytes.empty()) {
    const auto count = ::pread(system_->file.get(), bytes.data(), bytes.size(), offset);
    if (count == 0) return false;
    if (count < 0) {
      if (errno == EINTR) continue;
      throw_system_error(u"The lock file", errno);
    }
    bytes = bytes.subspan(static_cast<std::size_t>(count));
    offset += count;
  }
  return true;
}

std::int64_t ByteRangeLocks::process_id() { return ::getpid(); }

}  // namespace tarnwick::sqlite
