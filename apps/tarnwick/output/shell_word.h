#pragma once

#include <string>

namespace tarnwick::cli {

/// `text` as one word of the shell, in single quotes.
[[nodiscard]] inline std::string shell_word(const std::string& text) {
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + "'";
}

}  // namespace tarnwick::cli
