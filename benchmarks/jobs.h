#pragma once

#include <filesystem>
#include <vector>

#include "benchmarks/harness.h"

namespace tarnwick::benchmarks {

// The jobs; each makes the data that it needs in folders below `scratch`.

[[nodiscard]] std::vector<Row> measure_pc_loading(const std::filesystem::path& scratch);
[[nodiscard]] std::vector<Row> measure_report_loading(const std::filesystem::path& scratch);
[[nodiscard]] std::vector<Row> measure_odbc_loading(const std::filesystem::path& scratch);
[[nodiscard]] std::vector<Row> measure_copy(const std::filesystem::path& scratch);
[[nodiscard]] std::vector<Row> measure_update_cycle(const std::filesystem::path& scratch);
[[nodiscard]] std::vector<Row> measure_processes(const std::filesystem::path& scratch);
[[nodiscard]] std::vector<Row> measure_look_up(const std::filesystem::path& scratch);
[[nodiscard]] std::vector<Row> measure_dbus(const std::filesystem::path& scratch);
[[nodiscard]] std::vector<Row> measure_payloads(const std::filesystem::path& scratch);

}  // namespace tarnwick::benchmarks
