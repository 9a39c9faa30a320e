#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::cli {

/// What a word may be completed to, and what that is for.
struct Candidate {
  std::string text;
  std::string description = {};
};

/// Those that begin with `typed`; where there are none, those that do in other letter case.
[[nodiscard]] std::vector<Candidate> beginning_with(const std::string& typed,
                                                    std::vector<Candidate> candidates);

}  // namespace tarnwick::cli
