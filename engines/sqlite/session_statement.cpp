#include "engines/sqlite/session_statement.h"

#include <limits>

#include "ado/error.h"

namespace tarnwick::sqlite {
namespace {

bool is_blank(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }
bool is_digit(char16_t c) { return c >= u'0' && c <= u'9'; }
char16_t lower(char16_t c) { return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c; }
bool is_word(char16_t c) {
  return (lower(c) >= u'a' && lower(c) <= u'z') || is_digit(c) || c == u'_';
}

class Scanner final {
 public:
  explicit Scanner(TextView text) : rest_(text) {}

  /// The keyword `word` (given in small letters), not followed by more of a word.
  bool word(TextView word) {
    skip_blanks();
    if (rest_.size() < word.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i) {
      if (lower(rest_[i]) != word[i]) return false;
    }
    if (rest_.size() > word.size() && is_word(rest_[word.size()])) return false;
    rest_.remove_prefix(word.size());
    return true;
  }

  bool character(char16_t c) {
    skip_blanks();
    if (rest_.empty() || rest_.front() != c) return false;
    rest_.remove_prefix(1);
    return true;
  }

  /// 'text', with '' for a quote inside; N may stand before it.
  std::optional<Text> literal() {
    skip_blanks();
    if (rest_.size() > 1 && lower(rest_[0]) == u'n' && rest_[1] == u'\'') rest_.remove_prefix(1);
    if (!character(u'\'')) return std::nullopt;
    Text text;
    while (!rest_.empty()) {
      const char16_t c = rest_.front();
      rest_.remove_prefix(1);
      if (c == u'\'') {
        if (rest_.empty() || rest_.front() != u'\'') return text;
        rest_.remove_prefix(1);
      }
      text += c;
    }
    return std::nullopt;
  }

  std::optional<std::int32_t> number() {
    const bool negative = character(u'-');
    skip_blanks();
    if (rest_.empty() || !is_digit(rest_.front())) return std::nullopt;
    std::int64_t value = 0;
    while (!rest_.empty() && is_digit(rest_.front())) {
      value = value * 10 + (rest_.front() - u'0');
      if (value > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
      rest_.remove_prefix(1);
    }
    return static_cast<std::int32_t>(negative ? -value : value);
  }

  /// Nothing but semicolons follows.
  bool end() {
    while (character(u';')) {
    }
    return rest_.empty();
  }

 private:
  void skip_blanks() {
    while (!rest_.empty() && is_blank(rest_.front())) rest_.remove_prefix(1);
  }

  TextView rest_;
};

[[noreturn]] void refuse(TextView description) {
  throw ado::AdoError(ado::AdoErrorNumber::kCommandError, Text(description));
}

SetAppRole parse_app_role(Scanner& scanner) {
  constexpr TextView kForm =
      u"The only procedure here is sp_setapprole with two quoted texts: role and password.";
  if (!scanner.word(u"sp_setapprole")) refuse(kForm);
  auto role = scanner.literal();
  if (!role || !scanner.character(u',')) refuse(kForm);
  auto password = scanner.literal();
  if (!password || !scanner.end()) refuse(kForm);
  return {std::move(*role), std::move(*password)};
}

}  // namespace

std::optional<SessionStatement> parse_session_statement(TextView statement) {
  Scanner scanner(statement);
  if (scanner.word(u"exec") || scanner.word(u"execute")) return parse_app_role(scanner);
  if (!scanner.word(u"set") || !scanner.word(u"lock_timeout")) return std::nullopt;
  const auto milliseconds = scanner.number();
  if (!milliseconds || *milliseconds < -1 || !scanner.end()) {
    refuse(u"SET LOCK_TIMEOUT takes a number of milliseconds, 0 or more, or -1 for no limit.");
  }
  return SetLockTimeout{*milliseconds};
}

}  // namespace tarnwick::sqlite
