#pragma once

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace tarnwick::cli {

/// Writes UTF-8 text to standard output. Throws std::system_error when it cannot be written.
void print_text(std::string_view text);

template <class... Values>
void print(fmt::format_string<Values...> format, Values&&... values) {
  print_text(fmt::format(format, std::forward<Values>(values)...));
}

/// What was printed is to be seen now. False when not all of it could be written.
bool flush_output() noexcept;

/// Writes a line to standard error, as far as that is possible.
void tell_error(std::string_view line) noexcept;

}  // namespace tarnwick::cli
