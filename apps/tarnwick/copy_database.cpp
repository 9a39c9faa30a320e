#include "apps/tarnwick/copy_database.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "ado/error.h"
#include "ado/recordset.h"
#include "runtime/case_mapping.h"
#include "runtime/conversions.h"

namespace tarnwick::cli {
namespace {

constexpr std::array<TextView, 3> kTables{u"DW_SEC_COMP", u"DW_SEC_PC", u"DW_Reports"};
// What the target makes anew, and what only means something where it was written.
constexpr std::array<TextView, 2> kLeftBehind{u"RowVersion", u"SoftLock"};
constexpr std::array<TextView, 4> kDateColumns{u"LastLogin", u"ActivateDate", u"DeactivateDate",
                                               u"Created"};

template <std::size_t n>
bool is_one_of(const std::array<TextView, n>& names, TextView name) {
  return std::ranges::any_of(names,
                             [&](TextView other) { return equals_ignoring_case(name, other); });
}

std::unique_ptr<ado::Recordset> open(const std::shared_ptr<ado::Connection>& connection,
                                     TextView statement, ado::LockType lock) {
  auto recordset = std::make_unique<ado::Recordset>();
  recordset->set_active_connection(connection);
  recordset->set_cursor_location(ado::CursorLocation::kServer);
  recordset->set_cursor_type(ado::CursorType::kForwardOnly);
  recordset->set_lock_type(lock);
  recordset->open(statement, ado::kCommandText);
  return recordset;
}

std::size_t count_rows(const std::shared_ptr<ado::Connection>& connection, TextView table) {
  const auto counted =
      open(connection, join({u"Select Count(*) As N From ", table}), ado::LockType::kReadOnly);
  return static_cast<std::size_t>(to_int32(counted->field(u"N").value()));
}

void require_empty(const std::shared_ptr<ado::Connection>& connection) {
  for (const TextView table : kTables) {
    if (const std::size_t rows = count_rows(connection, table)) {
      throw ado::AdoError(ado::AdoErrorNumber::kIllegalOperation,
                          join({u"The target is not empty: ", table, u" holds ",
                                decimal(static_cast<std::int64_t>(rows)), u" rows."}));
    }
  }
}

/// A recordset for one table's new rows.
std::unique_ptr<ado::Recordset> open_target(const std::shared_ptr<ado::Connection>& connection,
                                            TextView table) {
  return open(connection, join({u"Select * From ", table, u" Where 1 = 0"}),
              ado::LockType::kOptimistic);
}

struct ColumnPair {
  std::size_t source;
  std::size_t target;
  bool is_date;
};

std::vector<ColumnPair> match_columns(ado::Recordset& source, ado::Recordset& target,
                                      TextView table) {
  std::vector<ColumnPair> pairs;
  for (std::size_t i = 0; i < source.field_count(); ++i) {
    const Text name = source.field(i).name();
    if (is_one_of(kLeftBehind, name)) continue;
    std::optional<std::size_t> match;
    for (std::size_t k = 0; k < target.field_count() && !match; ++k) {
      if (equals_ignoring_case(target.field(k).name(), name)) match = k;
    }
    if (!match) {
      throw ado::AdoError(ado::AdoErrorNumber::kItemNotFound,
                          join({u"The target's table ", table, u" has no column ", name, u"."}));
    }
    pairs.push_back({i, *match, is_one_of(kDateColumns, name)});
  }
  return pairs;
}

Variant value_of(ado::Recordset& source, const ColumnPair& pair) {
  Variant value = source.field(pair.source).value();
  // The embedded database keeps dates as numbers, and other servers count days from another day.
  return pair.is_date && !is_null(value) ? Variant(to_date(value)) : value;
}

/// The target's transactions, one after the other.
class Batches {
 public:
  Batches(ado::Connection& connection, std::size_t rows) : connection_(connection), rows_(rows) {
    connection_.begin_trans();
  }

  void count_row() {
    if (rows_ == 0 || ++in_batch_ < rows_) return;
    connection_.commit_trans();
    committed_ = true;
    in_batch_ = 0;
    connection_.begin_trans();
  }

  void finish() {
    finishing_ = true;
    connection_.commit_trans();
  }

  /// Takes back what was written. False where rows stay behind, or may do so.
  [[nodiscard]] bool give_up() {
    // A connection that went with the commit does not tell whether the server carried it out.
    const bool lost = connection_.state() == ado::ObjectState::kClosed;
    if (lost && finishing_) return false;
    try {
      if (connection_.in_transaction()) connection_.rollback_trans();
      if (!committed_) return true;
      for (const TextView table : kTables) connection_.execute(join({u"Delete From ", table}));
      return true;
    } catch (const ado::AdoError&) {
      // A transaction that cannot be rolled back ends with its connection.
      return !committed_;
    }
  }

 private:
  ado::Connection& connection_;
  std::size_t rows_;
  std::size_t in_batch_ = 0;
  bool committed_ = false;
  bool finishing_ = false;
};

void copy_rows(ado::Recordset& source, ado::Recordset& target, const CopiedTable& table,
               Batches& batches, const CopyProgress& progress) {
  const std::vector<ColumnPair> columns = match_columns(source, target, table.name);
  std::size_t done = 0;
  for (; !source.eof(); source.move_next()) {
    target.add_new();
    for (const ColumnPair& column : columns) {
      target.field(column.target).set_value(value_of(source, column));
    }
    target.update();
    batches.count_row();
    progress(table.name, ++done, table.rows);
  }
}

}  // namespace

CopiedTables copy_database(const std::shared_ptr<ado::Connection>& from,
                           const std::shared_ptr<ado::Connection>& to,
                           std::size_t rows_per_transaction, const CopyProgress& progress) {
  require_empty(to);
  CopiedTables tables;
  Batches batches(*to, rows_per_transaction);
  try {
    for (std::size_t i = 0; i < kTables.size(); ++i) {
      tables[i] = {kTables[i], count_rows(from, kTables[i])};
      const auto source =
          open(from, join({u"Select * From ", kTables[i]}), ado::LockType::kReadOnly);
      const auto target = open_target(to, kTables[i]);
      copy_rows(*source, *target, tables[i], batches, progress);
    }
    batches.finish();
  } catch (const Error& error) {
    if (!batches.give_up()) throw RowsLeftBehind(error);
    throw;
  }
  return tables;
}

}  // namespace tarnwick::cli
