#pragma once

#include <filesystem>
#include <string>

#include "runtime/text.h"
#include "tests/support/plain_sqlite.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::test_support {

/// Makes the hash of the role's password one of a single iteration, so that entering the role takes
/// no time. `file` is the database.
void lighten_role(const std::filesystem::path& file, TextView role, TextView password);

/// A fresh embedded database Velmar_Sec in a folder of its own: made from the schema that every
/// embedded database is made from, the three tables without rows and one application role.
class EmbeddedDatabase {
 public:
  static constexpr TextView kName = u"Velmar_Sec";
  static constexpr TextView kRole = u"Maintainer";
  static constexpr TextView kPassword = u"sesame";

  EmbeddedDatabase();

  [[nodiscard]] const std::filesystem::path& folder() const { return folder_.path(); }
  [[nodiscard]] std::filesystem::path file() const { return folder_.path() / "Velmar_Sec.db"; }
  [[nodiscard]] Text connection_string() const;

  /// A program that knows nothing of ours.
  [[nodiscard]] PlainSqlite open_plainly() const { return PlainSqlite(file()); }
  /// Runs `sql` as such a program and returns its rows.
  PlainSqlite::Rows run(const std::string& sql) const { return open_plainly().run(sql); }
  /// The first value of the first row.
  [[nodiscard]] std::string value(const std::string& sql) const;
  /// Puts a table of the same columns in the place of `table` that takes anything: without types,
  /// keys, triggers and rows, but with `constraint` ("PRIMARY KEY (CompID)") where one is given.
  void loosen(const std::string& table, const std::string& constraint = {}) const;

 private:
  TemporaryFolder folder_;
};

}  // namespace tarnwick::test_support
