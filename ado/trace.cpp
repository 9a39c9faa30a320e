#include "ado/trace.h"

#include "runtime/case_mapping.h"

namespace tarnwick::ado {

// The role is shown only where it is a plain literal without any quote inside, followed by a comma:
// in every other form it cannot be told where the role ends and the password begins.
Text without_role_password(TextView statement) {
  constexpr TextView kProcedure = u"sp_setapprole";
  const std::size_t found = find_ignoring_case(statement, kProcedure);
  if (found == Text::npos) return Text(statement);

  const std::size_t arguments = found + kProcedure.size();
  const auto skip_blanks = [&](std::size_t at) {
    while (at < statement.size() && statement[at] == u' ') ++at;
    return at;
  };
  const auto is_at = [&](std::size_t at, char16_t unit) {
    return at < statement.size() && statement[at] == unit;
  };

  std::size_t at = skip_blanks(arguments);
  if (is_at(at, u'\'')) {
    const std::size_t close = statement.find(u'\'', at + 1);
    if (close != Text::npos) {
      at = skip_blanks(close + 1);
      if (is_at(at, u',')) return join({statement.substr(0, at + 1), u"'***'"});
    }
  }
  return join({statement.substr(0, arguments), u" '***'"});
}

}  // namespace tarnwick::ado
