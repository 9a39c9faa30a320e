#include "engines/sqlite/query.h"

#include <charconv>

#include "engines/sqlite/scanner.h"

namespace tarnwick::sqlite {
namespace {

std::optional<StoredValue> literal(Scanner& scanner) {
  if (auto text = scanner.text()) return std::move(*text);
  const auto rest = scanner.rest();
  const auto* const end = rest.data() + rest.size();
  std::int64_t value = 0;
  const auto [after, error] = std::from_chars(rest.data(), end, value);
  // What follows makes it another literal (1.5, 1e3, 0x1F) or no literal at all.
  if (error != std::errc{} || (after != end && !Scanner::is_blank(*after))) return std::nullopt;
  scanner.pass(static_cast<std::size_t>(after - rest.data()));
  return value;
}

/// All columns, or their names.
bool columns(Scanner& scanner) {
  if (scanner.symbol('*')) return true;
  do {
    if (scanner.name().empty()) return false;
  } while (scanner.symbol(','));
  return true;
}

}  // namespace

std::optional<Query> parameterized(std::string_view statement) {
  Scanner scanner(statement);
  if (!scanner.keyword("select") || !columns(scanner) || !scanner.keyword("from") ||
      scanner.name().empty() || (scanner.symbol('.') && scanner.name().empty()) ||
      !scanner.keyword("where")) {
    return std::nullopt;
  }
  Query query;
  query.sql.reserve(statement.size());
  const char* copied = statement.data();
  do {
    const auto column = scanner.name();
    if (column.empty() || !scanner.symbol('=')) return std::nullopt;
    query.columns.emplace_back(column);
    query.sql.append(copied, scanner.rest().data()).append("?");
    auto value = literal(scanner);
    if (!value) return std::nullopt;
    query.values.push_back(std::move(*value));
    copied = scanner.position();
  } while (scanner.keyword("and"));
  if (!scanner.rest().empty()) return std::nullopt;
  query.sql.append(copied, scanner.position());
  return query;
}

}  // namespace tarnwick::sqlite
