#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/interleavings/actor.h"
#include "tests/interleavings/choices.h"
#include "tests/interleavings/script.h"
#include "tests/support/embedded_database.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::interleavings {

/// What became of one order of the processes' steps.
struct Result {
  std::optional<std::string> broken;  // the promise that was
  std::size_t steps = 0;
  std::vector<std::string> account;  // of each step
};

/// Where processes play on a database, a fresh one every time.
class Playground final {
 public:
  Playground();

  /// Plays the scenario once in processes of their own, which take their steps one at a time.
  /// `choices` says which process takes the next one: the first option is the one that took the
  /// last, as long as it need not wait. Other options are the other processes and, once in a run,
  /// that the one whose turn it is gets killed before its call, or in the midst of a write.
  [[nodiscard]] Result play(const Scenario& scenario, Choices& choices,
                            Defect defect = Defect::kNone);

 private:
  void reset() const;

  std::unique_ptr<test_support::TemporaryFolder> folder_;
  std::filesystem::path file_;
  std::string fresh_;      // in use, with its write-ahead log
  std::string untouched_;  // as it was made
};

/// Where a search for broken promises was up to.
struct Search {
  std::size_t orders = 0;
  std::size_t longest = 0;  // steps
  bool complete = false;
  std::string at;  // the order that was the last one
  std::optional<Result> found;
};

/// Plays the scenario in all orders with up to `deviations` deviations, beginning at the order
/// `from`, until a promise is broken or `may_go_on` says no. Where there is no such order (any
/// more), from the first one.
[[nodiscard]] Search search(Playground& playground, const Scenario& scenario,
                            std::size_t deviations, Defect defect = Defect::kNone,
                            const std::string& from = {},
                            const std::function<bool()>& may_go_on = {});

/// What came of an order, for people.
[[nodiscard]] std::string account_of(const Scenario& scenario, const std::string& order,
                                     const Result& outcome);

}  // namespace tarnwick::interleavings
