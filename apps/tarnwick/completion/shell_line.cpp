#include "apps/tarnwick/completion/shell_line.h"

namespace tarnwick::cli {
namespace {

constexpr std::string_view kBlanks = " \t\n";
constexpr std::string_view kRedirections = "<>";
constexpr std::string_view kSpecial = " \t\n!\"#$&'()*,;<>?[\\]^`{|}~";
constexpr std::string_view kSpecialInQuotes = "\"$\\`";

bool is_in(std::string_view set, char c) { return set.find(c) != std::string_view::npos; }

class Parser final {
 public:
  Parser(std::string_view line, std::string_view breaks) : line_(line), breaks_(breaks) {}

  ShellLine parse() {
    while (at_ < line_.size()) step(line_[at_++]);
    result_.redirects = to_redirect_;
    result_.words.push_back(std::move(word_));
    return std::move(result_);
  }

 private:
  void step(char c) {
    char& quote = result_.open_quote;
    if (c == '\\' && quote != '\'') {
      take_escaped();
    } else if (quote != '\0') {
      if (c == quote) {
        quote = '\0';
        result_.kept = kept_before_quote_;
      } else {
        word_ += c;
      }
    } else if (c == '"' || c == '\'') {
      quote = c;
      in_word_ = true;
      kept_before_quote_ = result_.kept;
      result_.kept = word_.size();
    } else if (is_in(kBlanks, c)) {
      end_word();
    } else if (is_in(kRedirections, c)) {
      // What stands right before it is a number of a descriptor, or a word that ends here.
      end_word();
      to_redirect_ = true;
    } else {
      word_ += c;
      in_word_ = true;
      if (is_in(breaks_, c)) result_.kept = word_.size();
    }
  }

  void take_escaped() {
    in_word_ = true;
    if (at_ == line_.size()) return;
    const char c = line_[at_++];
    if (result_.open_quote == '"' && !is_in(kSpecialInQuotes, c)) word_ += '\\';
    word_ += c;
  }

  void end_word() {
    if (in_word_) {
      if (!to_redirect_) result_.words.push_back(word_);
      to_redirect_ = false;
    }
    word_.clear();
    in_word_ = false;
    result_.kept = 0;
  }

  std::string_view line_;
  std::string_view breaks_;
  std::size_t at_ = 0;
  std::string word_;
  bool in_word_ = false;
  bool to_redirect_ = false;
  std::size_t kept_before_quote_ = 0;
  ShellLine result_;
};

}  // namespace

ShellLine parse_shell_line(std::string_view line, std::string_view breaks) {
  return Parser(line, breaks).parse();
}

std::string quoted_for_shell(std::string_view text, char open_quote) {
  std::string quoted;
  for (const char c : text) {
    if (open_quote == '\'') {
      quoted += c == '\'' ? "'\\''" : std::string(1, c);
    } else if (open_quote == '"' && c == '!') {
      // Inside these quotes nothing keeps it from meaning the history.
      quoted += "\"\\!\"";
    } else {
      if (is_in(open_quote == '"' ? kSpecialInQuotes : kSpecial, c)) quoted += '\\';
      quoted += c;
    }
  }
  return quoted;
}

}  // namespace tarnwick::cli
