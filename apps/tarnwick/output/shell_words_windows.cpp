#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "apps/tarnwick/output/shell_words.h"

namespace tarnwick::cli {
namespace {

std::string powershell_text(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted.append(c == '\'' ? 2 : 1, c);
  return quoted + "'";
}

}  // namespace

std::string shell_word(const std::string& text) {
  std::string word = "\"";
  for (const char c : text) word += c == '"' ? std::string("\\\"") : std::string(1, c);
  return word + "\"";
}

std::string setting_lines(const std::string& heading, const Variables& variables) {
  std::string prompt = heading + ", at a command prompt:\n";
  std::string powershell = heading + ", in PowerShell:\n";
  for (const auto& [name, value] : variables) {
    prompt += fmt::format("  set \"{}={}\"\n", name, value);
    powershell += fmt::format("  $env:{} = {}\n", name, powershell_text(value));
  }
  return prompt + powershell;
}

std::string example_settings() {
  return "  set TARNWICK_CONNECT=Provider=Tarnwick.Embedded;Data Source=./var\n"
         "  set TARNWICK_ROLE=dw_admin\n"
         "  set TARNWICK_PASSWORD_FILE=./password\n";
}

std::string as_typed(std::string example) {
  // A variable for one command, which the shells here have not.
  const std::size_t first_word = example.find(' ');
  if (example.find('=') < first_word) example.erase(0, first_word + 1);
  std::ranges::replace(example, '\'', '"');
  // One blank of the indentation stays.
  constexpr std::string_view kContinued = " \\\n   ";
  for (std::size_t at = 0; (at = example.find(kContinued)) != std::string::npos;) {
    example.erase(at, kContinued.size());
  }
  return example;
}

}  // namespace tarnwick::cli
