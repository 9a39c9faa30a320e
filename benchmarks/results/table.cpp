#include "benchmarks/results/table.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace tarnwick::benchmarks {
namespace {

// Less is no change at all, however quiet the machine was.
constexpr double kSmallest = 0.02;

using Line = std::vector<std::string>;

std::string number(double value) { return value > 0 ? fmt::format("{:.2f}", value) : "-"; }

std::string percent(double share) { return share > 0 ? fmt::format("{:.0f} %", share * 100) : "-"; }

std::string bars_of(const Row& row) {
  if (row.memory_bar <= 0) return number(row.time_bar);
  return number(row.time_bar) + " / " + number(row.memory_bar);
}

std::string words_of(Verdict verdict) {
  switch (verdict) {
    case Verdict::kKept:
      return "kept";
    case Verdict::kOver:
      return "OVER";
    case Verdict::kTooNoisy:
      return "too noisy to say";
    case Verdict::kUnjudged:
      break;
  }
  return "-";
}

std::string change(double from, double to, double noise) {
  if (from <= 0 || to <= 0) return "-";
  const double share = to / from - 1;
  return std::abs(share) <= std::max(noise, kSmallest) ? "="
                                                       : fmt::format("{:+.0f} %", share * 100);
}

Line headings(bool compared) {
  Line line{"job", "time", "CPU", "memory", "bar", "noise", "verdict"};
  if (compared) line.insert(line.end(), {"time since", "CPU since", "memory since"});
  return line;
}

Line line_of(const Row& row) {
  return {row.job,      number(row.time),    number(row.cpu),          number(row.memory),
          bars_of(row), percent(row.spread), words_of(verdict_of(row))};
}

void add_changes(Line& line, const Row& row, const std::vector<Row>& earlier) {
  const auto before = std::find_if(earlier.begin(), earlier.end(),
                                   [&](const Row& other) { return other.job == row.job; });
  if (before == earlier.end()) {
    line.insert(line.end(), {"new", "new", "new"});
    return;
  }
  const double noise = std::max(row.spread, before->spread);
  line.push_back(change(before->time, row.time, noise));
  line.push_back(change(before->cpu, row.cpu, noise));
  line.push_back(change(before->memory, row.memory, 0));
}

std::string aligned(const std::vector<Line>& lines) {
  std::vector<std::size_t> widths(lines.front().size());
  for (const Line& line : lines) {
    for (std::size_t i = 0; i < line.size(); ++i) widths[i] = std::max(widths[i], line[i].size());
  }
  std::string text;
  for (const Line& line : lines) {
    std::string drawn = fmt::format("{:<{}}", line[0], widths[0]);
    for (std::size_t i = 1; i < line.size(); ++i) {
      drawn += fmt::format("  {:>{}}", line[i], widths[i]);
    }
    text += drawn + '\n';
  }
  return text;
}

}  // namespace

std::string table_of(const std::vector<Row>& rows) {
  std::vector<Line> lines{headings(false)};
  for (const Row& row : rows) lines.push_back(line_of(row));
  return aligned(lines);
}

std::string table_of(const std::vector<Row>& rows, const std::vector<Row>& earlier) {
  std::vector<Line> lines{headings(true)};
  for (const Row& row : rows) {
    lines.push_back(line_of(row));
    add_changes(lines.back(), row, earlier);
  }
  return aligned(lines);
}

}  // namespace tarnwick::benchmarks
