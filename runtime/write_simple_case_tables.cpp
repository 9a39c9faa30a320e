// Runs where a build for a system without ICU is made: writes ICU's case mappings as tables, so
// that keys compare alike on every system.

#include <unicode/uchar.h>

#include <cstdio>

namespace {

void write_table(const char* name, UChar32 (*map)(UChar32)) {
  std::printf("constexpr CasePair %s[] = {\n", name);
  for (UChar32 c = 0; c <= 0x10FFFF; ++c) {
    const UChar32 mapped = map(c);
    if (mapped != c) {
      std::printf("    {0x%X, 0x%X},\n", static_cast<unsigned>(c), static_cast<unsigned>(mapped));
    }
  }
  std::printf("};\n");
}

}  // namespace

int main() {
  write_table("kUpper", [](UChar32 c) { return u_toupper(c); });
  write_table("kFold", [](UChar32 c) { return u_foldCase(c, U_FOLD_CASE_DEFAULT); });
  return std::ferror(stdout) != 0;
}
