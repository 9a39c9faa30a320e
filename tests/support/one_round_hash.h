#pragma once

#include <array>
#include <span>
#include <string_view>

namespace tarnwick::test_support {

/// PBKDF2 with HMAC-SHA-512 (RFC 8018) and one iteration: quick, and not the engine's own.
[[nodiscard]] std::array<unsigned char, 64> one_round_hash(std::string_view password,
                                                           std::span<const unsigned char> salt);

}  // namespace tarnwick::test_support
