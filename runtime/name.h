#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace tarnwick {

/// A name as a template argument: the "Refresh" of call<"Refresh">().
template <std::size_t kSize>
struct Name {
  consteval Name(const char (&text)[kSize]) { std::copy_n(text, kSize, characters); }
  [[nodiscard]] constexpr std::string_view view() const { return {characters, kSize - 1}; }
  char characters[kSize]{};
};

}  // namespace tarnwick
