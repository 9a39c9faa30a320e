#include "apps/tarnwick/examination/holds.h"

#include <fmt/format.h>

#include "apps/tarnwick/output/table.h"

namespace tarnwick::cli {

Findings examine_holds(const std::vector<Hold>& holds, Date now, std::chrono::minutes longest) {
  Findings findings;
  for (const Hold& hold : holds) {
    const HoldStamp stamp = read_stamp(hold.row.stamp, now);
    if (longest > longest.zero() && (!stamp.held || *stamp.held < longest)) continue;
    const std::string time =
        stamp.held ? fmt::format("it has been held for {}", duration(*stamp.held)) : "it is held";
    findings.push_back(
        {"Held",
         fmt::format("Row '{}' of {}", printable(hold.row.key), printable(hold.row.table)),
         fmt::format("{} by {}; whoever reads or maintains it waits until that process lets go or "
                     "ends",
                     time, holder_of(hold, stamp)),
         {}});
  }
  return findings;
}

}  // namespace tarnwick::cli
