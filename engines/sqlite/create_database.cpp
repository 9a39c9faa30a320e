#include "engines/sqlite/create_database.h"

#include <system_error>

#include "engines/sqlite/application_role.h"
#include "engines/sqlite/database_file.h"
#include "engines/sqlite/embedded_schema.h"
#include "engines/sqlite/password_hash.h"
#include "engines/sqlite/private_file.h"

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

/// A file under a name of its own, removed at the end with all that SQLite has put beside it.
class ScratchFile final {
 public:
  explicit ScratchFile(const std::filesystem::path& target) : path_(target) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string name = ".new-";
    for (const auto byte : random_bytes(8)) {
      name += kDigits[std::to_integer<unsigned>(byte) >> 4];
      name += kDigits[std::to_integer<unsigned>(byte) & 15u];
    }
    path_ += name;
    make_private_file(path_);
  }
  ~ScratchFile() {
    std::error_code ignored;
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
      auto file = path_;
      std::filesystem::remove(file += suffix, ignored);
    }
  }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

void fill(const std::filesystem::path& file, std::string_view role, std::string_view password) {
  Database database(file);
  database.begin_immediate();
  const int code = sqlite3_exec(database.handle(), kEmbeddedSchema, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) database.fail(code);
  add_role(database, role, password);
  database.commit();
}

std::string utf8_of(TextView text, TextView what) {
  try {
    if (text.find(u'\0') == TextView::npos) return to_utf8(text);
  } catch (const Error&) {
    // Refused below, as a NUL is.
  }
  throw AdoError(AdoErrorNumber::kInvalidArgument,
                 join({u"The ", what, u" holds a NUL character or an unpaired surrogate."}));
}

}  // namespace

void create_database(const std::filesystem::path& folder, TextView name, TextView role,
                     TextView password) {
  const auto file = database_file(folder, name);
  const auto role_utf8 = utf8_of(role, u"name of the application role");
  const auto password_utf8 = utf8_of(password, u"password");
  if (role.empty()) {
    throw AdoError(AdoErrorNumber::kInvalidArgument, u"The application role needs a name.");
  }
  try {
    // What an earlier database left behind would be taken for this one's.
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
      auto present = file;
      present += suffix;
      if (std::filesystem::exists(std::filesystem::symlink_status(present))) {
        fail(file, join({u"there is a file ", file_text(present), u" already."}));
      }
    }
    NewFolders folders(folder);
    const ScratchFile scratch(file);
    fill(scratch.path(), role_utf8, password_utf8);
    // Unlike a rename a second link never replaces a file that somebody else has just made.
    std::filesystem::create_hard_link(scratch.path(), file);
    folders.keep();
  } catch (const std::filesystem::filesystem_error& error) {
    fail(file, from_stored_utf8(error.code().message()));
  }
}

}  // namespace tarnwick::sqlite
