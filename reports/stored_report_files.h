#pragma once

#include <cstdint>
#include <vector>

#include "state/shared_state.h"

namespace tarnwick {

/// The report file that is stored with a report.
struct StoredReportFile {
  Text report;
  std::int64_t length = 0;  ///< in bytes
};

/// One for each report that has a file, in the order of the catalog. The database tells the lengths
/// without reading the files; asks for no lock and waits for nobody, so that the length of a file
/// that is being replaced may be that of either. Loads nothing and leaves the stores and the error
/// state as they are. Throws Error: 91 without a connection, else the engine's.
[[nodiscard]] std::vector<StoredReportFile> stored_report_files(SharedState& state);

}  // namespace tarnwick
