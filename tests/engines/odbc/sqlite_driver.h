#pragma once

#include <filesystem>

#include "runtime/text.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::odbc_test {

/// A fresh database file behind SQLite's ODBC driver, which is entered in a private list of
/// drivers: what is installed on the machine does not matter.
class SqliteDriver {
 public:
  SqliteDriver();

  [[nodiscard]] Text connection_string() const {
    return join({u"Provider=MSDASQL;Driver={Test SQLite};Database=", database(),
                 u";Timeout=1000;SyncPragma=OFF"});
  }

 private:
  /// The file as the driver takes it.
  [[nodiscard]] Text database() const;

  test_support::TemporaryFolder folder_;
};

}  // namespace tarnwick::odbc_test
