#pragma once

#include <array>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

// How a record stands in a folder of files; samples/README.md tells it to people.

/// The records of one class: the document that holds them, and their table.
struct Document {
  automation::ClassId record_class;
  std::string_view stem;  // of its file
  TextView table;
};
inline constexpr std::size_t kDocumentCount = 3;
/// Components, PCs and reports.
[[nodiscard]] std::span<const Document, kDocumentCount> documents();

/// A field of a record. It bears the name of its column.
struct FileField {
  enum class Kind : std::uint8_t {
    kValue,
    kTtx,         // names a file with field definitions
    kReportFile,  // names a report file; no attribute
  };
  std::string name;
  Kind kind;
  const Attribute* attribute;
};

/// Those of a record class: all that clients see of its rows, but versions and the stamps of locks,
/// which only mean something where they were made. Files come last.
[[nodiscard]] std::span<const FileField> file_fields(automation::ClassId record_class);

/// The value as it stands in a file: codes and dates as texts, other enumerations as numbers, no
/// date as null. Throws Error 5 for a text that has no UTF-8 form.
[[nodiscard]] nlohmann::ordered_json to_file_value(const AttributeValue& value);
/// The same in a cell of a table, where null is empty.
[[nodiscard]] std::string to_cell(const nlohmann::ordered_json& value);

/// A value that makes no sense. The text goes behind the field's name.
class BadValue : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The value of the attribute that stands in a file; Empty for null. Throws BadValue.
[[nodiscard]] AttributeValue from_file_value(const Attribute& attribute,
                                             const nlohmann::ordered_json& value);
/// What a document would hold where a table has this cell. What makes no sense comes through, for
/// from_file_value to refuse.
[[nodiscard]] nlohmann::ordered_json from_cell(const Attribute& attribute, const std::string& cell);

/// What Null is read as takes the place of every value that a file leaves null.
void read_nulls(Row& row);

}  // namespace tarnwick::cli
