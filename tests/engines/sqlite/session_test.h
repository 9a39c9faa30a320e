#pragma once

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ado/error.h"
#include "engines/sqlite/engine.h"
#include "tests/support/embedded_database.h"

namespace tarnwick::sqlite {

/// What a rowset has handed out.
struct Fetched {
  std::unique_ptr<ado::Rowset> rowset;
  ado::RowBuffer rows{0};

  [[nodiscard]] std::size_t size() const { return rows.rows(); }

  [[nodiscard]] std::size_t column(TextView name) const {
    const auto& columns = rowset->columns();
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (columns[i].name == name) return i;
    }
    ADD_FAILURE() << "there is no column " << to_display_utf8(name);
    return 0;
  }

  [[nodiscard]] std::vector<ado::Cell> cells(std::size_t row = 0) const {
    std::vector<ado::Cell> result(rows.columns());
    rows.read_row(row, result);
    return result;
  }

  [[nodiscard]] Variant value(TextView name, std::size_t row = 0) const {
    return cells(row)[column(name)].to_variant();
  }

  using Values = std::vector<std::pair<Text, Variant>>;
  void update(const Values& values, std::size_t row = 0) const {
    rowset->update(cells(row), assigned(values));
  }
  void insert(const Values& values) const { rowset->insert(assigned(values)); }

 private:
  [[nodiscard]] std::vector<ado::Assignment> assigned(const Values& values) const {
    std::vector<ado::Assignment> result;
    for (const auto& [name, value] : values) result.push_back({column(name), &value});
    return result;
  }
};

inline constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();

inline Fetched fetch(ado::EngineSession& session, const ado::RowsetRequest& request,
                     std::size_t limit) {
  Fetched fetched;
  fetched.rowset = session.open(request);
  fetched.rows = ado::RowBuffer(fetched.rowset->columns().size());
  fetched.rowset->fetch(fetched.rows, limit);
  return fetched;
}

/// All rows, without locking them.
inline Fetched read(ado::EngineSession& session, TextView statement) {
  return fetch(session, {.statement = statement, .location = ado::CursorLocation::kClient}, kAll);
}

/// The first row, locked.
inline Fetched hold(ado::EngineSession& session, TextView statement, std::size_t limit = 1) {
  return fetch(session,
               {.statement = statement,
                .location = ado::CursorLocation::kServer,
                .type = ado::CursorType::kDynamic,
                .lock = ado::LockType::kPessimistic},
               limit);
}

/// The error that `step` ends with; a failed test when it ends without one.
template <class Step>
[[nodiscard]] ado::AdoError error_of(Step&& step) {
  try {
    static_cast<void>(std::forward<Step>(step)());
  } catch (const ado::AdoError& error) {
    return error;
  }
  ADD_FAILURE() << "no error where one has to be";
  return ado::AdoError(ado::AdoErrorNumber::kUnspecified, u"no error");
}

/// A fresh database with sessions on it.
class SessionTest : public ::testing::Test {
 protected:
  static constexpr std::int32_t kCommandError = -2147217900;
  static constexpr std::int32_t kPermissionDenied = -2147217911;
  static constexpr std::int32_t kIntegrityViolation = -2147217873;
  static constexpr std::int32_t kRowNotLocated = -2147217864;
  static constexpr std::int32_t kInvalidArgument = 3001;
  static constexpr std::int32_t kUnspecified = -2147467259;

  [[nodiscard]] std::unique_ptr<ado::EngineSession> connect() {
    return engine_.connect(ado::ConnectionString::parse(database_.connection_string()));
  }

  /// In the database and the role; waits `lock_timeout` milliseconds for locks.
  [[nodiscard]] std::unique_ptr<ado::EngineSession> open_session(int lock_timeout = 0) {
    auto session = connect();
    session->set_default_database(test_support::EmbeddedDatabase::kName);
    session->execute(u"EXEC sp_setapprole 'Maintainer','sesame'");
    session->execute(join({u"SET LOCK_TIMEOUT ", decimal(lock_timeout)}));
    return session;
  }

  test_support::EmbeddedDatabase database_;
  SqliteEngine engine_;
};

inline constexpr TextView kSales = u"Select * From DW_Reports Where ReportName = 'Sales'";
inline constexpr TextView kAllReports = u"Select * From DW_Reports Order By ReportName";

}  // namespace tarnwick::sqlite
