#pragma once

#include <vector>

#include "apps/tarnwick/completion/candidate.h"
#include "apps/tarnwick/completion/place.h"

namespace tarnwick::cli {

/// What may be typed in some place.
struct Answer {
  enum class Kind { kWords, kFiles, kFolders };
  Kind kind = Kind::kWords;
  std::vector<Candidate> candidates = {};
};

[[nodiscard]] Answer answer_for(const Place& place);

}  // namespace tarnwick::cli
