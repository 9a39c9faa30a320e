#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tarnwick::cli {

/// `text` as one word of a command that is shown to be typed. On Windows in double quotes, which
/// both shells take there; what they expand between them ("%", "$") stays open to that.
[[nodiscard]] std::string shell_word(const std::string& text);

/// Names of variables and what they are to be.
using Variables = std::vector<std::pair<std::string, std::string>>;

/// Lines to be typed to set `variables`, in each shell of the system, below `heading`: what they
/// are for.
[[nodiscard]] std::string setting_lines(const std::string& heading, const Variables& variables);

/// The same for an example in a help, indented.
[[nodiscard]] std::string example_settings();

/// An example in a help, which is written for a shell of Unix, as it is typed here.
[[nodiscard]] std::string as_typed(std::string example);

}  // namespace tarnwick::cli
