#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tests/model/played_system.h"

namespace tarnwick::model {

/// Where the system did something else than the reference model.
struct Difference {
  std::size_t step = 0;  ///< its number in the sequence
  std::string what;
};

/// Plays the steps on the reference model and on a fresh system, and compares after each: what came
/// of it, all properties of the records that clients hold, messages, questions, all rows of the
/// database, all files. Nothing where both did the same.
[[nodiscard]] std::optional<Difference> play(const Steps& steps, const Stage& stage);

/// A long sequence. The same for the same seed.
[[nodiscard]] Steps made_up_steps(std::uint32_t seed, std::size_t length);

/// The shortest sequence, with the smallest numbers, that can be made of `steps` by leaving out and
/// making smaller, and that still differs.
[[nodiscard]] Steps shrunk(Steps steps, const Stage& stage);

/// What differs and the sequence, as a test to be pasted.
[[nodiscard]] std::string as_test(const Steps& steps, const Stage& stage);

}  // namespace tarnwick::model
