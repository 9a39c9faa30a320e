#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwick::sqlite {

/// Walks over a statement from token to token and passes over the blanks before each.
class Scanner final {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  /// Empty, where none stands.
  std::string_view name() {
    const auto found = peek_name();
    pass(found.size());
    return found;
  }

  /// `word` is given in small letters.
  bool keyword(std::string_view word) {
    const auto found = peek_name();
    if (!std::ranges::equal(found, word, {}, lower)) return false;
    pass(found.size());
    return true;
  }

  bool symbol(char c) {
    if (!rest().starts_with(c)) return false;
    pass(1);
    return true;
  }

  /// 'text', with '' for a quote inside.
  std::optional<std::string> text() {
    if (!symbol('\'')) return std::nullopt;
    std::string value;
    for (; !rest_.empty(); pass(1)) {
      if (rest_.starts_with("''")) {
        pass(1);
      } else if (rest_.front() == '\'') {
        pass(1);
        return value;
      }
      value += rest_.front();
    }
    return std::nullopt;
  }

  /// What is still to come, from the next token on.
  [[nodiscard]] std::string_view rest() {
    while (!rest_.empty() && is_blank(rest_.front())) pass(1);
    return rest_;
  }
  /// Where the last token ended.
  [[nodiscard]] const char* position() const { return rest_.data(); }
  void pass(std::size_t size) { rest_.remove_prefix(size); }

  [[nodiscard]] static bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
  [[nodiscard]] static bool is_digit(char c) { return c >= '0' && c <= '9'; }

 private:
  static char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
  static bool begins_name(char c) { return (lower(c) >= 'a' && lower(c) <= 'z') || c == '_'; }

  [[nodiscard]] std::string_view peek_name() {
    const auto text = rest();
    if (text.empty() || !begins_name(text.front())) return {};
    const auto end = std::find_if_not(text.begin(), text.end(),
                                      [](char c) { return begins_name(c) || is_digit(c); });
    return {text.begin(), end};
  }

  std::string_view rest_;
};

}  // namespace tarnwick::sqlite
