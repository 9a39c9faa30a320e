#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::interleavings {

/// All sequences of choices, one after the other: whoever goes through a run asks what to choose
/// wherever there is something to choose, and begins again for the next sequence. The first option
/// goes without saying; every other one is a deviation, and there are at most so many in a
/// sequence.
class Choices {
 public:
  /// Begins at the sequence `from`, in the form that `text` has.
  explicit Choices(std::size_t deviations, std::string_view from = {});

  /// The number of the option to take, below `options`.
  [[nodiscard]] std::size_t choose(std::size_t options);
  /// Whether one more deviation may be made.
  [[nodiscard]] bool may_deviate() const { return made_ < deviations_; }
  /// Whether the run did not ask what it has been asking with the same choices before.
  [[nodiscard]] bool diverged() const { return diverged_; }

  /// Goes to the next sequence; false when there is none.
  [[nodiscard]] bool next();

  /// The deviations: "12:1,40:2" for the second option of the 12th choice and the third of the
  /// 40th. Empty for none.
  [[nodiscard]] std::string text() const;

 private:
  struct Choice {
    std::size_t taken = 0;
    std::size_t options = 0;  // 0: not known yet
  };

  std::size_t deviations_;
  std::vector<Choice> path_;
  std::size_t at_ = 0;    // where the run is
  std::size_t made_ = 0;  // deviations so far
  bool diverged_ = false;
};

}  // namespace tarnwick::interleavings
