#pragma once

#include <memory>
#include <string>

#include "apps/tarnwick/client.h"
#include "apps/tarnwick/fields.h"

namespace tarnwick::cli {

// What the three kinds of record have in common, each in its own way.

/// The record's name in sentences: "Component 7", "PC VEL-SAL-001 (02-5A-10-00-00-01) of component
/// 10", "Report 'Open Orders'".
[[nodiscard]] std::string describe(const ComponentRow& row);
[[nodiscard]] std::string describe(const PcRow& row);
[[nodiscard]] std::string describe(const ReportRow& row);

/// A new object's values with this row's key.
[[nodiscard]] ComponentRow key_of(const ComponentRow& row);
[[nodiscard]] PcRow key_of(const PcRow& row);
[[nodiscard]] ReportRow key_of(const ReportRow& row);

/// Throws Failure (kUsage) when a part of a key holds a single quote. Keys go into statements as
/// they stand: with a quote they would reach other rows than their own.
void require_plain_key_part(const Text& part);
template <class Row>
void require_plain_key(const Row& row) {
  for (const auto& field : fields_of(row)) {
    const FieldValue value = get(row, field);
    const Text* const text = field.key ? std::get_if<Text>(&value) : nullptr;
    if (text != nullptr) require_plain_key_part(*text);
  }
}
/// Whether the two are one row of the database, which does not tell letter case apart.
[[nodiscard]] bool same_key(const ComponentRow& a, const ComponentRow& b);
[[nodiscard]] bool same_key(const PcRow& a, const PcRow& b);
[[nodiscard]] bool same_key(const ReportRow& a, const ReportRow& b);

/// What the record was loaded with while its row was locked, without the stamp of that lock.
[[nodiscard]] ComponentRow row_of(ComponentRecord& record);
[[nodiscard]] PcRow row_of(PcRecord& record);
[[nodiscard]] ReportRow row_of(ReportRecord& record);

/// A record object for maintenance. Throws Failure as require_plain_key.
[[nodiscard]] std::unique_ptr<ComponentRecord> new_record(Client& client, const ComponentRow& row);
[[nodiscard]] std::unique_ptr<PcRecord> new_record(Client& client, const PcRow& row);
[[nodiscard]] std::unique_ptr<ReportRecord> new_record(Client& client, const ReportRow& row);

}  // namespace tarnwick::cli
