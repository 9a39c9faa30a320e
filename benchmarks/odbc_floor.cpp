#include "benchmarks/odbc_floor.h"

#include <array>
#include <memory>
#include <utility>
#include <vector>

#include "benchmarks/odbc_call.h"

namespace tarnwick::benchmarks {
namespace {

constexpr std::size_t kRows = 200;

template <class T>
struct Fixed {
  std::array<T, kRows> values{};
  std::array<SQLLEN, kRows> lengths{};

  void bind(SQLHSTMT statement, SQLUSMALLINT column, SQLSMALLINT type) {
    check(SQLBindCol(statement, column, type, values.data(), sizeof(T), lengths.data()));
  }
  [[nodiscard]] T at(std::size_t row) const {
    return lengths[row] == SQL_NULL_DATA ? T{} : values[row];
  }
};

struct Texts {
  std::vector<char16_t> values;
  std::array<SQLLEN, kRows> lengths{};
  std::size_t width = 0;

  void bind(SQLHSTMT statement, SQLUSMALLINT column, std::size_t characters) {
    width = characters + 1;
    values.resize(width * kRows);
    check(SQLBindCol(statement, column, SQL_C_WCHAR, values.data(),
                     static_cast<SQLLEN>(width * sizeof(char16_t)), lengths.data()));
  }
  [[nodiscard]] Text at(std::size_t row) const {
    if (lengths[row] == SQL_NULL_DATA) return {};
    return {values.data() + row * width, static_cast<std::size_t>(lengths[row]) / sizeof(char16_t)};
  }
};

Text hex_of(const std::array<unsigned char, 8>& bytes, SQLLEN length) {
  constexpr TextView kDigits = u"0123456789ABCDEF";
  Text text;
  for (SQLLEN i = 0; i < length; ++i) {
    text += kDigits[bytes[static_cast<std::size_t>(i)] >> 4];
    text += kDigits[bytes[static_cast<std::size_t>(i)] & 15];
  }
  return text;
}

/// A block of rows.
struct Block {
  Texts mac, computer, last_user, activated_by, deactivated_by, soft_lock, software;
  Fixed<SQLSMALLINT> component, image;
  Fixed<SQLINTEGER> maintenance, logins;
  Fixed<unsigned char> active;
  Fixed<double> last_login, activated, deactivated;
  Fixed<std::array<unsigned char, 8>> version;

  void bind(SQLHSTMT statement) {
    mac.bind(statement, 1, 50);
    computer.bind(statement, 2, 128);
    component.bind(statement, 3, SQL_C_SSHORT);
    maintenance.bind(statement, 4, SQL_C_SLONG);
    active.bind(statement, 5, SQL_C_BIT);
    image.bind(statement, 6, SQL_C_SSHORT);
    last_user.bind(statement, 7, 128);
    last_login.bind(statement, 8, SQL_C_DOUBLE);
    logins.bind(statement, 9, SQL_C_SLONG);
    activated_by.bind(statement, 10, 128);
    activated.bind(statement, 11, SQL_C_DOUBLE);
    deactivated_by.bind(statement, 12, 128);
    deactivated.bind(statement, 13, SQL_C_DOUBLE);
    soft_lock.bind(statement, 14, 100);
    version.bind(statement, 15, SQL_C_BINARY);
    software.bind(statement, 16, 50);
  }

  [[nodiscard]] std::shared_ptr<FloorPc> read(std::size_t row) const {
    auto pc = std::make_shared<FloorPc>();
    pc->mac_number = mac.at(row);
    pc->computer_id = computer.at(row);
    pc->comp_id = component.at(row);
    pc->maintenance_type = maintenance.at(row);
    pc->active = active.at(row) != 0;
    pc->image_index = image.at(row);
    pc->last_user = last_user.at(row);
    pc->last_login = last_login.at(row);
    pc->total_logins = logins.at(row);
    pc->activated_by = activated_by.at(row);
    pc->activate_date = activated.at(row);
    pc->deactivated_by = deactivated_by.at(row);
    pc->deactivated_date = deactivated.at(row);
    pc->soft_lock = soft_lock.at(row);
    pc->row_version = hex_of(version.values[row], version.lengths[row]);
    pc->software_version = software.at(row);
    return pc;
  }
};

}  // namespace

FloorPcs load_by_odbc(const Text& connect) {
  const OdbcConnection connection(connect);
  const OdbcHandle statement(SQL_HANDLE_STMT, connection.get());
  SQLULEN fetched = 0;
  const auto set = [&](SQLINTEGER attribute, SQLPOINTER value) {
    check(SQLSetStmtAttrW(statement.get(), attribute, value, 0));
  };
  set(SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(kRows));
  set(SQL_ATTR_ROWS_FETCHED_PTR, &fetched);
  const auto block = std::make_unique<Block>();
  check(SQLExecDirectW(statement.get(), wide(u"SELECT * FROM DW_SEC_PC ORDER BY MACNbr"), SQL_NTS));
  block->bind(statement.get());
  FloorPcs pcs;
  while (SQL_SUCCEEDED(SQLFetch(statement.get()))) {
    for (std::size_t row = 0; row < fetched; ++row) {
      auto pc = block->read(row);
      Text key = key_of(*pc);
      pcs.add(std::move(key), std::move(pc));
    }
  }
  return pcs;
}

}  // namespace tarnwick::benchmarks
