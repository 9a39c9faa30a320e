#pragma once

#include <gtest/gtest.h>

#include <filesystem>

#include "engines/sqlite/byte_range_locks.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::sqlite {

/// Two sessions' locks on one file.
class TwoLockFiles : public ::testing::Test {
 protected:
  test_support::TemporaryFolder folder_;
  std::filesystem::path database_ = folder_.write("data.db", "");
  ByteRangeLocks first_{folder_.path() / "locks", database_};
  ByteRangeLocks second_{folder_.path() / "locks", database_};
};

}  // namespace tarnwick::sqlite
