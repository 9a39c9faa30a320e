#include "apps/tarnwick/database/fill_database.h"

#include <filesystem>
#include <span>
#include <type_traits>

#include "ado/recordset.h"
#include "apps/tarnwick/files/json_records.h"

namespace tarnwick::cli {
namespace {

Bytes bytes_of(const std::filesystem::path& file) {
  const std::string content = read_bytes(file);
  const auto bytes = std::as_bytes(std::span(content));
  return ByteBuffer(bytes.begin(), bytes.end());
}

Variant variant_of(const AttributeValue& value) {
  return std::visit(
      []<class T>([[maybe_unused]] const T& held) -> Variant {
        if constexpr (std::is_same_v<T, MaintTypeEnum>) {
          return static_cast<std::int32_t>(held);
        } else if constexpr (std::is_enum_v<T>) {
          return Text();  // no code
        } else if constexpr (std::is_same_v<T, Date>) {
          // What lies outside the calendar is no date to the engine.
          return is_in_calendar(held) ? Variant(held) : Variant(held.days);
        } else {
          return held;
        }
      },
      value);
}

void insert(ado::Recordset& table, const FileRecord& record) {
  table.add_new();
  for (const FileField& field : file_fields(record.row.record_class())) {
    ado::Field column = table.field(from_utf8(field.name));
    if (field.kind == FileField::Kind::kValue) {
      const AttributeValue& value = record.row[*field.attribute];
      const auto code = record.codes.find(field.name);
      if (code != record.codes.end()) {
        column.set_value(code->second);
      } else if (!std::holds_alternative<Empty>(value)) {
        column.set_value(variant_of(value));
      }
    } else {
      const auto& file = field.kind == FileField::Kind::kTtx ? record.ttx : record.report_file;
      if (!file.empty()) column.set_value(bytes_of(file));
    }
  }
  table.update();
}

}  // namespace

void fill_database(const std::shared_ptr<ado::Connection>& connection,
                   const RecordFolder& records) {
  connection->begin_load();
  for (std::size_t i = 0; i < kDocumentCount; ++i) {
    ado::Recordset table;
    table.set_active_connection(connection);
    table.set_cursor_location(ado::CursorLocation::kServer);
    table.set_cursor_type(ado::CursorType::kForwardOnly);
    table.set_lock_type(ado::LockType::kOptimistic);
    table.open(join({u"Select * From ", documents()[i].table, u" Where 1 = 0"}), ado::kCommandText);
    for (const FileRecord& record : records[i]) insert(table, record);
  }
  connection->commit_trans();
}

}  // namespace tarnwick::cli
