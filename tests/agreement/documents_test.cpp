#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <sstream>

#include "tests/agreement/agreement.h"

namespace tarnwick::agreement {
namespace {

using ::testing::UnorderedElementsAreArray;

/// The members that the reference describes: of each class those in the first column of its table,
/// with the names of their arguments.
using Described = std::map<std::string, std::map<std::string, std::vector<std::string>>>;

std::vector<std::string> argument_names(const std::string& list) {
  std::vector<std::string> names;
  std::istringstream parts(list);
  for (std::string part; std::getline(parts, part, ',');) {
    part.erase(0, part.find_first_not_of(' '));
    names.push_back(part.substr(0, part.find(' ')));
  }
  return names;
}

Described members_in_reference() {
  static const std::regex heading(R"re(^## (\w+).*$)re");
  static const std::regex opening(R"re(^\| (?:`(\w+)`.*|(member)) \| \|$)re");
  static const std::regex member(R"re(`(\w+)(?:\(([^)]*)\))?`)re");
  Described described;
  std::string section;
  std::string of;  // the class whose table the line stands in
  std::istringstream lines(content_of("docs/automation.md"));
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    if (std::regex_match(line, match, heading)) section = match[1];
    if (line.empty()) of.clear();
    if (std::regex_match(line, match, opening)) {
      const std::string name = match[2].matched ? section : match[1].str();
      const bool is_class = automation::find_class(from_utf8(name)) != nullptr;
      if (of.empty()) {
        if (is_class) of = name;
        continue;
      }
    }
    if (of.empty()) continue;
    const std::string cell = line.substr(0, line.find(" | "));
    for (auto found = std::sregex_iterator(cell.begin(), cell.end(), member);
         found != std::sregex_iterator(); ++found) {
      const std::string name = (*found)[1];
      // Behind an arrow stands a type.
      if (cell.rfind("\xE2\x86\x92", static_cast<std::size_t>(found->position())) !=
          std::string::npos) {
        continue;
      }
      described[of][name] = argument_names((*found)[2]);
    }
  }
  return described;
}

bool is_told_for_all_classes(std::string_view member) {
  return member == "LastErrorMsg" || member == "LastErrorNumber";
}

class Reference : public ::testing::TestWithParam<std::size_t> {
 protected:
  const automation::Class& class_ =
      automation::class_of(static_cast<automation::ClassId>(GetParam()));
};

TEST_P(Reference, DescribesEachMemberOfTheClassAndNoOther) {
  std::vector<std::string> members;
  for (const auto& member : class_.members) {
    if (!is_told_for_all_classes(member.name)) members.emplace_back(member.name);
  }
  std::vector<std::string> described;
  Described reference = members_in_reference();
  for (const auto& [name, arguments] : reference[std::string(class_.name)]) {
    if (!is_told_for_all_classes(name)) described.push_back(name);
  }
  EXPECT_THAT(described, UnorderedElementsAreArray(members))
      << "docs/automation.md, " << class_.name;
}

TEST_P(Reference, NamesTheArgumentsOfEachMethod) {
  auto described = members_in_reference()[std::string(class_.name)];
  for (const auto& member : class_.members) {
    std::vector<std::string> names;
    for (const auto& argument : member.arguments) names.emplace_back(argument.name);
    EXPECT_EQ(described[std::string(member.name)], names) << class_.name << "." << member.name;
  }
}

INSTANTIATE_TEST_SUITE_P(OfEveryClass, Reference,
                         ::testing::Range<std::size_t>(0, automation::kClassCount),
                         [](const auto& of) {
                           const auto id = static_cast<automation::ClassId>(of.param);
                           return std::string(automation::class_of(id).name);
                         });

}  // namespace
}  // namespace tarnwick::agreement
