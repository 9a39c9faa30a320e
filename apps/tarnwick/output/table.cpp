#include "apps/tarnwick/output/table.h"

#include <fmt/format.h>
#include <libsmartcols.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <new>

namespace tarnwick::cli {
namespace {

void check(int result) {
  if (result != 0) throw std::bad_alloc();
}

bool is_control(unsigned char c) { return c < 0x20 || c == 0x7F; }

}  // namespace

std::string printable(std::string_view text, bool keep_lines) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0;
    if (keep_lines && c == '\r' && next == '\n') continue;
    if (c == 0xC2 && next >= 0x80 && next < 0xA0) {  // U+0080 to U+009F
      result += fmt::format("\\x{:02x}", next);
      ++i;
    } else if (is_control(c) && !(keep_lines && (c == '\n' || c == '\t'))) {
      result += fmt::format("\\x{:02x}", c);
    } else {
      result += text[i];
    }
  }
  return result;
}

std::string printable(TextView text) { return printable(to_display_utf8(text)); }

void Table::Unref::operator()(libscols_table* table) const { scols_unref_table(table); }

Table::Table() : table_(scols_new_table()) {
  if (table_ == nullptr) throw std::bad_alloc();
  // The cells are printable already; the library would turn a backslash that stands before an x.
  check(scols_table_enable_noencoding(table_.get(), 1));
  if (isatty(STDOUT_FILENO) == 0) {
    check(scols_table_set_termforce(table_.get(), SCOLS_TERMFORCE_NEVER));
  }
}

void Table::add_column(std::string_view heading, Column column) {
  static const std::map<Column, int> flags{{Column::kMayBeCut, SCOLS_FL_TRUNC},
                                           {Column::kNumber, SCOLS_FL_RIGHT},
                                           {Column::kTree, SCOLS_FL_TREE},
                                           {Column::kWhole, 0}};
  if (scols_table_new_column(table_.get(), std::string(heading).c_str(), 0, flags.at(column)) ==
      nullptr) {
    throw std::bad_alloc();
  }
}

std::size_t Table::add_line(const std::vector<std::string>& cells,
                            std::optional<std::size_t> parent) {
  libscols_line* line = scols_table_new_line(table_.get(), parent ? lines_.at(*parent) : nullptr);
  if (line == nullptr) throw std::bad_alloc();
  for (std::size_t i = 0; i < cells.size(); ++i) {
    check(scols_line_set_data(line, i, printable(cells[i]).c_str()));
  }
  lines_.push_back(line);
  return lines_.size() - 1;
}

std::string Table::text() {
  if (lines_.empty()) return {};
  char* printed = nullptr;
  check(scols_print_table_to_string(table_.get(), &printed));
  const std::unique_ptr<char, decltype(&std::free)> owned(printed, &std::free);
  return std::string(printed) + '\n';
}

}  // namespace tarnwick::cli
