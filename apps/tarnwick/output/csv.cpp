#include "apps/tarnwick/output/csv.h"

#include <algorithm>
#include <ostream>
#include <utility>

namespace tarnwick::cli {
namespace {

/// Walks through a table cell by cell.
class Reader final {
 public:
  explicit Reader(std::string_view table) : rest_(table) {}

  [[nodiscard]] bool at_end() const { return rest_.empty(); }

  [[nodiscard]] CsvRecord record() {
    CsvRecord record{.line = line_, .cells = {}};
    do {
      record.cells.push_back(rest_.starts_with('"') ? quoted_cell() : plain_cell());
    } while (take(","));
    if (!at_end() && !take_line_end()) {
      throw CsvError(line_, "there is text behind the closing quote of a cell");
    }
    return record;
  }

 private:
  std::string plain_cell() {
    const std::size_t end = std::min(rest_.find_first_of(",\r\n\""), rest_.size());
    std::string cell(rest_.substr(0, end));
    rest_.remove_prefix(end);
    if (rest_.starts_with('"')) {
      throw CsvError(line_, "a cell that holds a quote does not stand between quotes");
    }
    if (rest_.starts_with('\r') && !rest_.starts_with("\r\n")) {
      throw CsvError(line_, "a line ends with a carriage return alone");
    }
    return cell;
  }

  std::string quoted_cell() {
    const std::size_t begin = line_;
    std::string cell;
    take("\"");
    for (;;) {
      const std::size_t end = rest_.find('"');
      if (end == std::string_view::npos) {
        throw CsvError(begin, "a cell that begins with a quote has no closing one");
      }
      const std::string_view piece = rest_.substr(0, end);
      line_ += static_cast<std::size_t>(std::ranges::count(piece, '\n'));
      cell += piece;
      rest_.remove_prefix(end + 1);
      if (!take("\"")) return cell;
      cell += '"';
    }
  }

  bool take(std::string_view what) {
    if (!rest_.starts_with(what)) return false;
    rest_.remove_prefix(what.size());
    return true;
  }

  bool take_line_end() {
    if (!take("\r\n") && !take("\n")) return false;
    ++line_;
    return true;
  }

  std::string_view rest_;
  std::size_t line_ = 1;
};

}  // namespace

void write_csv(std::ostream& out, std::span<const std::string> cells) {
  bool first = true;
  for (const std::string& cell : cells) {
    if (!std::exchange(first, false)) out << ',';
    if (cell.find_first_of(",\r\n\"") == std::string::npos) {
      out << cell;
      continue;
    }
    out << '"';
    for (const char c : cell) out << (c == '"' ? "\"\"" : std::string_view(&c, 1));
    out << '"';
  }
  out << "\r\n";
}

std::vector<CsvRecord> read_csv(std::string_view table) {
  std::vector<CsvRecord> records;
  Reader reader(table);
  while (!reader.at_end()) records.push_back(reader.record());
  return records;
}

}  // namespace tarnwick::cli
