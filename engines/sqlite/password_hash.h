#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "runtime/variant.h"

namespace tarnwick::sqlite {

// What is needed of a library for passwords; one source per library.

/// PBKDF2 with HMAC-SHA-512 (RFC 8018), `length` bytes. `iterations` at least 1.
[[nodiscard]] ByteBuffer pbkdf2_sha512(std::string_view password, std::span<const std::byte> salt,
                                       std::uint32_t iterations, std::size_t length);

/// `count` bytes that nobody can foretell.
[[nodiscard]] ByteBuffer random_bytes(std::size_t count);

}  // namespace tarnwick::sqlite
