#include "engines/sqlite/password_hash.h"

#include <gtest/gtest.h>

#include "tests/support/plain_sqlite.h"

namespace tarnwick::sqlite {
namespace {

std::string hash_of(std::string_view password, std::string_view salt, std::uint32_t iterations) {
  const auto hash =
      pbkdf2_sha512(password, std::as_bytes(std::span(salt.data(), salt.size())), iterations, 64);
  return test_support::hexadecimal({reinterpret_cast<const char*>(hash.data()), hash.size()});
}

// The widely published test vectors of RFC 6070, computed with SHA-512.
TEST(PasswordHash, IsPbkdf2WithHmacSha512) {
  EXPECT_EQ(hash_of("password", "salt", 1),
            "867F70CF1ADE02CFF3752599A3A53DC4AF34C7A669815AE5D513554E1C8CF252"
            "C02D470A285A0501BAD999BFE943C08F050235D7D68B1DA55E63F73B60A57FCE");
  EXPECT_EQ(hash_of("password", "salt", 2),
            "E1D9C16AA681708A45F5C7C4E215CEB66E011A2E9F0040713F18AEFDB866D53C"
            "F76CAB2868A39B9F7840EDCE4FEF5A82BE67335C77A6068E04112754F27CCF4E");
  EXPECT_EQ(hash_of("password", "salt", 4096),
            "D197B1B33DB0143E018B12F3D1D1479E6CDEBDCC97C5C0F87F6902E072F457B5"
            "143F30602641B3D55CD335988CB36B84376060ECD532E039B742A239434AF2D5");
}

TEST(PasswordHash, RandomBytesDiffer) {
  EXPECT_EQ(random_bytes(16).size(), 16u);
  EXPECT_NE(random_bytes(16), random_bytes(16));
}

}  // namespace
}  // namespace tarnwick::sqlite
