#include "apps/tarnwick/completion/values.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace tarnwick::cli {
namespace {

using Kind = Values::Kind;

struct Named {
  std::string_view name;
  Kind kind;
};
constexpr std::array kByName{
    Named{"COMPUTER", Kind::kComputer}, Named{"DIR", Kind::kFolder},
    Named{"FILE", Kind::kFile},         Named{"FOLDER", Kind::kFolder},
    Named{"ID", Kind::kComponent},      Named{"MAC", Kind::kMacNumber},
};

// A note is an inactive check: it stays with its option, checks nothing and shows nowhere.
constexpr const char* kNote = "values";
constexpr const char* kReport = "report";
constexpr char kBetween = '|';

void note(CLI::Option& option, const std::string& text) {
  option.check(CLI::Validator(text).name(kNote).active(false));
}

std::optional<std::string> note_of(CLI::Option& option) {
  try {
    return CLI::Validator(*option.get_validator(kNote)).active().get_description();
  } catch (const CLI::OptionNotFound&) {
    return std::nullopt;
  }
}

std::vector<std::string> parts(const std::string& text, char between) {
  return CLI::detail::split(text, between);
}

// As the help has it: "{bash,zsh,fish}" of a check, or "yes|no".
std::vector<std::string> listed_in(const std::string& type) {
  const std::size_t begin = type.find('{');
  const std::size_t end = type.find('}', begin);
  if (end != std::string::npos) return parts(type.substr(begin + 1, end - begin - 1), ',');
  if (type.find(kBetween) != std::string::npos) return parts(type, kBetween);
  return {};
}

}  // namespace

Values values_of(CLI::Option& option) {
  if (const auto noted = note_of(option)) {
    if (*noted == kReport) return {Kind::kReport};
    return {Kind::kListed, parts(*noted, kBetween)};
  }
  const std::string type = option.get_type_name();
  if (auto listed = listed_in(type); !listed.empty()) return {Kind::kListed, std::move(listed)};
  // A check says more behind a colon: "ID:INT in [0 - 32767]".
  const std::string name =
      option.get_positional() ? option.get_name(true) : type.substr(0, type.find(':'));
  const auto named = std::ranges::find(kByName, name, &Named::name);
  return {named == kByName.end() ? Kind::kAny : named->kind};
}

void note_values(CLI::Option& option, const std::vector<std::string>& listed) {
  note(option, fmt::format("{}", fmt::join(listed, std::string(1, kBetween))));
}

void note_report(CLI::Option& option) { note(option, kReport); }

}  // namespace tarnwick::cli
