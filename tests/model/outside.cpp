#include "tests/model/outside.h"

#include <array>
#include <stdexcept>
#include <string_view>

#include "tests/support/embedded_database.h"

namespace tarnwick::model {
namespace {

using test_support::EmbeddedDatabase;
using test_support::PlainSqlite;

std::string insertion(Kind kind, int number) {
  if (kind == kComponents) {
    return "INSERT OR IGNORE INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType, MetaID) VALUES (" +
           std::to_string(chosen(kComponentIds, number)) + ", 0, 2, 'abc')";
  }
  if (kind == kReports) {
    // Two spellings of one name are two rows to the tables and one key to collections.
    const std::string name = quoted(chosen(kReportNames, number));
    return std::string(
               "INSERT OR IGNORE INTO DW_Reports (ReportName, TTX_Binary, Report_Binary) "
               "SELECT ") +
           name +
           ", X'78E9', X'66696C65' WHERE NOT EXISTS (SELECT 1 FROM DW_Reports WHERE "
           "replace(ReportName, 'Ü', 'ü') = replace(" +
           name + ", 'Ü', 'ü'))";
  }
  const PcName& name = chosen(kPcNames, number);
  return std::string(
             "INSERT OR IGNORE INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, "
             "ActiveStatus, ImageIndex) VALUES (") +
         quoted(name.mac) + ", " + quoted(name.computer) + ", " + std::to_string(name.component) +
         ", 5, 1, 10)";
}

constexpr std::array<const char*, kKinds> kOrders{
    "CompID", "MACNbr COLLATE NOCASE, ComputerID COLLATE NOCASE, CompID",
    "ReportName COLLATE NOCASE"};

void write_from_outside(PlainSqlite& database, const Step& step) {
  const auto kind = static_cast<Kind>(step.kind % kKinds);
  const std::string update = std::string("UPDATE ") + kTables[kind] + " SET ";
  switch (step.op) {
    case Op::kInsertRow:
      database.run(insertion(kind, step.key));
      break;
    case Op::kDeleteRow:
      database.run(std::string("DELETE FROM ") + kTables[kind] + condition_of(kind, step.key));
      break;
    case Op::kTouchRow:
      database.run(update + "SoftLock = SoftLock" + condition_of(kind, step.key));
      break;
    case Op::kSpoilRow: {
      const Spoiling& spoiling = chosen(kSpoilings[kind], step.value);
      database.run(update + spoiling.column + " = " + spoiling.sql + condition_of(kind, step.key));
      break;
    }
    default:
      throw std::logic_error("no step from outside");
  }
}

void add_stored_rows(PlainSqlite& database, Sight& sight) {
  for (const Kind kind : {kComponents, kPcs, kReports}) {
    const std::vector<std::string> columns = columns_of(kind);
    std::string sql = "SELECT ";
    for (const std::string& column : columns) {
      sql += (sql.size() > 7 ? ", " : "") +
             ("CASE typeof(" + column + ") WHEN 'real' THEN printf('%.6f', ") + column + ") ELSE " +
             column + " END";
    }
    int count = 0;
    for (const auto& row :
         database.run(sql + " FROM " + kTables[kind] + " ORDER BY " + kOrders[kind])) {
      const std::string name = std::string(kTables[kind]) + " " + std::to_string(++count) + " ";
      for (std::size_t i = 0; i < columns.size(); ++i)
        sight.emplace_back(name + columns[i], row[i]);
    }
  }
}

class Embedded final : public PlayedDatabase {
 public:
  std::vector<client::Value> login() const override {
    return {database_.connection_string(), Text(EmbeddedDatabase::kRole),
            Text(EmbeddedDatabase::kPassword)};
  }
  Text string_of_no_database() const override {
    return database_.connection_string() + u"/nowhere";
  }
  void write(const Step& step) override { write_from_outside(outside_, step); }
  void add_stored_rows(Sight& sight) override { model::add_stored_rows(outside_, sight); }

 private:
  EmbeddedDatabase database_;
  PlainSqlite outside_ = database_.open_plainly();
};

}  // namespace

std::string quoted(std::string_view text) {
  std::string result = "'";
  for (const char letter : text) result += letter == '\'' ? "''" : std::string(1, letter);
  return result + "'";
}

std::string condition_of(Kind kind, int number) {
  if (kind == kComponents) {
    return " WHERE CompID = " + std::to_string(chosen(kComponentIds, number));
  }
  if (kind == kReports) {
    return " WHERE ReportName = " + quoted(chosen(kReportNames, number));
  }
  const PcName& name = chosen(kPcNames, number);
  return " WHERE MACNbr = " + quoted(name.mac) + " AND ComputerID = " + quoted(name.computer) +
         " AND CompID = " + std::to_string(name.component);
}

std::vector<std::string> columns_of(Kind kind) {
  static constexpr std::array<const char*, kKinds> kMore{"SoftLock", nullptr, "Report_Binary"};
  std::vector<std::string> columns;
  for (const Property& property : properties_of(kind)) columns.emplace_back(property.column);
  if (kMore[kind] != nullptr) columns.emplace_back(kMore[kind]);
  return columns;
}

std::unique_ptr<PlayedDatabase> make_embedded_database() { return std::make_unique<Embedded>(); }

}  // namespace tarnwick::model
