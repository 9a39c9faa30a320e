#include <windows.h>

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "tests/support/one_round_hash.h"

#include <bcrypt.h>  // behind windows.h

namespace tarnwick::test_support {

// One iteration of PBKDF2 with as many bytes as the hash has is one HMAC of the salt and the
// number 1.
std::array<unsigned char, 64> one_round_hash(std::string_view password,
                                             std::span<const unsigned char> salt) {
  std::vector<unsigned char> key(password.begin(), password.end());
  std::vector<unsigned char> text(salt.begin(), salt.end());
  text.insert(text.end(), {0, 0, 0, 1});
  std::array<unsigned char, 64> hash{};
  BCRYPT_ALG_HANDLE algorithm = nullptr;
  BCRYPT_HASH_HANDLE state = nullptr;
  const bool done = BCryptOpenAlgorithmProvider(&algorithm, BCRYPT_SHA512_ALGORITHM, nullptr,
                                                BCRYPT_ALG_HANDLE_HMAC_FLAG) >= 0 &&
                    BCryptCreateHash(algorithm, &state, nullptr, 0, key.data(),
                                     static_cast<ULONG>(key.size()), 0) >= 0 &&
                    BCryptHashData(state, text.data(), static_cast<ULONG>(text.size()), 0) >= 0 &&
                    BCryptFinishHash(state, hash.data(), static_cast<ULONG>(hash.size()), 0) >= 0;
  if (state != nullptr) BCryptDestroyHash(state);
  if (algorithm != nullptr) BCryptCloseAlgorithmProvider(algorithm, 0);
  if (!done) throw std::runtime_error("no HMAC");
  return hash;
}

}  // namespace tarnwick::test_support
