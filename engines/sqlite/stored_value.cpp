#include "engines/sqlite/stored_value.h"

#include "ado/error.h"

namespace tarnwick::sqlite {
namespace {

std::string stored_text(TextView text) {
  using ado::AdoError;
  using ado::AdoErrorNumber;
  if (text.find(u'\0') != TextView::npos) {
    throw AdoError(AdoErrorNumber::kDataConversion,
                   u"The text holds a NUL character, which the database cannot keep.");
  }
  try {
    return to_utf8(text);
  } catch (const Error&) {
    throw AdoError(AdoErrorNumber::kDataConversion,
                   u"The text holds an unpaired surrogate, which the database cannot keep.");
  }
}

struct ToStored {
  StoredValue operator()(Empty) const { return nullptr; }
  StoredValue operator()(Null) const { return nullptr; }
  StoredValue operator()(bool value) const { return std::int64_t{value ? 1 : 0}; }
  StoredValue operator()(std::int16_t value) const { return std::int64_t{value}; }
  StoredValue operator()(std::int32_t value) const { return std::int64_t{value}; }
  StoredValue operator()(std::int64_t value) const { return value; }
  StoredValue operator()(double value) const { return value; }
  StoredValue operator()(Date value) const { return value.days; }
  StoredValue operator()(const Text& value) const { return stored_text(value); }
  StoredValue operator()(const Bytes& value) const { return Blob{value}; }
};

struct Binder {
  sqlite3_stmt* statement;
  int index;

  int operator()(std::nullptr_t) const { return sqlite3_bind_null(statement, index); }
  int operator()(std::int64_t value) const { return sqlite3_bind_int64(statement, index, value); }
  int operator()(double value) const { return sqlite3_bind_double(statement, index, value); }
  int operator()(const std::string& text) const {
    return sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_STATIC,
                               SQLITE_UTF8);
  }
  int operator()(const Blob& blob) const {
    // Without bytes there is no pointer to them, which would stand for null.
    if (blob.bytes.empty()) return sqlite3_bind_zeroblob(statement, index, 0);
    return sqlite3_bind_blob64(statement, index, blob.bytes.data(), blob.bytes.size(),
                               SQLITE_STATIC);
  }
};

}  // namespace

StoredValue stored_value(const Variant& value) { return std::visit(ToStored{}, value); }

StoredValue stored_value(const ado::Cell& cell) {
  using Kind = ado::Cell::Kind;
  switch (cell.kind) {
    case Kind::kNull:
      return nullptr;
    case Kind::kBool:
    case Kind::kInt16:
    case Kind::kInt32:
    case Kind::kInt64:
      return cell.integer;
    case Kind::kDouble:
    case Kind::kDate:
      return cell.real;
    case Kind::kUtf8:
      return std::string(cell.view());
    case Kind::kUtf16:
      return stored_value(cell.to_variant());
    case Kind::kBytes:
      return Blob{cell.bytes()};
  }
  return nullptr;
}

bool is_payload(const StoredValue& value) {
  const auto* const blob = std::get_if<Blob>(&value);
  return blob != nullptr && blob->bytes.size() >= kPayloadSize;
}

void bind_all(sqlite3_stmt* statement, std::span<const StoredValue> values) {
  int index = 0;
  for (const auto& value : values) {
    const int code = std::visit(Binder{statement, ++index}, value);
    if (code != SQLITE_OK) {
      throw ado::AdoError(ado::AdoErrorNumber::kCommandError,
                          from_stored_utf8(sqlite3_errstr(code)), code);
    }
  }
}

ado::Cell cell_of(const StoredValue& value) {
  using Kind = ado::Cell::Kind;
  ado::Cell cell;
  if (const auto* const integer = std::get_if<std::int64_t>(&value)) {
    cell.kind = Kind::kInt64;
    cell.integer = *integer;
  } else if (const auto* const real = std::get_if<double>(&value)) {
    cell.kind = Kind::kDouble;
    cell.real = *real;
  } else if (const auto* const text = std::get_if<std::string>(&value)) {
    cell.kind = Kind::kUtf8;
    cell.data = reinterpret_cast<const std::byte*>(text->data());
    cell.size = text->size();
  } else if (const auto* const blob = std::get_if<Blob>(&value)) {
    cell = ado::Cell::of(blob->bytes);
  }
  return cell;
}

ado::Cell cell_of(sqlite3_value* value) {
  using Kind = ado::Cell::Kind;
  ado::Cell cell;
  switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER:
      cell.kind = Kind::kInt64;
      cell.integer = sqlite3_value_int64(value);
      break;
    case SQLITE_FLOAT:
      cell.kind = Kind::kDouble;
      cell.real = sqlite3_value_double(value);
      break;
    case SQLITE_TEXT:
      cell.kind = Kind::kUtf8;
      cell.data = reinterpret_cast<const std::byte*>(sqlite3_value_text(value));
      cell.size = static_cast<std::size_t>(sqlite3_value_bytes(value));
      break;
    case SQLITE_BLOB:
      cell.kind = Kind::kBytes;
      cell.data = static_cast<const std::byte*>(sqlite3_value_blob(value));
      cell.size = static_cast<std::size_t>(sqlite3_value_bytes(value));
      break;
    default:
      break;
  }
  return cell;
}

ado::Cell cell_of(sqlite3_stmt* statement, int column) {
  // Nobody else uses the connection: what belongs to the statement is as good as a value of its
  // own.
  return cell_of(sqlite3_column_value(statement, column));
}

}  // namespace tarnwick::sqlite
