#include <openssl/evp.h>
#include <openssl/rand.h>

#include "ado/error.h"
#include "engines/sqlite/password_hash.h"

namespace tarnwick::sqlite {

ByteBuffer pbkdf2_sha512(std::string_view password, std::span<const std::byte> salt,
                         std::uint32_t iterations, std::size_t length) {
  ByteBuffer hash(length);
  if (PKCS5_PBKDF2_HMAC(password.data(), static_cast<int>(password.size()),
                        reinterpret_cast<const unsigned char*>(salt.data()),
                        static_cast<int>(salt.size()), static_cast<int>(iterations), EVP_sha512(),
                        static_cast<int>(length),
                        reinterpret_cast<unsigned char*>(hash.data())) != 1) {
    throw ado::AdoError(ado::AdoErrorNumber::kUnspecified, u"The password cannot be hashed.");
  }
  return hash;
}

ByteBuffer random_bytes(std::size_t count) {
  ByteBuffer bytes(count);
  if (RAND_bytes(reinterpret_cast<unsigned char*>(bytes.data()), static_cast<int>(count)) != 1) {
    throw ado::AdoError(ado::AdoErrorNumber::kUnspecified, u"There are no random numbers.");
  }
  return bytes;
}

}  // namespace tarnwick::sqlite
