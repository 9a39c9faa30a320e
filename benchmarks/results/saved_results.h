#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "benchmarks/results/row.h"

namespace tarnwick::benchmarks {

/// A whole measurement, as it is kept in a file for later ones.
struct SavedResults {
  std::string source;  // what was measured: a commit
  std::string date;    // when, for people
  std::vector<Row> rows;
};

/// As JSON. Throws std::runtime_error when the file cannot be written.
void save(const std::filesystem::path& file, const SavedResults& results);

/// Throws std::runtime_error, with the file's name, when it cannot be read or holds something else.
[[nodiscard]] SavedResults read_saved(const std::filesystem::path& file);

}  // namespace tarnwick::benchmarks
