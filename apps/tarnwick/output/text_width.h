#pragma once

#include <cstddef>
#include <string_view>

namespace tarnwick::cli {

/// How many columns of a terminal the UTF-8 `text` takes: those of East Asia take two, marks that
/// combine with what they follow none.
[[nodiscard]] std::size_t width_of(std::string_view text);

/// As much from the beginning of the UTF-8 `text` as fits into so many columns.
[[nodiscard]] std::string_view cut_to_width(std::string_view text, std::size_t columns);

}  // namespace tarnwick::cli
