#pragma once

#include <cstddef>
#include <iosfwd>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::cli {

// Tables as RFC 4180 has them: cells parted by commas, lines ended by CR LF, a cell between double
// quotes where it holds one of these.

/// Writes one line.
void write_csv(std::ostream& out, std::span<const std::string> cells);

struct CsvRecord {
  std::size_t line = 0;  // of the file, from 1, that it begins in
  std::vector<std::string> cells;
};

/// What is no such table, and in which line.
class CsvError : public std::runtime_error {
 public:
  CsvError(std::size_t line, const char* what) : std::runtime_error(what), line_(line) {}
  [[nodiscard]] std::size_t line() const { return line_; }

 private:
  std::size_t line_;
};

/// All records of `table`, the one with the headings first. A line may end with LF alone; the last
/// one need not end. Throws CsvError.
[[nodiscard]] std::vector<CsvRecord> read_csv(std::string_view table);

}  // namespace tarnwick::cli
