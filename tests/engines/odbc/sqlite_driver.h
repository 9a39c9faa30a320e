#pragma once

#include <cstdlib>

#include "runtime/text.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::odbc_test {

/// A fresh database file behind SQLite's ODBC driver, which is entered in a private list of
/// drivers: what is installed on the machine does not matter.
class SqliteDriver {
 public:
  SqliteDriver() {
    // The driver manager reads its lists once; every test of this program names the same one.
    static const test_support::TemporaryFolder lists;
    static const auto file =
        lists.write("odbcinst.ini", "[Test SQLite]\nDriver=libsqlite3odbc.so\n");
    ::setenv("ODBCSYSINI", lists.path().c_str(), 1);
    ::setenv("ODBCINI", "/dev/null", 1);
  }

  [[nodiscard]] Text connection_string() const {
    return join({u"Provider=MSDASQL;Driver={Test SQLite};Database=",
                 from_utf8((folder_.path() / "test.db").string()),
                 u";Timeout=1000;SyncPragma=OFF"});
  }

 private:
  test_support::TemporaryFolder folder_;
};

}  // namespace tarnwick::odbc_test
