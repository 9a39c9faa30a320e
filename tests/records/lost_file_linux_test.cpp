#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

class LostDatabaseFile : public test_support::ConnectedTest {};

TEST_F(LostDatabaseFile, RefusesTheCommitAndUnlocks) {
  database_.run("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 2)");
  ASSERT_TRUE(process_.server->refresh());
  const auto component = process_.server->components()->item(std::int32_t{1});
  process_.recorder.before_step = [&](TextView line) {
    if (line == u"Commit") std::filesystem::remove(database_.file());
  };
  EXPECT_EQ(component->update(), Error_ue);
  EXPECT_TRUE(message().starts_with(u"Unable to update, record is locked!\r\n"));
  EXPECT_FALSE(component->locked());
  EXPECT_FALSE(state().connected());
  EXPECT_FALSE(process_.server->initialized());
}

}  // namespace
}  // namespace tarnwick
