#include <openssl/evp.h>

#include <stdexcept>

#include "tests/support/one_round_hash.h"

namespace tarnwick::test_support {

std::array<unsigned char, 64> one_round_hash(std::string_view password,
                                             std::span<const unsigned char> salt) {
  std::array<unsigned char, 64> hash{};
  if (PKCS5_PBKDF2_HMAC(password.data(), static_cast<int>(password.size()), salt.data(),
                        static_cast<int>(salt.size()), 1, EVP_sha512(), hash.size(),
                        hash.data()) != 1) {
    throw std::runtime_error("no PBKDF2");
  }
  return hash;
}

}  // namespace tarnwick::test_support
