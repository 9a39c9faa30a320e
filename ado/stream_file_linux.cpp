#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

#include "ado/stream_file.h"
#include "runtime/descriptor_linux.h"

namespace tarnwick::ado {
namespace {

namespace fs = std::filesystem;

// What opening a pipe or a terminal would do to the process.
constexpr int kHarmless = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

// Files of the system's own do not tell their size, and some of them have no end.
constexpr std::size_t kMostUntoldBytes = std::size_t{64} << 20;

AdoError last_error(AdoErrorNumber number, const fs::path& file) {
  return file_error(number, file, std::error_code(errno, std::generic_category()));
}

/// As much as there is, up to all of `room`. Less than 0: errno says why.
ssize_t read_up_to(int descriptor, std::span<std::byte> room) {
  std::size_t have = 0;
  while (have < room.size()) {
    const ssize_t got = ::read(descriptor, room.data() + have, room.size() - have);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) return got;
    if (got == 0) break;
    have += static_cast<std::size_t>(got);
  }
  return static_cast<ssize_t>(have);
}

bool write_all(int descriptor, std::span<const std::byte> content) {
  while (!content.empty()) {
    const ssize_t put = ::write(descriptor, content.data(), content.size());
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) return false;
    content = content.subspan(static_cast<std::size_t>(put));
  }
  return true;
}

/// A file that a new one is to take the place of.
struct Replaced {
  Descriptor descriptor;
  struct stat status {};
};

/// What is at `file`, if anything. Throws unless it is a regular file that may be written.
std::optional<Replaced> require_replaceable(const fs::path& file) {
  constexpr auto kFailure = AdoErrorNumber::kCannotWriteFile;
  Replaced present;
  if (::lstat(file.c_str(), &present.status) != 0) {
    if (errno == ENOENT) return std::nullopt;
    throw last_error(kFailure, file);
  }
  if (S_ISLNK(present.status.st_mode)) throw file_error(kFailure, file, kSymbolicLink);
  // Opening what is something else could do more than tell.
  if (!S_ISREG(present.status.st_mode)) throw file_error(kFailure, file, kNotRegular);
  // The rename asks for rights on the folder only; a file that is protected has to stay.
  present.descriptor = Descriptor(::open(file.c_str(), O_WRONLY | O_NOFOLLOW | kHarmless));
  if (!present.descriptor) {
    if (errno == ENOENT) return std::nullopt;
    throw last_error(kFailure, file);
  }
  if (::fstat(present.descriptor.get(), &present.status) != 0) throw last_error(kFailure, file);
  // Untaken: somebody would have to put something else there between the two calls.
  if (!S_ISREG(present.status.st_mode)) throw file_error(kFailure, file, kNotRegular);
  return present;
}

/// Gives `target` the access control list of `source`, or none where that has none.
bool copy_access_list(int source, int target) {
  constexpr char kAccessList[] = "system.posix_acl_access";
  std::array<char, 4096> list;
  const ssize_t size = ::fgetxattr(source, kAccessList, list.data(), list.size());
  if (size >= 0) {
    return ::fsetxattr(target, kAccessList, list.data(), static_cast<std::size_t>(size), 0) == 0;
  }
  if (errno != ENODATA && errno != ENOTSUP) return false;
  // One that the folder hands down.
  return ::fremovexattr(target, kAccessList) == 0 || errno == ENODATA || errno == ENOTSUP;
}

