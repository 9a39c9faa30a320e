#include "apps/tarnwick/files/change_telling.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>

#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/table.h"

namespace tarnwick::cli {
namespace {

using Json = nlohmann::ordered_json;
using Action = Change::Action;

constexpr std::size_t kLongest = 60;

bool is_inside_character(std::string_view text, std::size_t at) {
  return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
}

// What stands in the text from `begin` on, on one line and no longer than one.
std::string brief(std::string_view text, std::size_t begin) {
  while (is_inside_character(text, begin)) --begin;
  std::size_t end = std::min(text.size(), begin + kLongest);
  while (is_inside_character(text, end)) --end;
  return fmt::format("{}{}{}", begin > 0 ? "…" : "", text.substr(begin, end - begin),
                     end < text.size() ? "…" : "");
}

// Where two long texts begin to show that they differ.
std::size_t place_of_difference(std::string_view a, std::string_view b) {
  const auto same = static_cast<std::size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
  return same < kLongest * 2 / 3 ? 0 : same - kLongest / 3;
}

std::string shown(const Json& value) { return printable(to_cell(value)); }

bool is_key(const Difference& difference) {
  return difference.field->attribute != nullptr && difference.field->attribute->key;
}

std::string names_of(const Change& change, bool written) {
  std::string names;
  for (const Difference& difference : change.differences) {
    if (difference.written != written) continue;
    names += fmt::format("{}{}", names.empty() ? "" : ", ", difference.field->name);
  }
  return names;
}

std::string what_is_done(const Change& change) {
  switch (change.action) {
    case Action::kAdd:
      return "added";
    case Action::kChange:
      return fmt::format("changed: {}", names_of(change, true));
    case Action::kDelete:
      return "deleted";
    default:
      return "left as it is";
  }
}

std::string_view name_of(Action action) {
  switch (action) {
    case Action::kAdd:
      return "add";
    case Action::kChange:
      return "change";
    case Action::kDelete:
      return "delete";
    default:
      return "leave";
  }
}

std::string_view name_of(Outcome outcome) {
  switch (outcome) {
    case Outcome::kPlanned:
      return "planned";
    case Outcome::kDone:
      return "done";
    case Outcome::kChanged:
      return "changed by someone else";
    default:
      return "held by another process";
  }
}

// "1 record", "2 records"
std::string counted(std::size_t count, std::string_view what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

}  // namespace

std::string line_of(const Change& change, Outcome outcome) {
  const std::string what = describe(change.row);
  if (outcome == Outcome::kChanged) {
    return fmt::format("{} left alone: someone else changed it meanwhile.", what);
  }
  if (outcome == Outcome::kHeld) {
    return fmt::format("{} left alone: another process maintains it.", what);
  }
  const bool planned = outcome == Outcome::kPlanned && change.writes();
  const bool pruned = planned && change.action == Action::kDelete;
  const std::string left = names_of(change, false);
  return fmt::format("{} {}{}{}.{}", what, planned ? "would be " : "", what_is_done(change),
                     pruned ? " with --prune" : "",
                     left.empty() ? "" : fmt::format(" Not written: {}.", left));
}

std::string lines_of_fields(const Change& change) {
  std::string lines;
  for (const Difference& difference : change.differences) {
    if (change.action == Action::kAdd && is_key(difference)) continue;
    const std::string stored = shown(difference.stored);
    const std::string wanted = shown(difference.wanted);
    lines += fmt::format("  {}: ", difference.field->name);
    if (change.action == Action::kAdd) {
      lines += fmt::format("'{}'", brief(wanted, 0));
    } else {
      const std::size_t begin = place_of_difference(stored, wanted);
      lines += fmt::format("'{}' -> '{}'", brief(stored, begin), brief(wanted, begin));
    }
    lines += difference.written ? "\n" : " (not written)\n";
  }
  return lines;
}

Json to_json(const Change& change, Outcome outcome) {
  Json key = Json::object();
  Json fields = Json::array();
  for (const FileField& field : file_fields(change.row.record_class())) {
    if (field.attribute == nullptr || !field.attribute->key) continue;
    key[field.name] = to_file_value(change.row[*field.attribute]);
  }
  for (const Difference& difference : change.differences) {
    fields.push_back({{"Field", difference.field->name},
                      {"Stored", difference.stored},
                      {"Wanted", difference.wanted},
                      {"Written", difference.written}});
  }
  return {{"Class", automation::class_of(change.row.record_class()).name},
          {"Key", key},
          {"Action", name_of(change.action)},
          {"Outcome", name_of(outcome)},
          {"Fields", fields}};
}

void Totals::count(const Change& change, Outcome outcome) {
  if (outcome == Outcome::kChanged || outcome == Outcome::kHeld) {
    ++left_alone;
    return;
  }
  if (change.action == Action::kAdd) ++added;
  if (change.action == Action::kChange) ++changed;
  if (change.action == Action::kDelete) ++deleted;
  not_written +=
      static_cast<std::size_t>(std::ranges::count(change.differences, false, &Difference::written));
}

std::string lines_of(const Totals& totals, Outcome outcome) {
  std::string lines = totals.nothing_to_do()
                          ? "Nothing to do.\n"
                          : fmt::format("{}{} added, {} changed, {} deleted.\n",
                                        outcome == Outcome::kPlanned ? "Would be done: " : "",
                                        totals.added, totals.changed, totals.deleted);
  if (totals.left_alone > 0) {
    lines += fmt::format("{} left alone: changed or maintained by someone else.\n",
                         counted(totals.left_alone, "record"));
  }
  if (totals.not_written > 0) {
    lines +=
        fmt::format("{} not written by the object model.\n", counted(totals.not_written, "value"));
  }
  if (totals.only_stored > 0) {
    lines += fmt::format("{} not in the folder, to be deleted by apply --prune.\n",
                         counted(totals.only_stored, "record"));
  }
  return lines;
}

Json to_json(const Totals& totals) {
  return {{"Added", totals.added},
          {"Changed", totals.changed},
          {"Deleted", totals.deleted},
          {"LeftAlone", totals.left_alone},
          {"OnlyStored", totals.only_stored},
          {"NotWritten", totals.not_written}};
}

}  // namespace tarnwick::cli
