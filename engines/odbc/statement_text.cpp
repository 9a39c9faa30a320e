#include "engines/odbc/statement_text.h"

#include <initializer_list>

#include "runtime/case_mapping.h"

namespace tarnwick::odbc {
namespace {

// The end stands also for a comment and for quotes that are not closed.
enum class TokenKind { kEnd, kWord, kQuotedName, kString, kPunctuation };

struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::size_t begin = 0;
  std::size_t end = 0;
};

bool is_blank(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r') || c == u'\u00a0'; }

bool is_word(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') ||
         c == u'_' || c == u'@' || c == u'#' || c == u'$' || (c > u'\u007f' && !is_blank(c));
}

class Lexer {
 public:
  explicit Lexer(TextView text) : text_(text) {}

  Token next() {
    skip_blanks();
    if (at_ == text_.size()) return {TokenKind::kEnd, at_, at_};
    const std::size_t begin = at_;
    const char16_t c = text_[at_];
    if (c == u'\'') return delimited(TokenKind::kString, u'\'');
    if (c == u'"') return delimited(TokenKind::kQuotedName, u'"');
    if (c == u'[') return delimited(TokenKind::kQuotedName, u']');
    if (!is_word(c)) return {TokenKind::kPunctuation, begin, ++at_};
    while (at_ < text_.size() && is_word(text_[at_])) ++at_;
    return {TokenKind::kWord, begin, at_};
  }

  [[nodiscard]] Token peek() const { return Lexer(*this).next(); }

  [[nodiscard]] bool is(const Token& token, TextView word) const {
    return token.kind == TokenKind::kWord && equals_ignoring_case(spelling(token), word);
  }
  [[nodiscard]] bool is_any(const Token& token, std::initializer_list<TextView> words) const {
    return token.kind == TokenKind::kWord && is_one_of(spelling(token), words);
  }
  [[nodiscard]] bool is(const Token& token, char16_t mark) const {
    return token.kind == TokenKind::kPunctuation && text_[token.begin] == mark;
  }
  [[nodiscard]] TextView spelling(const Token& token) const {
    return text_.substr(token.begin, token.end - token.begin);
  }

 private:
  Token delimited(TokenKind kind, char16_t close) {
    const std::size_t begin = at_;
    for (++at_; at_ < text_.size(); ++at_) {
      if (text_[at_] != close) continue;
      const bool doubled = at_ + 1 < text_.size() && text_[at_ + 1] == close;
      if (!doubled) return {kind, begin, ++at_};
      ++at_;
    }
    return {TokenKind::kEnd, begin, at_};
  }

  void skip_blanks() {
    while (at_ < text_.size()) {
      if (is_blank(text_[at_])) {
        ++at_;
      } else if (text_.substr(at_).starts_with(u"--")) {
        const std::size_t line_end = text_.find(u'\n', at_);
        at_ = line_end == TextView::npos ? text_.size() : line_end;
      } else if (text_.substr(at_).starts_with(u"/*")) {
        skip_block_comment();
      } else {
        return;
      }
    }
  }

  void skip_block_comment() {
    int depth = 0;  // Transact-SQL's comments nest
    while (at_ < text_.size()) {
      if (text_.substr(at_).starts_with(u"/*")) {
        ++depth;
        at_ += 2;
      } else if (text_.substr(at_).starts_with(u"*/")) {
        at_ += 2;
        if (--depth == 0) return;
      } else {
        ++at_;
      }
    }
  }

  TextView text_;
  std::size_t at_ = 0;
};

Text plain_name(TextView spelling) {
  const bool marked = spelling.front() == u'[' || spelling.front() == u'"';
  return marked ? without_marks(spelling) : Text(spelling);
}

bool is_name(const Token& token) {
  return token.kind == TokenKind::kWord || token.kind == TokenKind::kQuotedName;
}

/// Moves behind FROM; false where the statement does not come to one at its own level.
bool skip_to_table(Lexer& lexer) {
  if (!lexer.is(lexer.next(), u"SELECT")) return false;
  int depth = 0;
  for (Token token = lexer.next();; token = lexer.next()) {
    if (token.kind == TokenKind::kEnd) return false;
    if (lexer.is(token, u'(')) ++depth;
    if (lexer.is(token, u')')) --depth;
    if (lexer.is(token, u';') || lexer.is(token, u"INTO")) return false;
    if (depth == 0 && lexer.is(token, u"FROM")) return true;
  }
}

/// Reads "name", "schema.name", "database..name" and the like.
bool read_table(Lexer& lexer, TextView statement, TableSelect& select) {
  Token token = lexer.next();
  if (!is_name(token)) return false;
  const std::size_t begin = token.begin;
  std::size_t end = token.end;
  select.parts.push_back(plain_name(lexer.spelling(token)));
  while (lexer.is(lexer.peek(), u'.')) {
    lexer.next();
    if (lexer.is(lexer.peek(), u'.')) {
      select.parts.emplace_back();
      continue;
    }
    token = lexer.next();
    if (!is_name(token)) return false;
    end = token.end;
    select.parts.push_back(plain_name(lexer.spelling(token)));
  }
  select.table = Text(statement.substr(begin, end - begin));
  select.hint_at = end;
  return true;
}

constexpr std::initializer_list<TextView> kClauses{u"WHERE", u"ORDER", u"OPTION", u"FOR"};
constexpr std::initializer_list<TextView> kNoAlias{
    u"WITH",  u"JOIN",   u"INNER", u"LEFT",   u"RIGHT",     u"FULL",  u"CROSS",       u"OUTER",
    u"GROUP", u"HAVING", u"UNION", u"EXCEPT", u"INTERSECT", u"PIVOT", u"TABLESAMPLE", u"ON"};
constexpr std::initializer_list<TextView> kOtherShapes{u"GROUP", u"HAVING", u"UNION", u"EXCEPT",
                                                       u"INTERSECT"};

/// True when the rest, behind the table and its alias, keeps the statement one over a single table.
bool rest_is_plain(Lexer& lexer) {
  Token token = lexer.next();
  const bool ends = token.kind == TokenKind::kEnd;
  if (!ends && !lexer.is(token, u';') && !lexer.is_any(token, kClauses)) return false;
  int depth = 0;
  bool ended = false;
  for (;; token = lexer.next()) {
    if (token.kind == TokenKind::kEnd) return true;
    if (ended) return false;
    if (lexer.is(token, u'(')) ++depth;
    if (lexer.is(token, u')')) --depth;
    if (lexer.is(token, u';')) ended = true;
    if (depth == 0 && lexer.is_any(token, kOtherShapes)) return false;
  }
}

}  // namespace

std::optional<TableSelect> parse_table_select(TextView statement) {
  Lexer lexer(statement);
  TableSelect select;
  if (!skip_to_table(lexer) || !read_table(lexer, statement, select)) return std::nullopt;
  Token after = lexer.peek();
  if (lexer.is(after, u"AS")) {
    lexer.next();
    after = lexer.peek();
    if (!is_name(after)) return std::nullopt;
  }
  if (is_name(after) && !lexer.is_any(after, kClauses)) {
    if (lexer.is_any(after, kNoAlias)) return std::nullopt;
    select.hint_at = lexer.next().end;
  }
  if (!rest_is_plain(lexer)) return std::nullopt;
  return select;
}

namespace {

Text with_hint(TextView statement, const TableSelect& select, TextView hint) {
  return join({statement.substr(0, select.hint_at), u" WITH (", hint, u")",
               statement.substr(select.hint_at)});
}

}  // namespace

Text with_row_lock(TextView statement, const TableSelect& select) {
  return with_hint(statement, select, u"UPDLOCK, ROWLOCK");
}

Text without_waiting(TextView statement, const TableSelect& select) {
  return with_hint(statement, select, u"NOLOCK");
}

Text as_committed(TextView statement, const TableSelect& select) {
  return with_hint(statement, select, u"READCOMMITTED, NOWAIT");
}

Text columns_only(TextView statement, const TableSelect& select) {
  return join({statement.substr(0, select.hint_at), u" WITH (NOLOCK) WHERE 1 = 0"});
}

bool only_enters_role(TextView statement) {
  Lexer lexer(statement);
  std::size_t end = 0;
  // A comment would be longer than the one blank.
  const auto next = [&] {
    const Token token = lexer.next();
    const bool is_near = token.begin <= end + 1;
    end = token.end;
    return is_near ? token : Token{};
  };
  if (!lexer.is_any(next(), {u"EXEC", u"EXECUTE"}) || !lexer.is(next(), u"sp_setapprole")) {
    return false;
  }
  if (next().kind != TokenKind::kString || !lexer.is(next(), u',')) return false;
  return next().kind == TokenKind::kString && end == statement.size();
}

Text in_marks(TextView text, char16_t open, char16_t close) {
  Text result(1, open);
  for (const char16_t c : text) {
    result += c;
    if (c == close) result += c;
  }
  return result += close;
}

Text without_marks(TextView text) {
  Text result;
  for (std::size_t i = 1; i + 1 < text.size(); ++i) {
    result += text[i];
    if (text[i] == text.back()) ++i;
  }
  return result;
}

Text bracketed(TextView name) { return in_marks(name, u'[', u']'); }

Text quoted(TextView name, TextView quote) {
  if (quote.empty() || quote == u" ") return Text(name);
  return in_marks(name, quote.front(), quote.front());
}

}  // namespace tarnwick::odbc
