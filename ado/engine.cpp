#include "ado/engine.h"

#include "runtime/case_mapping.h"

namespace tarnwick::ado {

std::optional<HeldRow> EngineSession::holder_of(const RowName& row) {
  Text key;
  for (const Text& part : row.key) key.append(key.empty() ? u"" : u", ").append(part);
  for (HeldRow& held : held_rows()) {
    // A session that holds a whole table names its rows by a star.
    const bool named = held.key == u"*" || equals_ignoring_case(held.key, key);
    if (named && equals_ignoring_case(held.table, row.table)) return std::move(held);
  }
  return std::nullopt;
}

// As standard SQL has it.
Text EngineSession::byte_length_of(TextView column) {
  return join({u"OCTET_LENGTH(", column, u")"});
}

}  // namespace tarnwick::ado
