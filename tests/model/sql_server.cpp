#include <cstdio>
#include <stdexcept>

#include "engines/odbc/result.h"
#include "runtime/conversions.h"
#include "tests/engines/fetched_rows.h"
#include "tests/model/outside.h"
#include "tests/model/process_in_here.h"
#include "tests/stand_in/stand_in.h"
#include "tests/support/plain_sqlite.h"

namespace tarnwick::model {
namespace {

using test_support::StandIn;

constexpr std::int32_t kLockTimeout = 1222;
constexpr std::int32_t kKeyIsTaken = 2627;

constexpr std::array<const char*, kKinds> kServerOrders{"CompID", "MACNbr, ComputerID, CompID",
                                                        "ReportName"};

StandIn& server() {
  static const auto kServer = [] {
    auto made = std::make_unique<StandIn>();
    made->make_database();
    return made;
  }();
  return *kServer;
}

std::string server_insertion(Kind kind, int number) {
  if (kind == kComponents) {
    return "INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType, MetaID) VALUES (" +
           std::to_string(chosen(kComponentIds, number)) + ", 0, 2, 'abc')";
  }
  if (kind == kReports) {
    return "INSERT INTO DW_Reports (ReportName, TTX_Binary, Report_Binary) VALUES (" +
           quoted(chosen(kReportNames, number)) + ", 0x78E9, 0x66696C65)";
  }
  const PcName& name = chosen(kPcNames, number);
  return std::string(
             "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, "
             "ImageIndex) VALUES (") +
         quoted(name.mac) + ", " + quoted(name.computer) + ", " + std::to_string(name.component) +
         ", 5, 1, 10)";
}

std::string printed_cell(const Variant& value) {
  if (is_null(value)) return "NULL";
  if (const auto* bytes = std::get_if<Bytes>(&value)) {
    return test_support::hexadecimal({reinterpret_cast<const char*>(bytes->data()), bytes->size()});
  }
  if (const auto* truth = std::get_if<bool>(&value)) return *truth ? "1" : "0";
  if (const auto* date = std::get_if<Date>(&value)) {
    char digits[64];
    std::snprintf(digits, sizeof digits, "%.6f", date->days);
    return digits;
  }
  return to_utf8(to_text(value));
}

/// One stand-in for all databases of a program. The observer sees what is not committed, and writes
/// no row that somebody holds.
class SqlServer final : public PlayedDatabase {
 public:
  SqlServer() {
    // Whoever has just left may hold rows for a moment.
    session_->set_default_database(u"Velmar_Sec");
    session_->execute(u"SET LOCK_TIMEOUT 30000");
    for (const char* table : kTables) run(std::string("DELETE FROM ") + table);
    session_->execute(u"SET LOCK_TIMEOUT 0");
  }

  std::vector<client::Value> login() const override {
    return {server().connection_string(), Text(StandIn::kRole), Text(StandIn::kRolePassword)};
  }
  Text string_of_no_database() const override {
    return u"Provider=MSOLEDBSQL;Data Source=127.0.0.1,1;User ID=sa;Password=none";
  }

  [[nodiscard]] DatabaseTraits traits() const override {
    return {.takes_any_value = false,
            .locks_bind_everybody = true,
            .folds_all_letters = true,
            .deleted_rows_are_held = false};
  }

  void write(const Step& step) override {
    const auto kind = static_cast<Kind>(step.kind % kKinds);
    const std::string where = condition_of(kind, step.key);
    try {
      if (step.op == Op::kInsertRow) {
        run(server_insertion(kind, step.key));
      } else if (step.op == Op::kDeleteRow) {
        run(std::string("DELETE FROM ") + kTables[kind] + where);
      } else if (step.op == Op::kTouchRow) {
        run(std::string("UPDATE ") + kTables[kind] + " SET SoftLock = SoftLock" + where);
      } else {
        throw std::logic_error("no step from outside");
      }
    } catch (const ado::AdoError& error) {
      if (error.native() != kLockTimeout && error.native() != kKeyIsTaken) throw;
    }
  }

  void add_stored_rows(Sight& sight) override {
    for (const Kind kind : {kComponents, kPcs, kReports}) {
      const std::vector<std::string> columns = columns_of(kind);
      std::string sql = "SELECT ";
      for (const std::string& column : columns) sql += (sql.size() > 7 ? ", " : "") + column;
      sql +=
          std::string(" FROM ") + kTables[kind] + " WITH (NOLOCK) ORDER BY " + kServerOrders[kind];
      const Text statement = from_utf8(sql);
      const engine_contract::FetchedRows rows(
          session_->open({.statement = statement,
                          .location = ado::CursorLocation::kClient,
                          .type = ado::CursorType::kStatic,
                          .lock = ado::LockType::kReadOnly}),
          odbc::kAllRows);
      for (std::size_t row = 0; row < rows.size(); ++row) {
        const std::string name = std::string(kTables[kind]) + " " + std::to_string(row + 1) + " ";
        const auto cells = rows.cells(row);
        for (std::size_t i = 0; i < columns.size(); ++i) {
          sight.emplace_back(name + columns[i], printed_cell(cells[i].to_variant()));
        }
      }
    }
  }

 private:
  void run(const std::string& statement) { session_->execute(from_utf8(statement)); }

  odbc::OdbcEngine engine_;
  std::unique_ptr<ado::EngineSession> session_ =
      engine_.connect(ado::ConnectionString::parse(server().connection_string()));
};

}  // namespace

const Stage kOnSqlServer{
    [](int) {
      return make_process_in_here(std::make_unique<odbc::OdbcEngine>(),
                                  {.can_refuse_commits = true});
    },
    []() -> std::unique_ptr<PlayedDatabase> { return std::make_unique<SqlServer>(); }};

}  // namespace tarnwick::model