/// The file that is to be. It has no name until it is whole, where the file system can do that:
/// then nothing is left of it when the process ends before.
class NewFile {
 public:
  NewFile(const fs::path& file, mode_t mode) : file_(file) {
    const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
    descriptor_ = Descriptor(::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, mode));
    if (descriptor_) return;
    name_ = temporary_beside(file);
    descriptor_ = Descriptor(
        ::open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
    if (descriptor_) return;
    name_.clear();
    throw failure();
  }
  ~NewFile() {
    if (!name_.empty()) ::unlink(name_.c_str());
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  void write(std::span<const std::byte> content) {
    if (!write_all(descriptor_.get(), content)) throw failure();
  }

  /// Gives it the owner, group and permissions of `replaced`, as far as this process may; nobody
  /// gets more than `replaced` gave him.
  void resemble(const Replaced& replaced) {
    const int own = descriptor_.get();
    const struct stat& status = replaced.status;
    struct stat own_status {};
    if (::fstat(own, &own_status) != 0) throw failure();
    const bool shares_group = own_status.st_gid == status.st_gid;
    const bool same_group = (shares_group && own_status.st_uid == status.st_uid) ||
                            ::fchown(own, status.st_uid, status.st_gid) == 0 || shares_group ||
                            ::fchown(own, static_cast<uid_t>(-1), status.st_gid) == 0;
    const bool same_list = copy_access_list(replaced.descriptor.get(), own);
    mode_t mode = status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO);
    // Whom the file was not shared with counts among all others.
    if (!same_group || !same_list) mode &= ~static_cast<mode_t>(S_IRWXG) | ((mode & S_IRWXO) << 3);
    if (::fchmod(own, mode) != 0) throw failure();
  }

  /// Gives it the name where nothing has it.
  void place() {
    if (link_to(file_)) return;
    // A file system without hard links.
    const bool moved =
        errno != EEXIST && !name_.empty() &&
        ::renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, file_.c_str(), RENAME_NOREPLACE) == 0;
    if (!moved) throw failure();
    name_.clear();
  }

  /// Gives it the name of whatever has it.
  void replace() {
    if (name_.empty()) {
      fs::path name = temporary_beside(file_);
      if (!link_to(name)) throw failure();
      name_ = std::move(name);  // which takes no memory: the destructor has to know it
    }
    if (::rename(name_.c_str(), file_.c_str()) != 0) throw failure();
    name_.clear();
  }

 private:
  [[nodiscard]] bool link_to(const fs::path& name) const {
    const std::string opened = "/proc/self/fd/" + std::to_string(descriptor_.get());
    return ::linkat(AT_FDCWD, opened.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
  }
  [[nodiscard]] AdoError failure() const {
    return last_error(AdoErrorNumber::kCannotWriteFile, file_);
  }

  const fs::path& file_;
  fs::path name_;
  Descriptor descriptor_;
};

}  // namespace

Bytes read_file(const fs::path& file) {
  constexpr auto kNotOpened = AdoErrorNumber::kCannotOpenFile;
  const Descriptor opened(::open(file.c_str(), O_RDONLY | kHarmless));
  if (!opened) throw last_error(kNotOpened, file);
  struct stat status {};
  if (::fstat(opened.get(), &status) != 0) throw last_error(kNotOpened, file);
  if (!S_ISREG(status.st_mode)) throw file_error(kNotOpened, file, kNotRegular);

  const auto too_large = [&] {
    return file_error(AdoErrorNumber::kCannotReadFile, file,
                      std::make_error_code(std::errc::file_too_large));
  };
  const auto told = static_cast<std::uint64_t>(status.st_size);
  if (told > kMostFileBytes) throw too_large();
  constexpr std::size_t kPiece = std::size_t{64} << 10;
  ByteBuffer content;
  for (std::size_t piece = told != 0 ? told : kPiece;; piece = std::max(kPiece, content.size())) {
    const std::size_t before = content.size();
    content.resize(before + piece);
    const ssize_t got = read_up_to(opened.get(), std::span(content).subspan(before));
    if (got < 0) throw last_error(AdoErrorNumber::kCannotReadFile, file);
    content.resize(before + static_cast<std::size_t>(got));
    if (static_cast<std::size_t>(got) < piece || told != 0) return content;
    if (content.size() >= kMostUntoldBytes) throw too_large();
  }
}

void write_file(const fs::path& file, std::span<const std::byte> content, SaveOption option) {
  if (option == SaveOption::kCreateNotExist) {
    NewFile made(file, 0666);
    made.write(content);
    made.place();
    return;
  }
  const auto replaced = require_replaceable(file);
  NewFile made(file, replaced ? 0600 : 0666);
  made.write(content);
  if (replaced) made.resemble(*replaced);
  made.replace();
}

}  // namespace tarnwick::ado
