#pragma once

#include <gtest/gtest.h>

#include "tests/model/player.h"

namespace tarnwick::model {

/// What differs is told in its shortest form.
inline void expect_the_same(const Steps& steps, const Stage& stage = kInHere) {
  const auto found = play(steps, stage);
  EXPECT_FALSE(found) << found->what << '\n' << as_test(shrunk(steps, stage), stage);
}

}  // namespace tarnwick::model
