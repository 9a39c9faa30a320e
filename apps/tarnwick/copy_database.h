#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>

#include "ado/connection.h"
#include "runtime/error.h"

namespace tarnwick::cli {

/// A table that is copied, and how many rows it has.
struct CopiedTable {
  TextView name;
  std::size_t rows = 0;
};
using CopiedTables = std::array<CopiedTable, 3>;

/// Called as rows arrive: the table, how many of its rows are there, how many it has in all.
using CopyProgress = std::function<void(TextView table, std::size_t done, std::size_t all)>;

/// An error after which rows are still in the target, or may be.
class RowsLeftBehind final : public Error {
 public:
  explicit RowsLeftBehind(const Error& cause) : Error(cause) {}
};

/// Copies the rows of all tables from one open database into another. Row versions are the target's
/// own, lock stamps are left behind. Rows are held in memory one at a time.
/// `rows_per_transaction`: so many rows the target commits at once; 0: all. On an error the target
/// is left empty, as it was. Throws AdoError, also for a target that holds rows already or lacks a
/// column, and RowsLeftBehind where the target cannot be emptied again or the
/// connection was lost at the commit.
CopiedTables copy_database(const std::shared_ptr<ado::Connection>& from,
                           const std::shared_ptr<ado::Connection>& to,
                           std::size_t rows_per_transaction, const CopyProgress& progress);

}  // namespace tarnwick::cli
