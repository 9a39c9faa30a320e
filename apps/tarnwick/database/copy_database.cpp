#include "apps/tarnwick/database/copy_database.h"

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

/// By then all rows have been sent: the commit is all that is left to do.
void require_rows(const std::shared_ptr<ado::Connection>& connection, TextView table,
                  std::size_t rows) {
  if (count_rows(connection, table) == rows) return;
  throw ado::AdoError(
      ado::AdoErrorNumber::kUnspecified,
      join({u"The target's table ", table, u" does not hold what was copied into it."}));
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

/// The one transaction of the target: all of the copy or nothing of it. Rolled back at its end.
class Load {
 public:
  explicit Load(ado::Connection& connection) : connection_(connection) { connection_.begin_load(); }
  ~Load() {
    if (connection_.state() == ado::ObjectState::kClosed || !connection_.in_transaction()) return;
    try {
      connection_.rollback_trans();
    } catch (const ado::AdoError&) {
      // It ends with its connection.
    }
  }
  Load(const Load&) = delete;
  Load& operator=(const Load&) = delete;

  void commit() {
    try {
      connection_.commit_trans();
    } catch (const ado::ConnectionLost& error) {
      // Nobody tells whether the server has carried it out.
      throw OutcomeUnknown(error);
    }
  }

 private:
  ado::Connection& connection_;
};

/// Returns how many there were.
std::size_t copy_rows(ado::Recordset& source, ado::Recordset& target, const CopiedTable& table,
                      const CopyProgress& progress) {
  const std::vector<ColumnPair> columns = match_columns(source, target, table.name);
  std::size_t done = 0;
  for (; !source.eof(); source.move_next()) {
    target.add_new();
    for (const ColumnPair& column : columns) {
      target.field(column.target).set_value(value_of(source, column));
    }
    target.update();
    progress(table.name, ++done, table.rows);
  }
  return done;
}

}  // namespace

CopiedTables copy_database(const std::shared_ptr<ado::Connection>& from,
                           const std::shared_ptr<ado::Connection>& to,
                           const CopyProgress& progress) {
  CopiedTables tables;
  Load load(*to);
  require_empty(to);
  for (std::size_t i = 0; i < kTables.size(); ++i) {
    tables[i] = {kTables[i], count_rows(from, kTables[i])};
    const auto source = open(from, join({u"Select * From ", kTables[i]}), ado::LockType::kReadOnly);
    const auto target = open(to, join({u"Select * From ", kTables[i], u" Where 1 = 0"}),
                             ado::LockType::kOptimistic);
    const std::size_t rows = copy_rows(*source, *target, tables[i], progress);
    require_rows(to, kTables[i], rows);
  }
  load.commit();
  return tables;
}

}  // namespace tarnwick::cli
