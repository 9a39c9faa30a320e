#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::sqlite {
namespace {

using LostFile = SessionTest;

TEST_F(LostFile, EndsTheConnection) {
  const auto session = open_session();
  std::filesystem::remove(database_.file());
  EXPECT_THROW(session->execute(u"Delete From DW_Reports"), ado::ConnectionLost);
}

}  // namespace
}  // namespace tarnwick::sqlite
