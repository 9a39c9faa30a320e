// Writes how many columns of a terminal each character takes, as the building machine's C library
// has it: ranges of those that do not take one.
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <cwctype>

namespace {

constexpr std::uint32_t kLast = 0x10FFFF;

int width_of(std::uint32_t character) {
  const auto wide = static_cast<wchar_t>(character);
  const int width = std::iswprint(static_cast<wint_t>(wide)) != 0 ? wcwidth(wide) : 0;
  return width < 0 ? 0 : width;
}

}  // namespace

int main() {
  if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) {
    std::fputs("there is no locale C.UTF-8\n", stderr);
    return 1;
  }
  std::uint32_t first = 0;
  for (std::uint32_t character = 1; character <= kLast + 1; ++character) {
    const int width = width_of(first);
    if (character <= kLast && width_of(character) == width) continue;
    if (width != 1) std::printf("{0x%04X, 0x%04X, %d},\n", first, character - 1, width);
    first = character;
  }
  return std::ferror(stdout) != 0 ? 1 : 0;
}
