#include "engines/sqlite/database_roles.h"

#include <utility>

#include "engines/sqlite/application_role.h"
#include "engines/sqlite/database_file.h"
#include "engines/sqlite/schema_version.h"

namespace tarnwick::sqlite {
namespace {

using ado::AdoError;
using ado::AdoErrorNumber;

constexpr TextView kName = u"name of the application role";
constexpr TextView kPassword = u"password";

std::string name_text(TextView role) {
  if (role.empty()) {
    throw AdoError(AdoErrorNumber::kInvalidArgument, u"The application role needs a name.");
  }
  return role_text(role, kName);
}

/// Rolled back at its end unless it was committed.
class Transaction final {
 public:
  explicit Transaction(Database& database) : database_(database) { database_.begin_immediate(); }
  ~Transaction() {
    if (database_.in_transaction()) database_.rollback();
  }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;
  void commit() { database_.commit(); }

 private:
  Database& database_;
};

}  // namespace

template <class Step>
auto DatabaseRoles::step(Step&& run) {
  try {
    if (database_ != nullptr) {
      database_->time().start(Database::kOpeningWait, CallTime::kUnlimited);
    }
    return std::forward<Step>(run)();
  } catch (const AdoError& failure) {
    throw AdoError(static_cast<AdoErrorNumber>(failure.number()),
                   join({u"The application roles of ", file_text(file_), u" cannot be maintained: ",
                         failure.description()}),
                   failure.native(), {}, failure.kind());
  }
}

template <class Decide>
DatabaseRoles::Change DatabaseRoles::change(Decide&& decide) {
  Transaction transaction(*database_);
  const Change result = decide(*database_);
  if (result == Change::kDone) transaction.commit();
  return result;
}

DatabaseRoles::DatabaseRoles(const std::filesystem::path& folder, TextView name, TextView role,
                             TextView password)
    : file_(database_file(folder, name)) {
  require_database_file(file_);
  step([&] {
    database_ = std::make_unique<Database>(file_);
    require_own_schema(*database_);
  });
  require_role(*database_, role_text(role, kName), role_text(password, kPassword));
}

std::vector<Text> DatabaseRoles::names() {
  return step([&] {
    std::vector<Text> names;
    for (const std::string& name : role_names(*database_)) names.push_back(from_stored_utf8(name));
    return names;
  });
}

bool DatabaseRoles::has(TextView role) {
  return step([&] { return has_role(*database_, role_text(role, kName)); });
}

DatabaseRoles::Change DatabaseRoles::add(TextView role, TextView password) {
  return step([&] {
    const std::string name = name_text(role);
    const std::string text = role_text(password, kPassword);
    return change([&](Database& database) {
      if (has_role(database, name)) return Change::kExists;
      add_role(database, name, text);
      return Change::kDone;
    });
  });
}

DatabaseRoles::Change DatabaseRoles::set_password(TextView role, TextView password) {
  return step([&] {
    const std::string name = name_text(role);
    const std::string text = role_text(password, kPassword);
    return change([&](Database& database) {
      if (!has_role(database, name)) return Change::kMissing;
      set_role_password(database, name, text);
      return Change::kDone;
    });
  });
}

DatabaseRoles::Change DatabaseRoles::remove(TextView role) {
  return step([&] {
    const std::string name = name_text(role);
    return change([&](Database& database) {
      if (!has_role(database, name)) return Change::kMissing;
      if (role_names(database).size() == 1) return Change::kLast;
      remove_role(database, name);
      return Change::kDone;
    });
  });
}

}  // namespace tarnwick::sqlite
