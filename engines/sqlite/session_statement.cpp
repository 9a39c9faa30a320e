#include "engines/sqlite/session_statement.h"

#include <charconv>

#include "ado/error.h"
#include "engines/sqlite/scanner.h"

namespace tarnwick::sqlite {
namespace {

[[noreturn]] void refuse_statement(TextView description) {
  throw ado::AdoError(ado::AdoErrorNumber::kCommandError, Text(description));
}

/// Nothing but semicolons follows.
bool ends(Scanner& scanner) {
  while (scanner.symbol(';')) {
  }
  return scanner.rest().empty();
}

/// N may stand right before a text.
std::optional<std::string> literal(Scanner& scanner) {
  const bool national = scanner.keyword("n");
  const char* const behind = scanner.position();
  if (national && scanner.rest().data() != behind) return std::nullopt;
  return scanner.text();
}

SetAppRole parse_app_role(Scanner& scanner) {
  constexpr TextView kForm =
      u"The only procedure here is sp_setapprole with two quoted texts: role and password.";
  if (!scanner.keyword("sp_setapprole")) refuse_statement(kForm);
  auto role = literal(scanner);
  if (!role || !scanner.symbol(',')) refuse_statement(kForm);
  auto password = literal(scanner);
  if (!password || !ends(scanner)) refuse_statement(kForm);
  return {std::move(*role), std::move(*password)};
}

std::optional<std::int32_t> parse_milliseconds(Scanner& scanner) {
  const bool negative = scanner.symbol('-');
  const auto rest = scanner.rest();
  std::int32_t value = 0;
  const auto [after, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
  if (error != std::errc{} || !Scanner::is_digit(rest.front())) return std::nullopt;
  scanner.pass(static_cast<std::size_t>(after - rest.data()));
  return negative ? -value : value;
}

}  // namespace

std::optional<SessionStatement> parse_session_statement(std::string_view statement) {
  Scanner scanner(statement);
  if (scanner.keyword("exec") || scanner.keyword("execute")) return parse_app_role(scanner);
  if (!scanner.keyword("set") || !scanner.keyword("lock_timeout")) return std::nullopt;
  const auto milliseconds = parse_milliseconds(scanner);
  if (!milliseconds || *milliseconds < -1 || !ends(scanner)) {
    refuse_statement(
        u"SET LOCK_TIMEOUT takes a number of milliseconds, 0 or more, or -1 for no limit.");
  }
  return SetLockTimeout{*milliseconds};
}

}  // namespace tarnwick::sqlite
