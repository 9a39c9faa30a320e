#include "engines/sqlite/query.h"

#include <charconv>

namespace tarnwick::sqlite {
namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool begins_name(char c) { return (lower(c) >= 'a' && lower(c) <= 'z') || c == '_'; }

/// Walks over a statement and copies what it passes, but for the literals.
class Scanner final {
 public:
  explicit Scanner(std::string_view text) : text_(text) { query_.sql.reserve(text.size()); }

  bool keyword(std::string_view word) {
    pass_blanks();
    const auto found = name_at_front();
    if (found.size() != word.size()) return false;
    for (std::size_t i = 0; i < word.size(); ++i) {
      if (lower(found[i]) != word[i]) return false;
    }
    pass(word.size());
    return true;
  }

  bool symbol(char c) {
    pass_blanks();
    if (text_.empty() || text_.front() != c) return false;
    pass(1);
    return true;
  }

  bool name() {
    pass_blanks();
    const auto found = name_at_front();
    pass(found.size());
    return !found.empty();
  }

  bool column() {
    pass_blanks();
    query_.columns.emplace_back(name_at_front());
    return name();
  }

  bool literal() {
    pass_blanks();
    if (text_.empty()) return false;
    return text_.front() == '\'' ? text_literal() : integer_literal();
  }

  bool end() {
    pass_blanks();
    return text_.empty();
  }

  [[nodiscard]] Query take() { return std::move(query_); }

 private:
  [[nodiscard]] std::string_view name_at_front() const {
    if (text_.empty() || !begins_name(text_.front())) return {};
    std::size_t size = 1;
    while (size < text_.size() && (begins_name(text_[size]) || is_digit(text_[size]))) ++size;
    return text_.substr(0, size);
  }

  bool text_literal() {
    std::string value;
    for (std::size_t at = 1; at < text_.size(); ++at) {
      if (text_[at] == '\'') {
        if (at + 1 == text_.size() || text_[at + 1] != '\'') {
          put(std::move(value), at + 1);
          return true;
        }
        ++at;
      }
      value += text_[at];
    }
    return false;
  }

  bool integer_literal() {
    std::int64_t value = 0;
    const auto* const end = text_.data() + text_.size();
    const auto [after, error] = std::from_chars(text_.data(), end, value);
    // What follows makes it another literal (1.5, 1e3, 0x1F) or no literal at all.
    if (error != std::errc{} || (after != end && !is_blank(*after))) return false;
    put(value, static_cast<std::size_t>(after - text_.data()));
    return true;
  }

  void put(StoredValue value, std::size_t size) {
    query_.sql += '?';
    query_.values.push_back(std::move(value));
    text_.remove_prefix(size);
  }

  void pass(std::size_t size) {
    query_.sql += text_.substr(0, size);
    text_.remove_prefix(size);
  }

  void pass_blanks() {
    std::size_t size = 0;
    while (size < text_.size() && is_blank(text_[size])) ++size;
    pass(size);
  }

  std::string_view text_;
  Query query_;
};

}  // namespace

std::optional<Query> parameterized(std::string_view statement) {
  Scanner scanner(statement);
  if (!scanner.keyword("select") || !scanner.symbol('*') || !scanner.keyword("from") ||
      !scanner.name() || (scanner.symbol('.') && !scanner.name()) || !scanner.keyword("where")) {
    return std::nullopt;
  }
  do {
    if (!scanner.column() || !scanner.symbol('=') || !scanner.literal()) return std::nullopt;
  } while (scanner.keyword("and"));
  if (!scanner.end()) return std::nullopt;
  return scanner.take();
}

}  // namespace tarnwick::sqlite
