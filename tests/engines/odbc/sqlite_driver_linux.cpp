#include <cstdlib>

#include "tests/engines/odbc/sqlite_driver.h"

namespace tarnwick::odbc_test {

SqliteDriver::SqliteDriver() {
  // The driver manager reads its lists once; every test of this program names the same one.
  static const test_support::TemporaryFolder lists;
  static const auto file = lists.write("odbcinst.ini", "[Test SQLite]\nDriver=libsqlite3odbc.so\n");
  ::setenv("ODBCSYSINI", lists.path().c_str(), 1);
  ::setenv("ODBCINI", "/dev/null", 1);
}

Text SqliteDriver::database() const { return from_utf8((folder_.path() / "test.db").string()); }

}  // namespace tarnwick::odbc_test
