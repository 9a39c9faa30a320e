#include <windows.h>
// after windows.h
#include <bcrypt.h>

#include "ado/error.h"
#include "engines/sqlite/password_hash.h"

namespace tarnwick::sqlite {
namespace {

/// An open algorithm of the system's cryptography.
class Algorithm {
 public:
  explicit Algorithm(const wchar_t* name) {
    if (BCryptOpenAlgorithmProvider(&handle_, name, nullptr, BCRYPT_ALG_HANDLE_HMAC_FLAG) < 0) {
      throw ado::AdoError(ado::AdoErrorNumber::kUnspecified, u"The password cannot be hashed.");
    }
  }
  ~Algorithm() { BCryptCloseAlgorithmProvider(handle_, 0); }
  Algorithm(const Algorithm&) = delete;
  Algorithm& operator=(const Algorithm&) = delete;
  [[nodiscard]] BCRYPT_ALG_HANDLE handle() const { return handle_; }

 private:
  BCRYPT_ALG_HANDLE handle_ = nullptr;
};

}  // namespace

ByteBuffer pbkdf2_sha512(std::string_view password, std::span<const std::byte> salt,
                         std::uint32_t iterations, std::size_t length) {
  const Algorithm sha512(BCRYPT_SHA512_ALGORITHM);
  ByteBuffer hash(length);
  const auto bytes = [](const void* data) {
    return static_cast<PUCHAR>(const_cast<void*>(data));  // read only, but not declared so
  };
  if (BCryptDeriveKeyPBKDF2(sha512.handle(), bytes(password.data()),
                            static_cast<ULONG>(password.size()), bytes(salt.data()),
                            static_cast<ULONG>(salt.size()), iterations, bytes(hash.data()),
                            static_cast<ULONG>(hash.size()), 0) < 0) {
    throw ado::AdoError(ado::AdoErrorNumber::kUnspecified, u"The password cannot be hashed.");
  }
  return hash;
}

ByteBuffer random_bytes(std::size_t count) {
  ByteBuffer bytes(count);
  if (BCryptGenRandom(nullptr, reinterpret_cast<PUCHAR>(bytes.data()),
                      static_cast<ULONG>(bytes.size()), BCRYPT_USE_SYSTEM_PREFERRED_RNG) < 0) {
    throw ado::AdoError(ado::AdoErrorNumber::kUnspecified, u"There are no random numbers.");
  }
  return bytes;
}

}  // namespace tarnwick::sqlite
