#include "apps/tarnwick/maintenance/switches.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tarnwick::cli {
namespace {

struct CalledOtherwise {
  std::string_view name;
  std::string_view called;
};
constexpr std::array kCalledOtherwise{
    CalledOtherwise{"DeActivatedBy", "--deactivated-by"},
    CalledOtherwise{"DeActivatedDate", "--deactivated-date"},
    CalledOtherwise{"ImageIndex", "--image"},
    CalledOtherwise{"ParentID", "--parent"},
    CalledOtherwise{"ReportGroupID", "--group"},
    CalledOtherwise{"ReportType", "--type"},
    CalledOtherwise{"ServerName", "--server"},
    CalledOtherwise{"Version", "--report-version"},  // --version is the program's
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
  const auto other = std::ranges::find(kCalledOtherwise, attribute.name(), &CalledOtherwise::name);
  return other != kCalledOtherwise.end() ? std::string(other->called) : in_words(attribute.name());
}

}  // namespace tarnwick::cli
