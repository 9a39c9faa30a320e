#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "engines/sqlite/database.h"

namespace tarnwick::sqlite {

/// The application roles of an embedded database, for whoever may enter one of them and write the
/// file. Each change is one transaction of its own and waits ten seconds for whoever else writes;
/// sessions that have entered a role go on, whatever becomes of it. Functions throw AdoError, which
/// names the file, and have changed nothing then. Not thread-safe.
class DatabaseRoles final {
 public:
  /// Of the database `name` in `folder`, entered in `role`. Throws as well when there is no such
  /// database, when its tables are of another version, and when `password` is not the role's.
  DatabaseRoles(const std::filesystem::path& folder, TextView name, TextView role,
                TextView password);

  /// All names, in order.
  [[nodiscard]] std::vector<Text> names();
  [[nodiscard]] bool has(TextView role);

  /// What became of a change; all but the first leave the roles as they are.
  enum class Change {
    kDone,
    kExists,   // there is such a role already, in whatever letter case
    kMissing,  // there is none
    kLast,     // a database without a role could not be entered any more
  };
  /// Throws for an empty name, too.
  [[nodiscard]] Change add(TextView role, TextView password);
  [[nodiscard]] Change set_password(TextView role, TextView password);
  [[nodiscard]] Change remove(TextView role);

 private:
  template <class Step>
  auto step(Step&& run);
  template <class Decide>
  Change change(Decide&& decide);

  std::filesystem::path file_;
  std::unique_ptr<Database> database_;
};

}  // namespace tarnwick::sqlite
