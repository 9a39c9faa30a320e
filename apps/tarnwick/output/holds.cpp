#include "apps/tarnwick/output/holds.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/output/table.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

constexpr double kSecondsPerDay = 86'400;

nlohmann::ordered_json text_or_null(const Text& text) {
  return text.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(to_display_utf8(text));
}

template <class Number>
nlohmann::ordered_json number_or_null(const std::optional<Number>& number) {
  return number ? nlohmann::ordered_json(*number) : nlohmann::ordered_json();
}

template <class Number>
std::string digits(const std::optional<Number>& number) {
  return number ? std::to_string(*number) : std::string();
}

// Reads what the object model writes for a time, and nothing else.
std::optional<Date> time_in(const Text& text) {
  CivilTime time;
  std::array<char, 3> half{"AM"};
  const int fields =
      std::sscanf(to_display_utf8(text).c_str(), "%d/%d/%d %d:%d:%d %2s", &time.month, &time.day,
                  &time.year, &time.hour, &time.minute, &time.second, half.data());
  if (fields > 3) time.hour = time.hour % 12 + (half[0] == 'P' ? 12 : 0);
  try {
    const Date date = to_date(time);
    if (fields >= 3 && to_text(date) == text) return date;
  } catch (const Error&) {
    // No time of the calendar.
  }
  return std::nullopt;
}

std::optional<std::chrono::seconds> time_since(const Text& since, Date now) {
  const auto begin = time_in(since);
  if (!begin || begin->days > now.days) return std::nullopt;
  return std::chrono::seconds(std::llround((now.days - begin->days) * kSecondsPerDay));
}

}  // namespace

HoldStamp read_stamp(const Text& stamp, Date now) {
  Stamp parsed = parse_stamp(stamp);
  const auto held = time_since(from_stored_utf8(parsed.since), now);
  return {std::move(parsed), held};
}

std::string duration(std::chrono::seconds time) {
  const auto seconds = time.count();
  const auto minutes = seconds / 60;
  const auto hours = minutes / 60;
  if (minutes == 0) return fmt::format("{} s", seconds);
  if (hours == 0) return fmt::format("{} min", minutes);
  if (hours < 24) return fmt::format("{} h {:02} min", hours, minutes % 60);
  return fmt::format("{} d {} h", hours / 24, hours % 24);
}

std::string holder_of(const Hold& hold, const Stamp& stamp) {
  std::string more;
  const auto add = [&](const std::string& part) { more += (more.empty() ? "" : ", ") + part; };
  if (hold.row.process_id) add(fmt::format("process {}", *hold.row.process_id));
  if (!hold.program.empty()) add(printable(hold.program));
  if (hold.session) add(fmt::format("session {}", *hold.session));
  if (!hold.user.empty()) add("of " + printable(hold.user));
  const std::string computer = stamp.computer.empty() ? "somebody" : printable(stamp.computer);
  return more.empty() ? computer : fmt::format("{} ({})", computer, more);
}

nlohmann::ordered_json to_json(const Hold& hold, Date now) {
  const HoldStamp stamp = read_stamp(hold.row.stamp, now);
  const auto seconds = stamp.held ? std::make_optional(stamp.held->count()) : std::nullopt;
  return {{"Table", to_display_utf8(hold.row.table)},
          {"Row", to_display_utf8(hold.row.key)},
          {"HeldBy", stamp.computer},
          {"Since", stamp.since},
          {"Seconds", number_or_null(seconds)},
          {"Process", number_or_null(hold.row.process_id)},
          {"Program", text_or_null(hold.program)},
          {"User", text_or_null(hold.user)},
          {"Session", number_or_null(hold.session)}};
}

std::string holds_text(const std::vector<Hold>& holds, Date now, std::size_t most) {
  if (holds.empty()) return "None.\n";
  using Column = Table::Column;
  Table table;
  table.add_column("Table");
  table.add_column("Row", Column::kMayBeCut);
  table.add_column("HeldBy", Column::kMayBeCut);
  table.add_column("Since");
  table.add_column("For", Column::kNumber);
  table.add_column("Process", Column::kNumber);
  table.add_column("Program", Column::kMayBeCut);
  table.add_column("User", Column::kMayBeCut);
  const bool has_sessions =
      std::ranges::any_of(holds, [](const Hold& hold) { return hold.session.has_value(); });
  if (has_sessions) table.add_column("Session", Column::kNumber);
  const std::size_t shown = std::min(holds.size(), most);
  for (std::size_t i = 0; i < shown; ++i) {
    const Hold& hold = holds[i];
    const HoldStamp stamp = read_stamp(hold.row.stamp, now);
    std::vector<std::string> cells{to_display_utf8(hold.row.table),
                                   to_display_utf8(hold.row.key),
                                   stamp.computer,
                                   stamp.since,
                                   stamp.held ? duration(*stamp.held) : "",
                                   digits(hold.row.process_id),
                                   to_display_utf8(hold.program),
                                   to_display_utf8(hold.user)};
    if (has_sessions) cells.push_back(digits(hold.session));
    table.add_line(cells);
  }
  std::string text = table.text();
  if (shown < holds.size()) text += fmt::format("... and {} more.\n", holds.size() - shown);
  return text;
}

const std::vector<std::string>& hold_columns() {
  static const std::vector<std::string> columns{"Table",   "Row",     "HeldBy", "Since",  "For",
                                                "Process", "Program", "User",   "Session"};
  return columns;
}

SortKey sort_key(const Hold& hold, std::size_t column, Date now) {
  const auto number = [](const auto& value) {
    return value ? SortKey(static_cast<double>(*value)) : SortKey();
  };
  const HoldStamp stamp = read_stamp(hold.row.stamp, now);
  const auto held = stamp.held ? std::make_optional(stamp.held->count()) : std::nullopt;
  switch (column) {
    case 0:
      return sort_key(TextView(hold.row.table));
    case 1:
      return sort_key(TextView(hold.row.key));
    case 2:
      return sort_key(TextView(from_stored_utf8(stamp.computer)));
    case 3:
      return number(held ? std::make_optional(-*held) : held);
    case 4:
      return number(held);
    case 5:
      return number(hold.row.process_id);
    case 6:
      return sort_key(TextView(hold.program));
    case 7:
      return sort_key(TextView(hold.user));
    default:
      return number(hold.session);
  }
}

}  // namespace tarnwick::cli
