#include "apps/tarnwick/completion/candidate.h"

#include <algorithm>
#include <iterator>

#include "runtime/case_mapping.h"

namespace tarnwick::cli {

std::vector<Candidate> beginning_with(const std::string& typed, std::vector<Candidate> candidates) {
  std::vector<Candidate> exact;
  std::ranges::copy_if(candidates, std::back_inserter(exact), [&](const Candidate& candidate) {
    return candidate.text.starts_with(typed);
  });
  if (!exact.empty()) return exact;
  const Text beginning = from_stored_utf8(typed);
  std::erase_if(candidates, [&](const Candidate& candidate) {
    const Text text = from_stored_utf8(candidate.text);
    return !equals_ignoring_case(TextView(text).substr(0, beginning.size()), beginning);
  });
  return candidates;
}

}  // namespace tarnwick::cli
