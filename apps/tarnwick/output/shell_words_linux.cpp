#include <fmt/format.h>

#include "apps/tarnwick/output/shell_words.h"

namespace tarnwick::cli {

std::string shell_word(const std::string& text) {
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + "'";
}

std::string setting_lines(const std::string& heading, const Variables& variables) {
  std::string lines = heading + ":\n";
  for (const auto& [name, value] : variables) {
    lines += fmt::format("  export {}={}\n", name, shell_word(value));
  }
  return lines;
}

std::string example_settings() {
  return "  export TARNWICK_CONNECT='Provider=Tarnwick.Embedded;Data Source=./var'\n"
         "  export TARNWICK_ROLE=dw_admin TARNWICK_PASSWORD_FILE=./password\n";
}

std::string as_typed(std::string example) { return example; }

}  // namespace tarnwick::cli
