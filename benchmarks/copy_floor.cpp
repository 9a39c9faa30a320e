#include "benchmarks/copy_floor.h"

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "benchmarks/dataset.h"
#include "benchmarks/odbc_call.h"
#include "benchmarks/sqlite_floor.h"
#include "engines/odbc/conversion.h"

namespace tarnwick::benchmarks {
namespace {

constexpr std::size_t kRows = 1000;

template <class T>
struct Fixed {
  std::array<T, kRows> values{};
  std::array<SQLLEN, kRows> lengths{};

  void bind(SQLHSTMT statement, SQLUSMALLINT number, SQLSMALLINT c_type, SQLSMALLINT sql_type,
            SQLULEN size = 0, SQLSMALLINT digits = 0) {
    check(SQLBindParameter(statement, number, SQL_PARAM_INPUT, c_type, sql_type, size, digits,
                           values.data(), sizeof(T), lengths.data()));
  }
  void set(std::size_t row, sqlite3_stmt* from, int column, const T& value) {
    const bool null = sqlite3_column_type(from, column) == SQLITE_NULL;
    values[row] = value;
    lengths[row] = null ? SQL_NULL_DATA : SQLLEN{sizeof(T)};
  }
};

struct Texts {
  explicit Texts(std::size_t characters) : width(characters), values(characters * kRows) {}

  std::size_t width;
  std::vector<char16_t> values;
  std::array<SQLLEN, kRows> lengths{};

  void bind(SQLHSTMT statement, SQLUSMALLINT number) {
    check(SQLBindParameter(statement, number, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, width, 0,
                           values.data(), static_cast<SQLLEN>(width * sizeof(char16_t)),
                           lengths.data()));
  }
  void set(std::size_t row, sqlite3_stmt* from, int column) {
    const auto* text = static_cast<const char16_t*>(sqlite3_column_text16(from, column));
    lengths[row] = text == nullptr ? SQL_NULL_DATA : sqlite3_column_bytes16(from, column);
    if (text == nullptr) return;
    std::copy_n(text, static_cast<std::size_t>(lengths[row]) / sizeof(char16_t),
                values.data() + row * width);
  }
};

/// A block of rows, bound as parameters.
struct Block {
  Texts mac{50}, computer{128}, last_user{128}, activated_by{128}, deactivated_by{128},
      software{50};
  Fixed<SQLSMALLINT> component, image;
  Fixed<SQLINTEGER> maintenance, logins;
  Fixed<unsigned char> active;
  Fixed<SQL_TIMESTAMP_STRUCT> last_login, activated, deactivated;

  void bind(SQLHSTMT statement) {
    mac.bind(statement, 1);
    computer.bind(statement, 2);
    component.bind(statement, 3, SQL_C_SSHORT, SQL_SMALLINT);
    maintenance.bind(statement, 4, SQL_C_SLONG, SQL_INTEGER);
    active.bind(statement, 5, SQL_C_BIT, SQL_BIT);
    image.bind(statement, 6, SQL_C_SSHORT, SQL_SMALLINT);
    last_user.bind(statement, 7);
    bind_time(last_login, statement, 8);
    logins.bind(statement, 9, SQL_C_SLONG, SQL_INTEGER);
    activated_by.bind(statement, 10);
    bind_time(activated, statement, 11);
    deactivated_by.bind(statement, 12);
    bind_time(deactivated, statement, 13);
    software.bind(statement, 14);
  }

  void set(std::size_t row, sqlite3_stmt* from) {
    const auto integer = [&](int column) { return sqlite3_column_int(from, column); };
    mac.set(row, from, 0);
    computer.set(row, from, 1);
    component.set(row, from, 2, static_cast<SQLSMALLINT>(integer(2)));
    maintenance.set(row, from, 3, integer(3));
    active.set(row, from, 4, integer(4) != 0);
    image.set(row, from, 5, static_cast<SQLSMALLINT>(integer(5)));
    last_user.set(row, from, 6);
    set_time(last_login, row, from, 7);
    logins.set(row, from, 8, integer(8));
    activated_by.set(row, from, 9);
    set_time(activated, row, from, 10);
    deactivated_by.set(row, from, 11);
    set_time(deactivated, row, from, 12);
    software.set(row, from, 13);
  }

 private:
  static void bind_time(Fixed<SQL_TIMESTAMP_STRUCT>& times, SQLHSTMT statement,
                        SQLUSMALLINT number) {
    times.bind(statement, number, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, 23, 3);
  }
  static void set_time(Fixed<SQL_TIMESTAMP_STRUCT>& times, std::size_t row, sqlite3_stmt* from,
                       int column) {
    times.set(row, from, column, odbc::timestamp_of({sqlite3_column_double(from, column)}, 3));
  }
};

}  // namespace

void copy_by_row_arrays(const std::filesystem::path& folder, const Text& connect) {
  const OdbcConnection connection(connect);
  check(SQLSetConnectAttrW(connection.get(), SQL_ATTR_AUTOCOMMIT,
                           reinterpret_cast<SQLPOINTER>(SQL_AUTOCOMMIT_OFF), SQL_IS_UINTEGER));
  const Database database = open_database(database_file(folder));
  const Statement rows =
      prepare(database.get(),
              "SELECT MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex, LastUser, "
              "LastLogin, TotalLogins, ActivatedBy, ActivateDate, DeactivatedBy, DeactivateDate, "
              "SoftwareVersion FROM DW_SEC_PC");
  const auto block = std::make_unique<Block>();
  for (bool more = true; more;) {
    std::size_t count = 0;
    while (count < kRows && (more = step(rows.get()))) block->set(count++, rows.get());
    if (count == 0) break;
    const OdbcHandle insert(SQL_HANDLE_STMT, connection.get());
    check(SQLSetStmtAttrW(insert.get(), SQL_ATTR_PARAMSET_SIZE, reinterpret_cast<SQLPOINTER>(count),
                          SQL_IS_UINTEGER));
    block->bind(insert.get());
    check(SQLExecDirectW(
        insert.get(),
        wide(u"INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, "
             u"ImageIndex, LastUser, LastLogin, TotalLogins, ActivatedBy, ActivateDate, "
             u"DeactivatedBy, DeactivateDate, SoftwareVersion) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, "
             u"?, ?, ?, ?, ?)"),
        SQL_NTS));
    SQLRETURN result = SQLMoreResults(insert.get());
    while (SQL_SUCCEEDED(result)) result = SQLMoreResults(insert.get());
    if (result != SQL_NO_DATA) check(result);
  }
  check(SQLEndTran(SQL_HANDLE_DBC, connection.get(), SQL_COMMIT));
}

}  // namespace tarnwick::benchmarks
