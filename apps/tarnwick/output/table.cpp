#include "apps/tarnwick/output/table.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>
#include <utility>

#include "apps/tarnwick/output/text_width.h"
#include "platform/terminal.h"

namespace tarnwick::cli {
namespace {

// Makes columns that may be cut narrower by turns, until the table fits or nothing can give way.
void fit(std::vector<std::size_t>& widths, const std::vector<std::size_t>& least,
         std::size_t room) {
  std::size_t whole = std::accumulate(widths.begin(), widths.end(), widths.size() - 1);
  for (bool gave_way = true; whole > room && gave_way;) {
    gave_way = false;
    for (std::size_t i = 0; i < widths.size() && whole > room; ++i) {
      if (widths[i] <= least[i]) continue;
      --widths[i];
      --whole;
      gave_way = true;
    }
  }
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

void Table::add_column(std::string_view heading, Column column) {
  headings_.push_back({std::string(heading), column});
}

std::size_t Table::add_line(const std::vector<std::string>& cells,
                            std::optional<std::size_t> parent) {
  const std::size_t number = lines_.size();
  if (parent) lines_.at(*parent).children.push_back(number);
  Line line;
  line.parent = parent;
  for (const std::string& cell : cells) line.cells.push_back(printable(cell));
  lines_.push_back(std::move(line));
  return number;
}

// Each line right behind its parent, and before its parent's other children.
std::vector<const Table::Line*> Table::in_order() const {
  std::vector<std::size_t> waiting;
  for (std::size_t i = lines_.size(); i-- > 0;) {
    if (!lines_[i].parent) waiting.push_back(i);
  }
  std::vector<const Line*> order;
  while (!waiting.empty()) {
    const Line& line = lines_[waiting.back()];
    waiting.pop_back();
    order.push_back(&line);
    waiting.insert(waiting.end(), line.children.rbegin(), line.children.rend());
  }
  return order;
}

std::string Table::branch_before(const Line& line) const {
  std::string branch;
  for (const Line* at = &line; at->parent;) {
    const Line* const parent = &lines_[*at->parent];
    const bool last = &lines_[parent->children.back()] == at;
    branch.insert(0, at == &line ? (last ? "└─" : "├─") : (last ? "  " : "│ "));
    at = parent;
  }
  return branch;
}

std::vector<std::vector<std::string>> Table::drawn() const {
  std::vector<std::vector<std::string>> drawn;
  for (const Line* line : in_order()) {
    drawn.push_back(line->cells);
    for (std::size_t i = 0; i < headings_.size(); ++i) {
      if (headings_[i].column == Column::kTree) drawn.back().at(i).insert(0, branch_before(*line));
    }
  }
  return drawn;
}

std::vector<std::size_t> Table::widths(const std::vector<std::vector<std::string>>& drawn,
                                       std::optional<std::size_t> room) const {
  std::vector<std::size_t> widths;
  std::vector<std::size_t> least;
  for (std::size_t i = 0; i < headings_.size(); ++i) {
    const std::size_t heading = std::max<std::size_t>(width_of(headings_[i].text), 1);
    widths.push_back(heading);
    for (const auto& line : drawn) widths[i] = std::max(widths[i], width_of(line.at(i)));
    least.push_back(headings_[i].column == Column::kMayBeCut ? heading : widths[i]);
  }
  if (room) fit(widths, least, *room);
  return widths;
}

std::string Table::text(std::optional<std::size_t> room) const {
  if (lines_.empty()) return {};
  std::vector<std::vector<std::string>> drawn = this->drawn();
  std::vector<std::string> headings;
  for (const Heading& heading : headings_) headings.push_back(heading.text);
  const std::vector<std::size_t> widths = this->widths(drawn, room);
  drawn.insert(drawn.begin(), std::move(headings));

  std::string text;
  for (const auto& line : drawn) {
    for (std::size_t i = 0; i < widths.size(); ++i) {
      const std::string_view cell = cut_to_width(line[i], widths[i]);
      const std::string padding(widths[i] - width_of(cell), ' ');
      const bool last = i + 1 == widths.size();
      const bool number = headings_[i].column == Column::kNumber;
      if (number && !(last && cell.empty())) text += padding;
      text += cell;
      if (!number && !last) text += padding;
      text += last ? '\n' : ' ';
    }
  }
  return text;
}

std::string Table::text() const {
  using platform::Standard;
  return text(platform::is_terminal(Standard::kOutput) ? platform::terminal_size().columns
                                                       : std::optional<std::size_t>());
}

}  // namespace tarnwick::cli
