#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "runtime/text.h"

namespace tarnwick::fuzz {

/// What a fuzzer made up, taken apart piece by piece. Past its end every piece is zero or empty.
class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  [[nodiscard]] bool empty() const { return bytes_.empty(); }
  [[nodiscard]] std::uint8_t byte();
  /// 0 to `below` - 1; `below` from 1 to 256.
  [[nodiscard]] std::size_t choice(std::size_t below) { return byte() % below; }
  /// Eight bytes, the lowest first.
  [[nodiscard]] std::int64_t integer();
  /// Up to 255 bytes: their number comes first.
  [[nodiscard]] std::string_view piece();
  /// The same as code units, whatever they are.
  [[nodiscard]] Text text();
  [[nodiscard]] std::string_view rest();
  /// The rest as code units.
  [[nodiscard]] Text rest_as_text();

 private:
  [[nodiscard]] std::string_view take(std::size_t size);

  std::span<const std::uint8_t> bytes_;
};

/// Ends the process, for the fuzzer to keep what was tried, unless `holds`.
void require(bool holds, const char* what);

/// One try. Each fuzzer is a program with a function of its own for this; whatever leaves it as an
/// exception, ends the process or is seen by a sanitizer is a finding.
void attempt(Input input);

}  // namespace tarnwick::fuzz
