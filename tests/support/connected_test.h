#pragma once

#include <gtest/gtest.h>

#include "tests/support/object_model.h"

namespace tarnwick::test_support {

/// A test on a fresh database with one connected server process.
class ConnectedTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(process_.connect()); }

  [[nodiscard]] SharedState& state() { return process_.state; }
  [[nodiscard]] const Text& message() const { return process_.message(); }
  [[nodiscard]] std::int32_t number() const { return process_.number(); }

  EmbeddedDatabase database_;
  ServerProcess process_{database_};
};

}  // namespace tarnwick::test_support
