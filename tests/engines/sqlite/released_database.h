#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/embedded_database.h"
#include "tests/support/plain_sqlite.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::sqlite {

/// A database that the released program made, before tables bore a version: released_database.db is
/// what `tarnwick init --role dw_admin --sample-folder` of commit 85c4bef left, with one component,
/// one PC and one report; the password is "open sesame".
class ReleasedDatabaseTest : public ::testing::Test {
 protected:
  ReleasedDatabaseTest() { std::filesystem::copy_file(RELEASED_DATABASE, file()); }

  [[nodiscard]] const std::filesystem::path& folder() const { return folder_.path(); }
  [[nodiscard]] std::filesystem::path file() const { return folder_.path() / "Velmar_Sec.db"; }

  /// Runs `sql` as a program that knows nothing of ours.
  test_support::PlainSqlite::Rows run(const std::string& sql) const {
    return test_support::PlainSqlite(file()).run(sql);
  }
  [[nodiscard]] std::string value(const std::string& sql) const { return run(sql).at(0).at(0); }

  [[nodiscard]] std::string bytes() const {
    std::ifstream stream(file(), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }

  /// What the database is made of, without its version.
  static test_support::PlainSqlite::Rows schema_of(const std::filesystem::path& file) {
    return test_support::PlainSqlite(file).run(
        "SELECT type, name, tbl_name, sql FROM sqlite_master ORDER BY type, name");
  }

 private:
  test_support::TemporaryFolder folder_;
};

}  // namespace tarnwick::sqlite
