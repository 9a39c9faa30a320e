#include "engines/sqlite/create_database.h"

#include <optional>
#include <system_error>

#include "engines/sqlite/application_role.h"
#include "engines/sqlite/byte_range_locks.h"
#include "engines/sqlite/database_file.h"
#include "engines/sqlite/embedded_schema.h"
#include "engines/sqlite/files.h"
#include "engines/sqlite/password_hash.h"

namespace tarnwick::sqlite {
namespace {

using ado::AdoError;
using ado::AdoErrorNumber;

[[noreturn]] void fail(const std::filesystem::path& file, TextView why) {
  throw AdoError(AdoErrorNumber::kUnspecified,
                 join({u"The database ", file_text(file), u" cannot be made: ", why}));
}

/// Folders that were made, and are removed again unless `keep` is called.
class NewFolders final {
 public:
  explicit NewFolders(const std::filesystem::path& folder) {
    for (auto missing = folder; !missing.empty() && !std::filesystem::exists(missing);
         missing = missing.parent_path()) {
      made_.push_back(missing);
    }
    std::filesystem::create_directories(folder);
  }
  ~NewFolders() {
    std::error_code ignored;
    for (const auto& folder : made_) std::filesystem::remove(folder, ignored);
  }
  NewFolders(const NewFolders&) = delete;
  NewFolders& operator=(const NewFolders&) = delete;
  void keep() { made_.clear(); }

 private:
  std::vector<std::filesystem::path> made_;  // the innermost first
};

const char* const kBesides[] = {"", "-wal", "-shm", "-journal"};

/// Removes `file` and all that SQLite and sessions put beside it.
void remove_with_all(const std::filesystem::path& file) {
  std::error_code ignored;
  for (const char* suffix : kBesides) {
    auto besides = file;
    std::filesystem::remove(besides += suffix, ignored);
  }
  std::filesystem::remove(lock_file(file), ignored);
}

/// A file under a name of its own, on its way to the name `target`. Locked as long as it is made,
/// so that one whose maker was killed is known, and removed by the next one.
class ScratchFile final {
 public:
  explicit ScratchFile(const std::filesystem::path& target)
      : target_(target), path_(marked(target, hexadecimal(random_bytes(kMarkBytes)))) {
    make_private_file(path_);
    lock_.emplace(path_, path_);
    static_cast<void>(lock_->try_lock(kBeingMade));
  }
  ~ScratchFile() {
    lock_.reset();
    remove_with_all(path_);
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  /// Throws where something has the target's name already.
  void become_target() { rename_to_new(path_, target_); }

  /// Removes what makers of `target` left behind that were killed.
  static void remove_abandoned(const std::filesystem::path& target) {
    const auto sample = marked(target, std::string(2 * kMarkBytes, '0')).filename().native();
    const auto end = target.extension().native();
    const auto begin = sample.substr(0, sample.size() - 2 * kMarkBytes - end.size());
    std::vector<std::filesystem::path> abandoned;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(target.parent_path(), none)) {
      const auto name = entry.path().filename().native();
      if (name.starts_with(begin) && name.ends_with(end) && name.size() == sample.size() &&
          entry.symlink_status().type() == std::filesystem::file_type::regular &&
          is_abandoned(entry.path())) {
        abandoned.push_back(entry.path());
      }
    }
    for (const auto& file : abandoned) remove_with_all(file);
  }

 private:
  static constexpr const char* kMark = ".new-";
  static constexpr std::size_t kMarkBytes = 8;
  static constexpr ByteRange kBeingMade{std::int64_t{1} << 62, std::int64_t{1} << 62};

  static std::filesystem::path marked(const std::filesystem::path& target,
                                      const std::string& mark) {
    auto name = target.stem();
    name += kMark + mark;
    return target.parent_path() / (name += target.extension());
  }

  static std::string hexadecimal(const Bytes& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const auto byte : bytes) {
      text += kDigits[std::to_integer<unsigned>(byte) >> 4];
      text += kDigits[std::to_integer<unsigned>(byte) & 15u];
    }
    return text;
  }

  static bool is_abandoned(const std::filesystem::path& file) {
    try {
      return ByteRangeLocks(file, file).try_lock(kBeingMade);
    } catch (const AdoError&) {
      return false;  // not one that this user could have left
    }
  }

  std::filesystem::path target_;
  std::filesystem::path path_;
  std::optional<ByteRangeLocks> lock_;
};

void make_tables(const std::filesystem::path& file, std::string_view role,
                 std::string_view password) {
  Database database(file);
  database.use_write_ahead_log();
  database.begin_immediate();
  const int code = sqlite3_exec(database.handle(), kEmbeddedSchema, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) database.fail(code);
  add_role(database, role, password);
  database.commit();
}

}  // namespace

void create_database(const std::filesystem::path& folder, TextView name, TextView role,
                     TextView password, const std::function<void(TextView name)>& fill) {
  const auto file = database_file(folder, name);
  const auto role_utf8 = role_text(role, u"name of the application role");
  const auto password_utf8 = role_text(password, u"password");
  if (role.empty()) {
    throw AdoError(AdoErrorNumber::kInvalidArgument, u"The application role needs a name.");
  }
  try {
    ScratchFile::remove_abandoned(file);
    // What an earlier database left behind would be taken for this one's.
    for (const char* suffix : kBesides) {
      auto present = file;
      present += suffix;
      if (std::filesystem::exists(std::filesystem::symlink_status(present))) {
        fail(file, join({u"there is a file ", file_text(present), u" already."}));
      }
    }
    NewFolders folders(folder);
    ScratchFile scratch(file);
    make_tables(scratch.path(), role_utf8, password_utf8);
    if (fill) fill(scratch.path().stem().u16string());
    scratch.become_target();
    folders.keep();
  } catch (const std::filesystem::filesystem_error& error) {
    fail(file, from_stored_utf8(error.code().message()));
  }
}

}  // namespace tarnwick::sqlite
