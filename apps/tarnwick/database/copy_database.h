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

/// The connection was lost at the commit: whether the rows are there, nobody knows.
class OutcomeUnknown final : public Error {
 public:
  explicit OutcomeUnknown(const Error& cause) : Error(cause) {}
};

/// Copies the rows of all tables from one open database into another, in one transaction there: all
/// of them arrive, or none. Row versions are the target's own, lock stamps are left behind. An
/// embedded source is read a table at a time, any other one row by row. Throws AdoError, also for a
/// target that holds rows already or lacks a column, and OutcomeUnknown.
CopiedTables copy_database(const std::shared_ptr<ado::Connection>& from,
                           const std::shared_ptr<ado::Connection>& to,
                           const CopyProgress& progress);

}  // namespace tarnwick::cli
