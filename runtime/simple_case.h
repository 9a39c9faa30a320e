#pragma once

namespace tarnwick {

/// Unicode simple upper-case mapping of one code point (UnicodeData.txt, field 12); a code point
/// without one maps to itself. What the system's own Unicode library says; slow.
[[nodiscard]] char32_t simple_upper(char32_t code_point);

/// Unicode simple case folding of one code point (CaseFolding.txt, status C and S).
[[nodiscard]] char32_t simple_fold(char32_t code_point);

}  // namespace tarnwick
