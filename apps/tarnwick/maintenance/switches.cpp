#include "apps/tarnwick/maintenance/switches.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace tarnwick::cli {
namespace {

using Named = std::pair<std::string_view, std::string_view>;
constexpr std::array kCalledOtherwise{
    Named{"DeActivatedBy", "--deactivated-by"},
    Named{"DeActivatedDate", "--deactivated-date"},
    Named{"ImageIndex", "--image"},
    Named{"ParentID", "--parent"},
    Named{"ReportGroupID", "--group"},
    Named{"ReportType", "--type"},
    Named{"ServerName", "--server"},
    Named{"Version", "--report-version"},  // --version is the program's
};

bool is_upper(char c) { return c >= 'A' && c <= 'Z'; }

// A word begins with a capital, or is nothing but capitals.
std::string in_words(std::string_view name) {
  std::string words = "-";
  for (std::size_t at = 0; at < name.size(); ++at) {
    const bool after_capital = at > 0 && is_upper(name[at - 1]);
    const bool before_small = at + 1 < name.size() && !is_upper(name[at + 1]);
    if (is_upper(name[at]) && (!after_capital || before_small)) words += '-';
    words += is_upper(name[at]) ? static_cast<char>(name[at] - 'A' + 'a') : name[at];
  }
  return words;
}

}  // namespace

std::string switch_of(const Attribute& attribute) {
  if (attribute.key || !attribute.stored || attribute.form == Form::kOwn) return {};
  const auto other = std::ranges::find(kCalledOtherwise, attribute.name(), &Named::first);
  return other != kCalledOtherwise.end() ? std::string(other->second) : in_words(attribute.name());
}

}  // namespace tarnwick::cli
