#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::cli {

/// The beginning of a command line, taken apart as bash and its line editor do. Nothing is
/// expanded, and nothing is run.
struct ShellLine {
  /// Without their quotes; the last one is being typed, and may be empty.
  std::vector<std::string> words;
  /// The line editor replaces no more than the end of the last word: what stands behind the quote
  /// that is open, or behind the last of its breaks. So much of the word, in bytes, stays.
  std::size_t kept = 0;
  char open_quote = '\0';
  /// The last word is where output goes, or where input comes from.
  bool redirects = false;
};

/// `breaks` are the line editor's word breaks, as in COMP_WORDBREAKS.
[[nodiscard]] ShellLine parse_shell_line(std::string_view line, std::string_view breaks);

/// `text` as it has to be typed, inside the quote that is open if one is.
[[nodiscard]] std::string quoted_for_shell(std::string_view text, char open_quote);

}  // namespace tarnwick::cli
