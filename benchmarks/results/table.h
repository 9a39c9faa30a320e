#pragma once

#include <string>
#include <vector>

#include "benchmarks/results/row.h"

namespace tarnwick::benchmarks {

/// One line for each job: the ratios, the bars, the verdict.
[[nodiscard]] std::string table_of(const std::vector<Row>& rows);

/// The same with what has changed since `earlier`, job by job. A change of time or CPU time within
/// the noise of either measurement is shown as none.
[[nodiscard]] std::string table_of(const std::vector<Row>& rows, const std::vector<Row>& earlier);

}  // namespace tarnwick::benchmarks
